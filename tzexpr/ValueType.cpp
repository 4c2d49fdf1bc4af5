#include "tzexpr/ValueType.h"

#include <cfloat>
#include <cmath>
#include <cstring>
#include <strings.h>

namespace tzexpr {

namespace {

struct STypeName {
    const char* name;
    EValueType type;
};

const STypeName kTypeNames[] = {
    {"double", EValueType::Double}, {"float", EValueType::Float},   {"int", EValueType::Int32},
    {"int8", EValueType::Int8},     {"int16", EValueType::Int16},   {"int32", EValueType::Int32},
    {"int64", EValueType::Int64},   {"uint8", EValueType::UInt8},   {"uint16", EValueType::UInt16},
    {"uint32", EValueType::UInt32}, {"uint64", EValueType::UInt64}, {"char", EValueType::Int8},
    {"uchar", EValueType::UInt8},   {"short", EValueType::Int16},   {"ushort", EValueType::UInt16},
    {"uint", EValueType::UInt32},
};

// An integer of `bits` bits takes the truncated values in [low, high): both bounds
// are powers of two, exact in a double, so the test itself never overflows.
bool FitsInteger(double truncated, int bits, bool isSigned)
{
    const double low = isSigned ? -std::ldexp(1.0, bits - 1) : 0.0;
    const double high = std::ldexp(1.0, isSigned ? bits - 1 : bits);
    return truncated >= low && truncated < high;
}

template <typename T>
bool StoreInteger(double value, void* target)
{
    const double truncated = std::trunc(value);
    if (!FitsInteger(truncated, int(sizeof(T) * 8), T(-1) < T(0)))
        return false;
    const T converted = static_cast<T>(truncated);
    std::memcpy(target, &converted, sizeof(T));
    return true;
}

} // namespace

bool ParseValueType(const shr::GString& name, EValueType& type)
{
    for (const STypeName& entry : kTypeNames) {
        if (strcasecmp(entry.name, name.c_str()) == 0) {
            type = entry.type;
            return true;
        }
    }
    return false;
}

bool StoreValue(EValueType type, double value, void* target)
{
    switch (type) {
    case EValueType::Double:
        *static_cast<double*>(target) = value;
        return true;
    case EValueType::Float:
        if (std::fabs(value) > FLT_MAX)
            return false;
        *static_cast<float*>(target) = static_cast<float>(value);
        return true;
    case EValueType::Int8: return StoreInteger<int8_t>(value, target);
    case EValueType::Int16: return StoreInteger<int16_t>(value, target);
    case EValueType::Int32: return StoreInteger<int32_t>(value, target);
    case EValueType::Int64: return StoreInteger<int64_t>(value, target);
    case EValueType::UInt8: return StoreInteger<uint8_t>(value, target);
    case EValueType::UInt16: return StoreInteger<uint16_t>(value, target);
    case EValueType::UInt32: return StoreInteger<uint32_t>(value, target);
    case EValueType::UInt64: return StoreInteger<uint64_t>(value, target);
    }
    return false;
}

} // namespace tzexpr
