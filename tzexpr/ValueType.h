#pragma once
// The types a declared variable may have, and the reading and storing of a value
// of such a type through an untyped pointer.
#include "shr/GString.h"

#include <cstdint>

namespace tzexpr {

enum class EValueType : uint8_t { Double, Float, Int8, Int16, Int32, Int64, UInt8, UInt16, UInt32, UInt64 };

// Looks up a type name, case-insensitively: "double", "float", "int" (32-bit),
// "int8", "int16", "int32", "int64", "uint8", "uint16", "uint32", "uint64",
// and the aliases "char" (int8), "uchar" (uint8), "short" (int16), "ushort"
// (uint16), "uint" (uint32). Returns false for any other text.
bool ParseValueType(const shr::GString& name, EValueType& type);

// The value at `source` read as `type`, converted to double.
inline double ReadValue(EValueType type, const void* source)
{
    switch (type) {
    case EValueType::Double: return *static_cast<const double*>(source);
    case EValueType::Float: return *static_cast<const float*>(source);
    case EValueType::Int8: return *static_cast<const int8_t*>(source);
    case EValueType::Int16: return *static_cast<const int16_t*>(source);
    case EValueType::Int32: return *static_cast<const int32_t*>(source);
    case EValueType::Int64: return static_cast<double>(*static_cast<const int64_t*>(source));
    case EValueType::UInt8: return *static_cast<const uint8_t*>(source);
    case EValueType::UInt16: return *static_cast<const uint16_t*>(source);
    case EValueType::UInt32: return *static_cast<const uint32_t*>(source);
    case EValueType::UInt64: return static_cast<double>(*static_cast<const uint64_t*>(source));
    }
    return 0.0;
}

// Stores a finite `value` at `target` as `type`. Integer types take the value
// truncated toward zero, as a C assignment does. Returns false, storing nothing,
// when the value does not fit the type.
bool StoreValue(EValueType type, double value, void* target);

} // namespace tzexpr
