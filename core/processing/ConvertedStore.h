#pragma once
// StoreConverted: writes a run of doubles into elements of an array's type,
// converted as PrimConvert converts them. For float targets a run that lies
// within the float range takes the plain conversion, which then rounds as
// PrimConvert does and which the compiler can apply to several values at a
// time; the lattice tools' inner loops end here.
#include "core/data/PrimConvert.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <type_traits>

namespace core {

// values[n] goes to target[n * stride], for n below count.
template <class T>
void StoreConverted(T* target, unsigned int stride, const double* values, unsigned int count)
{
    if constexpr (std::is_same<T, double>::value) {
        for (unsigned int n = 0; n < count; ++n)
            target[uint64_t(n) * stride] = values[n];
        return;
    } else if constexpr (std::is_same<T, float>::value) {
        double largest = 0.0;
        for (unsigned int n = 0; n < count; ++n)
            largest = std::max(largest, std::fabs(values[n]));
        // std::max passes NaN over; NaN converts as PrimConvert converts it anyway.
        const bool inRange = largest <= FLT_MAX;
        if (inRange && stride == 1) {
            for (unsigned int n = 0; n < count; ++n)
                target[n] = static_cast<float>(values[n]);
            return;
        }
        if (inRange) {
            for (unsigned int n = 0; n < count; ++n)
                target[uint64_t(n) * stride] = static_cast<float>(values[n]);
            return;
        }
    }
    for (unsigned int n = 0; n < count; ++n)
        target[uint64_t(n) * stride] = PrimConvert<T>(values[n]);
}

} // namespace core
