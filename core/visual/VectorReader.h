#pragma once
// VectorReader: the vector field held in the first three components of a
// lattice or a point set, as the vector plot and the stream lines read it. A
// blank component reads as 0.0, and so does a component the data lacks: an
// invalid element shortens a vector rather than removing it.
#include "core/data/VdVertexData.h"
#include "shr/Vec3.h"

#include <cstdint>
#include <utility>

namespace core {

class VdPoints;

class VectorReader {
public:
    // At most three components form the vector.
    static constexpr unsigned int MaxComponents = 3;

    explicit VectorReader(const VdVertexData& data);

    // min(3, component count).
    unsigned int Components() const { return m_Components; }
    shr::Vec3d At(uint32_t vertex) const;
    // The smallest and largest magnitude over every vertex, found on the
    // squared magnitudes; (0, 0) for data without vertices or components.
    std::pair<double, double> MagnitudeLimits() const;

    // The position of point `index` in the scene: its coordinates (missing
    // ones 0.0) through the point set's transform.
    static shr::Vec3d PointXYZ(const VdPoints& points, uint32_t index);

private:
    const VdVertexData& m_Data;
    unsigned int m_Components;
    // Asked once: the answer takes the process-wide blank lock, and the data
    // do not change while they are read.
    bool m_HasBlanks;
};

} // namespace core
