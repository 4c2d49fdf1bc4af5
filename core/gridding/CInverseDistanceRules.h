#pragma once
// CInverseDistanceRules: the settings of an inverse distance gridding. The
// anisotropy transform only measures distances; which data take part is the
// search rules' matter.
#include "core/gridding/CAffineTransform.h"

#include <cstdint>

namespace core {

struct CInverseDistanceRules {
    CInverseDistanceRules() = default;
    CInverseDistanceRules(int component_, double power_, double smooth_, const CAffineTransform& transform_)
        : component(component_), power(power_), smooth(smooth_), transform(transform_)
    {
    }

    int32_t component = 0;
    double power = 2.0;
    double smooth = 0.0; // added to the powered distance
    CAffineTransform transform;
};

} // namespace core
