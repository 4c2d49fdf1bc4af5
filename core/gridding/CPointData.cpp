#include "core/gridding/CPointData.h"

#include "core/data/PrimConvert.h"
#include "core/data/VdPoints.h"
#include "core/properties/LabelStorage.h"
#include "shr/StringUtil.h"

#include <algorithm>
#include <cfloat>

namespace core {

namespace {

const std::pair<double, double> kEmptyBounds(-DBL_MAX, DBL_MAX);

// Bounds are accumulated so that a value which lowers the minimum is never
// considered for the maximum: a single value leaves max at -DBL_MAX.
void Accumulate(double v, double& lo, double& hi)
{
    if (v < lo)
        lo = v;
    else if (v > hi)
        hi = v;
}

// Ascending by X, Y, Z with greater-than comparisons only, so that a NaN
// coordinate ties with everything and leaves the decision to the next axis.
bool PositionBefore(const CPointDatum& a, const CPointDatum& b)
{
    if (b.X() > a.X())
        return true;
    if (a.X() > b.X())
        return false;
    if (b.Y() > a.Y())
        return true;
    if (a.Y() > b.Y())
        return false;
    return b.Z() > a.Z();
}

// Bottom-up merge sort of row indices. Merging takes from the left run unless
// the right element comes strictly before, which keeps equal rows in order; it
// never reads out of range, whatever the comparison answers.
void MergeSortIndices(const std::vector<CPointDatum>& rows, std::vector<size_t>& order)
{
    const size_t n = order.size();
    std::vector<size_t> buffer(n);
    for (size_t width = 1; width < n; width *= 2) {
        for (size_t lo = 0; lo < n; lo += 2 * width) {
            const size_t mid = std::min(lo + width, n);
            const size_t hi = std::min(lo + 2 * width, n);
            size_t i = lo, j = mid, out = lo;
            while (i < mid && j < hi)
                buffer[out++] = PositionBefore(rows[order[j]], rows[order[i]]) ? order[j++] : order[i++];
            while (i < mid)
                buffer[out++] = order[i++];
            while (j < hi)
                buffer[out++] = order[j++];
        }
        order.swap(buffer);
    }
}

} // namespace

CPointData::CPointData(size_t components) : m_ComponentCount(components), m_Names(components) {}

std::pair<int, int> CPointData::Size() const
{
    return {static_cast<int>(m_Data.size()), static_cast<int>(m_ComponentCount)};
}

shr::GString CPointData::Name(int i) const
{
    if (!m_Names[i].empty())
        return m_Names[i];
    return shr::ToString("W%d", i + 1);
}

template <class Coordinate>
std::pair<double, double> CPointData::CoordinateBounds(Coordinate coordinate) const
{
    if (m_Data.empty())
        return kEmptyBounds;
    double lo = DBL_MAX, hi = -DBL_MAX;
    for (const CPointDatum& row : m_Data)
        Accumulate(coordinate(row), lo, hi);
    return {lo, hi};
}

std::pair<double, double> CPointData::XBounds() const
{
    return CoordinateBounds([](const CPointDatum& row) { return row.X(); });
}

std::pair<double, double> CPointData::YBounds() const
{
    return CoordinateBounds([](const CPointDatum& row) { return row.Y(); });
}

std::pair<double, double> CPointData::ZBounds() const
{
    return CoordinateBounds([](const CPointDatum& row) { return row.Z(); });
}

std::pair<double, double> CPointData::WBounds(int i) const
{
    double lo = DBL_MAX, hi = -DBL_MAX;
    for (const CPointDatum& row : m_Data)
        if (!row.IsBlank(i))
            Accumulate(row.W(i), lo, hi);
    if (!(hi >= lo))
        return kEmptyBounds;
    return {lo, hi};
}

void CPointData::Clean()
{
    m_Data.erase(std::remove_if(m_Data.begin(), m_Data.end(), [](const CPointDatum& row) { return row.IsVoid(); }),
                 m_Data.end());
}

void CPointData::Sort()
{
    std::vector<size_t> order(m_Data.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    MergeSortIndices(m_Data, order);
    Rows sorted;
    sorted.reserve(m_Data.size());
    for (size_t index : order)
        sorted.push_back(std::move(m_Data[index]));
    m_Data.swap(sorted);
}

// ---- conversions from and to point sets -------------------------------------

namespace {

// Reads element `index` of a raw block of the given type as a double.
double ReadAsDouble(shr::PrimType type, const void* block, uint64_t index)
{
    return DispatchPrimType(type, [&](auto tag) {
        using Element = typename decltype(tag)::Type;
        return PrimConvert<double>(static_cast<const Element*>(block)[index]);
    });
}

// The world position of a vertex: the stored coordinates (missing ones 0)
// through the points' transform.
shr::Point3<double> WorldPosition(const VdPoints& points, unsigned vertex)
{
    const unsigned componentSize = points.GetCoordComponentSize();
    const unsigned stored =
        componentSize == 0 ? 0 : std::min<unsigned>(3, static_cast<unsigned>(points.GetCoordTupleSize() / componentSize));
    shr::Vec3d uvw(0.0, 0.0, 0.0);
    for (unsigned axis = 0; axis < stored; ++axis)
        uvw[axis] = ReadAsDouble(points.GetCoordType(), points.GetCoordPtr(), uint64_t(vertex) * stored + axis);
    const shr::Vec3d xyz = points.UVWToXYZ(uvw);
    return shr::Point3<double>(xyz[0], xyz[1], xyz[2]);
}

} // namespace

void Convert(const VdPoints& points, CPointData& data, unsigned component, bool dropBlank)
{
    data.clear();
    const unsigned vertexCount = points.VertexCount();
    const unsigned components = points.ComponentCount();
    data.reserve(vertexCount);
    data.Labels(points.Labels());
    const void* values = points.DataPtr();
    for (unsigned vertex = 0; vertex < vertexCount; ++vertex) {
        CPointDatum row(components);
        bool skip = false;
        for (unsigned c = 0; c < components; ++c) {
            if (points.IsBlank(vertex, c)) {
                row.Blank(c);
                skip = skip || (dropBlank && c == component);
            } else {
                row.W(c, ReadAsDouble(points.DataType(), values, uint64_t(vertex) * components + c));
            }
        }
        if (skip)
            continue;
        static_cast<shr::Point3<double>&>(row) = WorldPosition(points, vertex);
        row.ID(vertex);
        data.push_back(std::move(row));
    }
}

void Convert(const CPointData& data, VdPoints& points)
{
    const size_t rows = data.size();
    const size_t components = static_cast<size_t>(data.GetComponentCount());
    std::vector<double> coords(rows * 3);
    std::vector<double> values(rows * components);
    for (size_t r = 0; r < rows; ++r) {
        const CPointDatum& row = data[r];
        coords[3 * r] = row.X();
        coords[3 * r + 1] = row.Y();
        coords[3 * r + 2] = row.Z();
        for (size_t c = 0; c < components; ++c)
            values[r * components + c] = row.W(c);
    }
    points.Resize(shr::Double, shr::Double, static_cast<unsigned>(rows), coords.data(), values.data(),
                  static_cast<unsigned>(components));
    const std::shared_ptr<LabelStorage>& labels = data.Labels();
    if (!labels || labels->empty())
        return;
    points.labels_clear();
    for (size_t r = 0; r < rows; ++r) {
        const auto found = labels->FindLabel(data[r].ID());
        if (found != labels->end())
            points.AddLabel(LabelStorage::Label(static_cast<unsigned>(r), found->second));
    }
}

} // namespace core
