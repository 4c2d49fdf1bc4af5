#include "core/processing/filters/CNonlinearFilter.h"

#include <algorithm>

namespace core {

CNonlinearFilter::CNonlinearFilter(const Params& params) : CNeighborhoodFilter(params) {}

double CNonlinearFilter::Mean(const std::vector<double>& values)
{
    double sum = 0.0;
    for (double value : values)
        sum += value;
    return sum / static_cast<double>(values.size());
}

CValueFilter::CValueFilter(const Params& params) : CNonlinearFilter(params) {}

bool CValueFilter::FilterNode(const FilterWindow& window, unsigned int component, double& out) const
{
    std::vector<double>& values = window.Scratch();
    values.clear();
    size_t centre = NoCentre;
    for (size_t e = 0; e < window.size(); ++e) {
        if (!window[e].valid)
            continue;
        if (e == window.CentreIndex())
            centre = values.size();
        values.push_back(window[e].value);
    }
    return FromValues(values, centre, component, out);
}

void CValueFilter::FilterRun(const WindowRows& rows, unsigned int component, unsigned int first, unsigned int last,
                             double* out, unsigned char* ok, FilterWindow& window) const
{
    std::vector<double>& values = window.Scratch();
    const size_t centre = size_t(rows.centreRow) * rows.width + rows.centreOffset;
    const size_t count = size_t(rows.rowCount) * rows.width;
    for (unsigned int x = first; x < last; ++x) {
        values.resize(count);
        double* to = values.data();
        for (unsigned int r = 0; r < rows.rowCount; ++r)
            for (unsigned int a = 0; a < rows.width; ++a)
                *to++ = rows.rows[r][x + a];
        ok[x] = FromValues(values, centre, component, out[x]) ? 1 : 0;
    }
}

} // namespace core
