#include "core/processing/filters/CNeighborhoodFilter.h"

#include "core/data/PrimConvert.h"
#include "core/data/ThreadHandOver.h"
#include "core/data/VdUniformLattice.h"
#include "core/network/VbProgress.h"
#include "core/processing/filters/FilterLoop.h"

#include <tbb/enumerable_thread_specific.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <cmath>
#include <limits>
#include <type_traits>
#include <mutex>

namespace core {

namespace CNeighborhoodFilterPrivate {

using LatticeFilterPrivate::RunWithProgress;

// What a padded row holds at a position.
enum ElementKind : unsigned char {
    KindValue = 0,   // a value the filter may use
    KindBlank = 1,   // a blanked node
    KindOutside = 2, // off the lattice, for the edge handlings that read nothing there
};

// Window elements per chunk of rows that a thread takes: a fraction of a
// millisecond of work.
constexpr uint64_t kChunkElements = uint64_t(1) << 18;

// The lattice seen as rows: slice axis 0 runs along a row, axis 1 across the
// rows of a slice, axis 2 across slices. Lengths, node strides and window
// sides are per slice axis.
struct SliceGeometry {
    unsigned int length[3];
    uint64_t stride[3];
    unsigned int size[3];
    unsigned int half[3];

    unsigned int Padded() const { return length[0] + size[0] - 1; }
    int RowCount() const { return static_cast<int>(length[1] * length[2]); }
    unsigned int WindowRows() const { return size[1] * size[2]; }
    // The first node of row (b, c).
    uint64_t RowStart(unsigned int b, unsigned int c) const { return b * stride[1] + c * stride[2]; }
};

// The rows of an orientation run along the slice's width, one after the
// other up its height, slice after slice.
SliceGeometry MakeGeometry(const VdLattice& lattice, const unsigned int* window, uint32_t orientation)
{
    const unsigned int* axes = CLatticeFilter::SliceAxes(orientation);
    const unsigned int* dims = lattice.GetDims();
    const uint64_t strides[3] = {1, dims[0], uint64_t(dims[0]) * dims[1]};
    SliceGeometry g;
    for (int s = 0; s < 3; ++s) {
        const unsigned int axis = axes[s];
        g.length[s] = dims[axis];
        g.stride[s] = strides[axis];
        g.size[s] = window[axis];
        g.half[s] = g.size[s] / 2;
    }
    return g;
}

// The coordinate read for c outside [0, n) by the edge handlings that read
// the lattice there.
inline int MapOutside(int c, int n, uint32_t edge)
{
    switch (edge) {
    case CLatticeFilter::EdgeReplicate:
        return c < 0 ? 0 : n - 1;
    case CLatticeFilter::EdgeMirror:
        if (c < 0)
            c = -c;
        return c >= n ? n - 1 - (c + 1) % n : c;
    default: // EdgeWrap
        c %= n;
        return c < 0 ? c + n : c;
    }
}

inline bool ReadsOutside(uint32_t edge)
{
    return edge != CLatticeFilter::EdgeBlank && edge != CLatticeFilter::EdgeIgnore;
}

// One row of the window as the filter sees it: values along slice axis 0,
// padded by the window's reach on both sides with what edge handling reads
// there; position p stands for coordinate p - half[0].
struct PaddedRow {
    int b = INT_MIN, c = INT_MIN; // the row's slice coordinates, before any edge mapping
    bool outside = false;          // off the lattice, no element of it is read
    bool clean = true;             // every position a value
    std::vector<double> values;
    std::vector<unsigned char> kinds;
};

// What the rows are read with: the input, a component and the edge and blank settings.
class LatticeRowReader {
public:
    LatticeRowReader(const VdLattice& input, const SliceGeometry& geometry, unsigned int component,
              const CLatticeFilter::Params& params)
        : m_Input(input), m_Geometry(geometry), m_Component(component), m_Edge(params.edgeHandling),
          m_BlankFill(params.blankHandling == CLatticeFilter::BlankFill), m_EdgeFill(params.edgeFill[component]),
          m_BlankFillValue(params.blankFill[component]), m_HasBlanks(input.HasBlanks())
    {
    }

