#pragma once
// CNonlinearFilter: the filters that rank or measure the window's values, or
// take gradients from them. Values are ordered with NaN after every number,
// so that order statistics are defined whatever the data hold.
//
// CValueFilter, the base of the rank and statistics filters, hands a filter
// the window's valid values (in window order) and where the centre is among
// them; a run of nodes goes through the same call with every value, so both
// ways give the same result.
#include "core/processing/filters/CNeighborhoodFilter.h"

#include <cstddef>
#include <vector>

namespace core {

class CNonlinearFilter : public CNeighborhoodFilter {
public:
    // A strict weak order of doubles: numbers as usual, NaN after all of them.
    static bool Before(double a, double b) { return a < b || (a == a && b != b); }
    static double Mean(const std::vector<double>& values);

protected:
    explicit CNonlinearFilter(const Params& params);
};

class CValueFilter : public CNonlinearFilter {
public:
    // Stands for a centre that is not valid.
    static constexpr size_t NoCentre = static_cast<size_t>(-1);

    bool FilterNode(const FilterWindow& window, unsigned int component, double& out) const override;
    void FilterRun(const WindowRows& rows, unsigned int component, unsigned int first, unsigned int last, double* out,
                   unsigned char* ok, FilterWindow& window) const override;

protected:
    explicit CValueFilter(const Params& params);

    // The node's value from the valid values of its window, in window order
    // (the filter may reorder them), the centre's index among them or
    // NoCentre; false makes the node blank.
    virtual bool FromValues(std::vector<double>& values, size_t centre, unsigned int component,
                            double& out) const = 0;
};

} // namespace core
