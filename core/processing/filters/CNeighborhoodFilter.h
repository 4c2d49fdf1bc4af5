#pragma once
// CNeighborhoodFilter: the filters that compute each node from a window of
// nodes around it, in the planes of an orientation (XY, XZ or YZ) or in a 3D
// window. The window's elements off the lattice follow the edge handling
// (blank the node, leave them out, replicate, mirror, wrap, or a fill value);
// blanked nodes follow the blank handling (blank the node and its whole
// window's reach, leave the node blank and them out, leave them out even at
// the centre, or a fill value).
//
// Run walks the lattice row by row along the slice's first axis, on TBB
// workers; rows of a slice and slices are split alike, so a single image is
// filtered in parallel too. Each task keeps a ring of the input rows that its
// windows read, converted to doubles and resolved at the edges, and loads each
// row once as the window moves on. A run of nodes whose windows hold only
// valid values goes to FilterRun in one call; the other nodes get their window
// built element by element and go to FilterNode. Both give the same value for
// a node, bit for bit, so the output does not depend on the split.
#include "core/processing/filters/CLatticeFilter.h"
#include "core/processing/filters/FilterWindow.h"

namespace core {

class CNeighborhoodFilter : public CLatticeFilter {
public:
    bool Run() override;

    // The node's value from its window; false makes the node blank.
    virtual bool FilterNode(const FilterWindow& window, unsigned int component, double& out) const = 0;
    // Nodes [first, last) of a row, each window all valid values: out[x] and
    // ok[x] (0 makes the node blank) as FilterNode would give them. By
    // default node by node through FilterNode; `window` is the task's own.
    virtual void FilterRun(const WindowRows& rows, unsigned int component, unsigned int first, unsigned int last,
                           double* out, unsigned char* ok, FilterWindow& window) const;

    // The window's sides in i, j and k as this filter uses them: 1 across the
    // planes of a planar orientation.
    const unsigned int* WindowSize() const { return m_Size; }
    unsigned int WindowCount() const { return m_Size[0] * m_Size[1] * m_Size[2]; }
    // The window's side along the rows: the slice's first axis.
    unsigned int RowWidth() const;
    bool Planar() const { return GetParams().orientation != Volume; }
    // The term of a weighted sum for a window element, by its index in window order.
    WindowTap TapAt(size_t element, double weight) const;

protected:
    explicit CNeighborhoodFilter(const Params& params);
    // For filters whose tables fix the window: every side that the
    // orientation uses becomes `size`. Call before making the tables.
    void FixWindowSize(unsigned int size);

private:
    unsigned int m_Size[3];
};

} // namespace core