    void Load(PaddedRow& row, int b, int c) const
    {
        const SliceGeometry& g = m_Geometry;
        row.b = b, row.c = c;
        row.outside = false;
        row.values.resize(g.Padded());
        row.kinds.resize(g.Padded());
        const bool inside = b >= 0 && b < int(g.length[1]) && c >= 0 && c < int(g.length[2]);
        if (!inside && !ReadsOutside(m_Edge)) {
            row.outside = true;
            row.clean = false;
            return;
        }
        if (!inside && m_Edge == CLatticeFilter::EdgeFill) {
            std::fill(row.values.begin(), row.values.end(), m_EdgeFill);
            std::fill(row.kinds.begin(), row.kinds.end(), KindValue);
            row.clean = true;
            return;
        }
        if (!inside) {
            b = b >= 0 && b < int(g.length[1]) ? b : MapOutside(b, int(g.length[1]), m_Edge);
            c = c >= 0 && c < int(g.length[2]) ? c : MapOutside(c, int(g.length[2]), m_Edge);
        }
        const bool blanks = ReadNodes(row, g.RowStart(unsigned(b), unsigned(c)));
        PadEdges(row);
        row.clean = !blanks && (g.size[0] == 1 || ReadsOutside(m_Edge));
    }

private:
    // The lattice's nodes along the row into the padded middle; whether one
    // of them is blank. A blank node reads as BlankVal and is told by that
    // value, so a stored value equal to BlankVal counts as blank too.
    bool ReadNodes(PaddedRow& row, uint64_t start) const
    {
        const SliceGeometry& g = m_Geometry;
        const uint64_t components = m_Input.ComponentCount();
        const unsigned int length = g.length[0];
        double* values = row.values.data() + g.half[0];
        DispatchPrimType(m_Input.DataType(), [&](auto tag) {
            using T = typename decltype(tag)::Type;
            const T* data = static_cast<const T*>(m_Input.DataPtr()) + start * components + m_Component;
            const uint64_t step = g.stride[0] * components;
            if (step == 1)
                for (unsigned int x = 0; x < length; ++x)
                    values[x] = PrimConvert<double>(data[x]);
            else
                for (unsigned int x = 0; x < length; ++x)
                    values[x] = PrimConvert<double>(data[x * step]);
        });
        if (m_HasBlanks)
            for (unsigned int x = 0; x < length; ++x)
                if (m_Input.IsBlank(static_cast<unsigned int>(start + x * g.stride[0]), m_Component))
                    values[x] = VdVertexData::BlankVal;
        unsigned char* kinds = row.kinds.data() + g.half[0];
        // Only doubles hold BlankVal without a blank mark.
        unsigned int blanks = 0;
        if (m_HasBlanks || m_Input.DataType() == shr::Double)
            for (unsigned int x = 0; x < length; ++x)
                blanks += values[x] == VdVertexData::BlankVal ? 1 : 0;
        if (blanks == 0) {
            std::fill(kinds, kinds + length, static_cast<unsigned char>(KindValue));
            return false;
        }
        for (unsigned int x = 0; x < length; ++x) {
            if (values[x] != VdVertexData::BlankVal)
                kinds[x] = KindValue;
            else if (m_BlankFill)
                values[x] = m_BlankFillValue, kinds[x] = KindValue;
            else
                kinds[x] = KindBlank;
        }
        return !m_BlankFill;
    }

    // The positions off the row's ends, as the edge handling reads them.
    void PadEdges(PaddedRow& row) const
    {
        const SliceGeometry& g = m_Geometry;
        const int half = int(g.half[0]), length = int(g.length[0]);
        for (int p = 0; p < half; ++p)
            PadPosition(row, p, p - half, half, length);
        for (int p = half + length; p < int(g.Padded()); ++p)
            PadPosition(row, p, p - half, half, length);
    }

    void PadPosition(PaddedRow& row, int p, int x, int half, int length) const
    {
        if (!ReadsOutside(m_Edge)) {
            row.values[p] = VdVertexData::BlankVal;
            row.kinds[p] = KindOutside;
        } else if (m_Edge == CLatticeFilter::EdgeFill) {
            row.values[p] = m_EdgeFill;
            row.kinds[p] = KindValue;
        } else {
            const int from = MapOutside(x, length, m_Edge) + half;
            row.values[p] = row.values[from];
            row.kinds[p] = row.kinds[from];
        }
    }

