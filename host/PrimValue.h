#pragma once
// One element of a typed block read as a double, or written from one with the
// arrays' own conversion: what the file writers and readers share.
#include "core/data/PrimConvert.h"

#include <cstring>

namespace host {

inline double ReadAsDouble(shr::PrimType type, const void* block, size_t index)
{
    return core::DispatchPrimType(type, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        T value;
        std::memcpy(&value, static_cast<const char*>(block) + index * sizeof(T), sizeof(T));
        return double(value);
    });
}

inline void StoreFromDouble(shr::PrimType type, void* block, size_t index, double value)
{
    core::DispatchPrimType(type, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        const T converted = core::PrimConvert<T>(value);
        std::memcpy(static_cast<char*>(block) + index * sizeof(T), &converted, sizeof(T));
    });
}

} // namespace host
