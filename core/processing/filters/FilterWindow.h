#pragma once
// The window of a neighbourhood filter, in two forms:
//
// FilterWindow: the elements around one node as pairs of a value and a valid
// flag, flat in the order i fastest, then j, then k (in a planar orientation:
// the plane's first axis fastest, then its second). An invalid element keeps
// whatever value was read; filters look only at valid ones. One window per
// task, with a scratch buffer for the filters that reorder values.
//
// WindowRows: the rows of the window for a run of nodes along the slice's
// first axis whose elements are all valid values; the window's rows are
// listed in window order, and element a of row r for node x is
// rows[r][x + a]. Filters work on such a run directly, as they would node by
// node but without the tests.
#include <cstddef>
#include <vector>

namespace core {

struct WindowElement {
    double value;
    bool valid;
};

class FilterWindow {
public:
    FilterWindow(size_t count, size_t centre) : m_Elements(count), m_Centre(centre) {}

    size_t size() const { return m_Elements.size(); }
    WindowElement& operator[](size_t index) { return m_Elements[index]; }
    const WindowElement& operator[](size_t index) const { return m_Elements[index]; }
    const WindowElement& Centre() const { return m_Elements[m_Centre]; }
    size_t CentreIndex() const { return m_Centre; }
    // Room for the filters' own use, ScratchCount buffers; a window is used
    // by one thread at a time.
    static constexpr size_t ScratchCount = 4;
    std::vector<double>& Scratch(size_t which = 0) const { return m_Scratch[which]; }

private:
    std::vector<WindowElement> m_Elements;
    size_t m_Centre;
    mutable std::vector<double> m_Scratch[ScratchCount];
};

struct WindowRows {
    const double* const* rows;
    unsigned int rowCount;
    unsigned int width;      // elements per window row
    unsigned int centreRow;  // the centre element is rows[centreRow][x + centreOffset]
    unsigned int centreOffset;

    double Centre(unsigned int x) const { return rows[centreRow][x + centreOffset]; }
};

// One term of a weighted sum over the window: the weight of element `offset`
// of window row `row`.
struct WindowTap {
    double weight;
    unsigned int row;
    unsigned int offset;
};

// One term of a sum of differences: element highOffset of window row
// highRow less element lowOffset of row lowRow.
struct WindowDifference {
    unsigned int highRow, highOffset, lowRow, lowOffset;
};

// For nodes x in [first, last), out[x - first]: 0.0 plus weight times value
// of each tap, in the order of `taps`, which is what a node-by-node sum in
// window order gives, bit for bit.
void SumTaps(const std::vector<WindowTap>& taps, const WindowRows& rows, unsigned int first, unsigned int last,
             double* out);
// The same sums, each divided by `divisor`.
void SumTapsOver(const std::vector<WindowTap>& taps, const WindowRows& rows, unsigned int first, unsigned int last,
                 double divisor, double* out);
// For nodes x in [first, last), out[x - first]: 0.0 plus each difference,
// in order.
void SumDifferences(const std::vector<WindowDifference>& differences, const WindowRows& rows, unsigned int first,
                    unsigned int last, double* out);

} // namespace core