    const VdLattice& m_Input;
    const SliceGeometry& m_Geometry;
    unsigned int m_Component;
    uint32_t m_Edge;
    bool m_BlankFill;
    double m_EdgeFill;
    double m_BlankFillValue;
    bool m_HasBlanks;
};

// A thread's rows: for each slice the window reaches, as many rows as the
// window is high, rounded up to powers of two. A row goes to the slot its
// coordinates give modulo those sizes, so it is loaded once while the window
// passes over it, and the rows of one window never share a slot.
class RowRing {
public:
    RowRing(const LatticeRowReader& reader, const SliceGeometry& geometry)
        : m_Reader(reader), m_RowMask(PowerOfTwo(geometry.size[1]) - 1), m_SliceMask(PowerOfTwo(geometry.size[2]) - 1),
          m_Slots(size_t(m_RowMask + 1) * (m_SliceMask + 1))
    {
    }

    const PaddedRow& Get(int b, int c)
    {
        // Two's complement: the masks map negative coordinates too.
        PaddedRow& slot = m_Slots[size_t(unsigned(c) & m_SliceMask) * (m_RowMask + 1) + (unsigned(b) & m_RowMask)];
        if (slot.b != b || slot.c != c)
            m_Reader.Load(slot, b, c);
        return slot;
    }

private:
    static unsigned int PowerOfTwo(unsigned int n)
    {
        unsigned int power = 1;
        while (power < n)
            power *= 2;
        return power;
    }

    const LatticeRowReader& m_Reader;
    unsigned int m_RowMask, m_SliceMask;
    std::vector<PaddedRow> m_Slots;
};

// The parallel body for one component: a range of rows, numbered slice by
// slice. The planar orientations and the 3D window differ only in how the
// geometry lays the lattice out as rows and how thick the window is across
// the slices.
class NeighborhoodBody {
public:
    struct Workspace;
    // One workspace per thread, kept from task to task for one component.
    using Workspaces = tbb::enumerable_thread_specific<std::unique_ptr<Workspace>>;

    NeighborhoodBody(const CNeighborhoodFilter& filter, const CLatticeFilter::Params& params,
                     const LatticeRowReader& reader, const SliceGeometry& geometry, unsigned int component,
                     void* outputData, Workspaces& workspaces)
        : m_Filter(filter), m_Params(params), m_Reader(reader), m_Geometry(geometry),
          m_Component(component), m_OutputData(outputData), m_Workspaces(workspaces)
    {
    }

    void operator()(const tbb::blocked_range<int>& range) const
    {
        TakeOver(m_OutputData);
        std::unique_ptr<Workspace>& slot = m_Workspaces.local();
        if (!slot)
            slot = std::make_unique<Workspace>(*this);
        for (int row = range.begin(); row != range.end(); ++row) {
            FilterRow(row, *slot);
            WriteRow(row, *slot);
        }
        HandOver(m_OutputData);
    }

    // A thread's buffers; its ring of rows serves every task of the thread.
    struct Workspace {
        explicit Workspace(const NeighborhoodBody& body)
            : ring(body.m_Reader, body.m_Geometry),
              window(body.m_Filter.WindowCount(), body.CentreElement()),
              rows(body.m_Geometry.WindowRows()), values(rows.size()), out(body.m_Geometry.length[0]),
              ok(out.size()), bad(body.m_Geometry.Padded() + 1)
        {
        }

        RowRing ring;
        FilterWindow window;
        std::vector<const PaddedRow*> rows; // the window's rows in window order
        std::vector<const double*> values;  // and their values
        std::vector<double> out;
        std::vector<unsigned char> ok;
        std::vector<unsigned int> bad; // running count of positions that no filter may read
    };

private:
    unsigned int CentreRow() const { return m_Geometry.half[1] + m_Geometry.size[1] * m_Geometry.half[2]; }
    size_t CentreElement() const { return size_t(CentreRow()) * m_Geometry.size[0] + m_Geometry.half[0]; }

    WindowRows RowsView(const Workspace& work) const
    {
        return WindowRows{work.values.data(), m_Geometry.WindowRows(), m_Geometry.size[0], CentreRow(),
                          m_Geometry.half[0]};
    }

