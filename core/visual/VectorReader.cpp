#include "core/visual/VectorReader.h"

#include "core/data/PrimConvert.h"
#include "core/data/VdPoints.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace core {

VectorReader::VectorReader(const VdVertexData& data)
    : m_Data(data), m_Components(std::min(MaxComponents, data.ComponentCount())), m_HasBlanks(data.HasBlanks())
{
}

shr::Vec3d VectorReader::At(uint32_t vertex) const
{
    shr::Vec3d v(0.0, 0.0, 0.0);
    if (m_Components == 0)
        return v;
    DispatchPrimType(m_Data.DataType(), [&](auto tag) {
        using Element = typename decltype(tag)::Type;
        const Element* tuple = static_cast<const Element*>(m_Data.DataPtr(vertex));
        for (unsigned int c = 0; c < m_Components; ++c)
            if (!m_HasBlanks || !m_Data.IsBlank(vertex, c))
                v[c] = PrimConvert<double>(tuple[c]);
    });
    return v;
}

std::pair<double, double> VectorReader::MagnitudeLimits() const
{
    const uint32_t count = m_Data.VertexCount();
    if (count == 0 || m_Components == 0)
        return {0.0, 0.0};
    double lo = std::numeric_limits<double>::infinity();
    double hi = 0.0;
    for (uint32_t vertex = 0; vertex < count; ++vertex) {
        const double squared = At(vertex).LengthSquared();
        lo = std::min(lo, squared);
        hi = std::max(hi, squared);
    }
    return {std::sqrt(lo), std::sqrt(hi)};
}

shr::Vec3d VectorReader::PointXYZ(const VdPoints& points, uint32_t index)
{
    const unsigned int size = points.GetCoordComponentSize();
    const unsigned int stored =
        size == 0 ? 0 : std::min<unsigned int>(3, static_cast<unsigned int>(points.GetCoordTupleSize() / size));
    shr::Vec3d uvw(0.0, 0.0, 0.0);
    DispatchPrimType(points.GetCoordType(), [&](auto tag) {
        using Element = typename decltype(tag)::Type;
        const auto* bytes = static_cast<const unsigned char*>(points.GetCoordPtr());
        const auto* coords = reinterpret_cast<const Element*>(bytes + uint64_t(index) * points.GetCoordTupleSize());
        for (unsigned int axis = 0; axis < stored; ++axis)
            uvw[axis] = PrimConvert<double>(coords[axis]);
    });
    return points.UVWToXYZ(uvw);
}

} // namespace core
