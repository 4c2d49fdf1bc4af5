#pragma once
// The element types of the data arrays: the C++ type of each PrimType, a
// dispatch from a run-time PrimType to code written for the C++ type, and the
// one element conversion that every array reader and writer uses.
//
// The conversion is the plain language conversion: a floating value going to
// an integer is truncated towards zero and only its low bits are kept (300.7
// into uint8 is 44), integers are sign- or zero-extended by the source's
// signedness and then cut to the target's width, float widens to double
// exactly. There is no rounding and no clipping; callers that want clipping
// use shr::CPrimType::Clip first.
#include "shr/Exception.h"
#include "shr/PrimType.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace core {

template <shr::PrimType P>
struct PrimTypeTraits;
template <>
struct PrimTypeTraits<shr::Int8> { using Type = int8_t; };
template <>
struct PrimTypeTraits<shr::UInt8> { using Type = uint8_t; };
template <>
struct PrimTypeTraits<shr::Int16> { using Type = int16_t; };
template <>
struct PrimTypeTraits<shr::UInt16> { using Type = uint16_t; };
template <>
struct PrimTypeTraits<shr::Int32> { using Type = int32_t; };
template <>
struct PrimTypeTraits<shr::UInt32> { using Type = uint32_t; };
template <>
struct PrimTypeTraits<shr::Int64> { using Type = int64_t; };
template <>
struct PrimTypeTraits<shr::Float> { using Type = float; };
template <>
struct PrimTypeTraits<shr::Double> { using Type = double; };

template <shr::PrimType P>
using PrimElement = typename PrimTypeTraits<P>::Type;

// What DispatchPrimType hands to its function: the type as a value and as a C++ type.
template <shr::PrimType P>
struct PrimTag {
    static constexpr shr::PrimType Value = P;
    using Type = PrimElement<P>;
};

// Calls f(PrimTag<type>{}); every branch must return the same type. A value
// outside the enumeration raises "Invalid data type.".
template <class F>
decltype(auto) DispatchPrimType(shr::PrimType type, F&& f)
{
    switch (type) {
    case shr::Int8: return f(PrimTag<shr::Int8>{});
    case shr::UInt8: return f(PrimTag<shr::UInt8>{});
    case shr::Int16: return f(PrimTag<shr::Int16>{});
    case shr::UInt16: return f(PrimTag<shr::UInt16>{});
    case shr::Int32: return f(PrimTag<shr::Int32>{});
    case shr::UInt32: return f(PrimTag<shr::UInt32>{});
    case shr::Int64: return f(PrimTag<shr::Int64>{});
    case shr::Float: return f(PrimTag<shr::Float>{});
    case shr::Double: return f(PrimTag<shr::Double>{});
    }
    shr::ThrowSharedError("Core", "VdArrayData", __LINE__, 0, "Invalid data type.");
}

// The low 64 bits, in two's complement, of `value` truncated towards zero.
// A direct cast is undefined outside the int64 range, so larger magnitudes are
// taken apart: beyond 2^63 a double is an integer whose low bits follow from
// its significand and exponent. NaN and the infinities have no integer part
// and give 0.
inline uint64_t TruncateToLowBits(double value)
{
    constexpr double kTwoTo63 = 9223372036854775808.0;
    if (std::fabs(value) < kTwoTo63)
        return static_cast<uint64_t>(static_cast<int64_t>(value));
    if (!std::isfinite(value))
        return 0;
    int exponent = 0;
    const double fraction = std::frexp(std::fabs(value), &exponent); // |value| = fraction * 2^exponent
    const uint64_t significand = static_cast<uint64_t>(std::ldexp(fraction, 53));
    const int shift = exponent - 53; // at least 11 here
    const uint64_t magnitude = shift >= 64 ? 0 : significand << shift;
    return value < 0 ? ~magnitude + 1 : magnitude;
}

// double to float with the IEEE result for every input: out-of-range values
// round to the largest float or to infinity as the hardware conversion does,
// without the cast that the language leaves undefined there.
inline float NarrowToFloat(double value)
{
    constexpr double kLargest = std::numeric_limits<float>::max();
    constexpr double kOverflow = 0x1.ffffffp+127; // largest float plus half a unit in the last place
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    if (value >= kOverflow)
        return kInfinity;
    if (value <= -kOverflow)
        return -kInfinity;
    if (value > kLargest)
        return static_cast<float>(kLargest);
    if (value < -kLargest)
        return static_cast<float>(-kLargest);
    return static_cast<float>(value);
}

template <class To, class From>
To PrimConvert(From value)
{
    static_assert(std::is_arithmetic<To>::value && std::is_arithmetic<From>::value, "numbers only");
    if constexpr (std::is_integral<To>::value && std::is_floating_point<From>::value)
        return static_cast<To>(TruncateToLowBits(static_cast<double>(value)));
    else if constexpr (std::is_same<To, float>::value && std::is_same<From, double>::value)
        return NarrowToFloat(value);
    else
        return static_cast<To>(value);
}

} // namespace core