    void FilterRow(int row, Workspace& work) const
    {
        const SliceGeometry& g = m_Geometry;
        const int b = row % int(g.length[1]), c = row / int(g.length[1]);
        bool outside = false, clean = true;
        for (unsigned int dc = 0; dc < g.size[2]; ++dc)
            for (unsigned int db = 0; db < g.size[1]; ++db) {
                const PaddedRow& padded = work.ring.Get(b + int(db) - int(g.half[1]), c + int(dc) - int(g.half[2]));
                const size_t r = db + size_t(g.size[1]) * dc;
                work.rows[r] = &padded;
                work.values[r] = padded.values.data();
                outside = outside || padded.outside;
                clean = clean && padded.clean;
            }
        if (outside && m_Params.edgeHandling == CLatticeFilter::EdgeBlank)
            std::fill(work.ok.begin(), work.ok.end(), 0);
        else if (clean)
            m_Filter.FilterRun(RowsView(work), m_Component, 0, g.length[0], work.out.data(), work.ok.data(),
                               work.window);
        else
            FilterMixedRow(work);
    }

    // A row where some windows meet blanks or the lattice's edge: the runs of
    // nodes whose windows do not go to FilterRun, the others node by node.
    void FilterMixedRow(Workspace& work) const
    {
        const SliceGeometry& g = m_Geometry;
        for (unsigned int p = 0; p < g.Padded(); ++p) {
            bool bad = false;
            for (const PaddedRow* row : work.rows)
                bad = bad || row->outside || row->kinds[p] != KindValue;
            work.bad[p + 1] = work.bad[p] + (bad ? 1 : 0);
        }
        const WindowRows view = RowsView(work);
        unsigned int runStart = 0;
        for (unsigned int x = 0; x <= g.length[0]; ++x) {
            const bool clean = x < g.length[0] && work.bad[x + g.size[0]] == work.bad[x];
            if (clean)
                continue;
            if (runStart < x)
                m_Filter.FilterRun(view, m_Component, runStart, x, work.out.data(), work.ok.data(), work.window);
            if (x < g.length[0])
                work.ok[x] = FilterNodeAt(x, work, work.out[x]) ? 1 : 0;
            runStart = x + 1;
        }
    }

    // One node's window, element by element, through the edge and blank rules.
    bool FilterNodeAt(unsigned int x, Workspace& work, double& out) const
    {
        const SliceGeometry& g = m_Geometry;
        const uint32_t edge = m_Params.edgeHandling, blanks = m_Params.blankHandling;
        const bool centreBlank = work.rows[CentreRow()]->kinds[x + g.half[0]] == KindBlank;
        if (centreBlank && (blanks == CLatticeFilter::BlankExpanded || blanks == CLatticeFilter::BlankLeaveAlone))
            return false;
        FilterWindow& window = work.window;
        size_t e = 0;
        for (const PaddedRow* row : work.rows)
            for (unsigned int a = 0; a < g.size[0]; ++a, ++e) {
                const unsigned char kind = row->outside ? static_cast<unsigned char>(KindOutside) : row->kinds[x + a];
                if (kind == KindValue) {
                    window[e] = WindowElement{row->values[x + a], true};
                    continue;
                }
                if (kind == KindOutside ? edge == CLatticeFilter::EdgeBlank : blanks == CLatticeFilter::BlankExpanded)
                    return false;
                window[e] = WindowElement{VdVertexData::BlankVal, false};
            }
        return m_Filter.FilterNode(window, m_Component, out);
    }

    void WriteRow(int row, Workspace& work) const
    {
        const SliceGeometry& g = m_Geometry;
        const uint64_t start = g.RowStart(unsigned(row) % g.length[1], unsigned(row) / g.length[1]);
        const uint64_t components = m_Params.output->ComponentCount();
        const uint64_t step = g.stride[0] * components;
        const unsigned int length = g.length[0];
        const bool allValid = std::find(work.ok.begin(), work.ok.begin() + length, 0) == work.ok.begin() + length;
        DispatchPrimType(m_Params.output->DataType(), [&](auto tag) {
            using T = typename decltype(tag)::Type;
            T* data = static_cast<T*>(m_OutputData) + start * components + m_Component;
            if (allValid && step == 1)
                WriteValues(work.out.data(), length, data);
            else
                for (unsigned int x = 0; x < length; ++x)
                    if (work.ok[x])
                        data[x * step] = PrimConvert<T>(work.out[x]);
        });
        if (allValid)
            return;
        std::lock_guard<std::recursive_mutex> lock(VdArrayData::BlankLock());
        for (unsigned int x = 0; x < length; ++x)
            if (!work.ok[x])
                m_Params.output->SetBlank(static_cast<unsigned int>(start + x * g.stride[0]), m_Component);
    }

    // A whole row of results into consecutive elements. Floats within range
    // convert by a plain cast, which the compiler can do many at a time.
    template <class T>
    static void WriteValues(const double* values, unsigned int count, T* data)
    {
        if constexpr (std::is_same<T, float>::value) {
            bool inRange = true;
            for (unsigned int x = 0; x < count; ++x)
                inRange &= std::fabs(values[x]) <= double(std::numeric_limits<float>::max());
            if (inRange) {
                for (unsigned int x = 0; x < count; ++x)
                    data[x] = static_cast<float>(values[x]);
                return;
            }
        }
        for (unsigned int x = 0; x < count; ++x)
            data[x] = PrimConvert<T>(values[x]);
    }

    const CNeighborhoodFilter& m_Filter;
    const CLatticeFilter::Params& m_Params;
    const LatticeRowReader& m_Reader;
    const SliceGeometry& m_Geometry;
    unsigned int m_Component;
    void* m_OutputData;
    Workspaces& m_Workspaces;
};

} // namespace CNeighborhoodFilterPrivate

using namespace CNeighborhoodFilterPrivate;

CNeighborhoodFilter::CNeighborhoodFilter(const Params& params) : CLatticeFilter(params)
{
    std::copy(params.window, params.window + 3, m_Size);
    // Across the planes of a planar orientation the window is one node thick.
    if (Planar())
        m_Size[NormalAxis(params.orientation)] = 1;
}

void CNeighborhoodFilter::FixWindowSize(unsigned int size)
{
    for (int axis = 0; axis < 3; ++axis)
        if (axis != NormalAxis(GetParams().orientation))
            m_Size[axis] = size;
}

unsigned int CNeighborhoodFilter::RowWidth() const
{
    return m_Size[SliceAxes(GetParams().orientation)[0]];
}

WindowTap CNeighborhoodFilter::TapAt(size_t element, double weight) const
{
    const unsigned int width = RowWidth();
    return WindowTap{weight, static_cast<unsigned int>(element / width), static_cast<unsigned int>(element % width)};
}

void CNeighborhoodFilter::FilterRun(const WindowRows& rows, unsigned int component, unsigned int first,
                                    unsigned int last, double* out, unsigned char* ok, FilterWindow& window) const
{
    for (unsigned int x = first; x < last; ++x) {
        size_t e = 0;
        for (unsigned int r = 0; r < rows.rowCount; ++r)
            for (unsigned int a = 0; a < rows.width; ++a, ++e)
                window[e] = WindowElement{rows.rows[r][x + a], true};
        ok[x] = FilterNode(window, component, out[x]) ? 1 : 0;
    }
}

bool CNeighborhoodFilter::Run()
{
    const Params& params = GetParams();
    const SliceGeometry geometry = MakeGeometry(Input(), m_Size, params.orientation);
    const int rows = geometry.RowCount();
    // At least a window's height of rows, which the ring loads when a chunk begins.
    const int grain = static_cast<int>(std::max<uint64_t>(
        2 * geometry.size[1], kChunkElements / (uint64_t(geometry.length[0]) * WindowCount())));
    void* outputData = Output().DataWritePtr();
    return RunComponents(size_t(rows), [&](unsigned int c, VbProgress& progress, size_t done, size_t total) {
        const LatticeRowReader reader(Input(), geometry, c, params);
        NeighborhoodBody::Workspaces workspaces;
        const NeighborhoodBody body(*this, params, reader, geometry, c, outputData, workspaces);
        return RunWithProgress(rows, grain, body, progress, done, total, outputData);
    });
}

} // namespace core
