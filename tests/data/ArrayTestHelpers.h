#pragma once
// Helpers shared by the array tests: building arrays from lists of doubles and
// reading them back.
#include "core/data/VdArray.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace arraytest {

// A one-component array (or `components` per tuple) holding `values` in
// order, with the listed flat indices blanked.
inline core::VdArray MakeArray(shr::PrimType type, const std::vector<double>& values,
                               const std::vector<unsigned int>& blanks = {}, unsigned int components = 1)
{
    const auto tuples = static_cast<unsigned int>(values.size() / components);
    core::VdArray array(type, tuples, components);
    for (unsigned int tuple = 0; tuple < tuples; ++tuple)
        array.SetTuple(tuple, &values[size_t(tuple) * components]);
    for (unsigned int index : blanks)
        array.SetBlank(index / components, index % components);
    return array;
}

inline double ValueAt(const core::VdArray& array, uint32_t index)
{
    double value = 0.0;
    array.GetData()->GetValue(index, value);
    return value;
}

// Runs `action`, expecting a "Core" shr::Exception with this message.
inline void ExpectCoreError(const std::function<void()>& action, const std::string& message)
{
    try {
        action();
        ADD_FAILURE() << "no error, expected \"" << message << "\"";
    } catch (const shr::Exception& error) {
        EXPECT_EQ(error.Component(), "Core");
        EXPECT_EQ(std::string(error.Message()), message);
    }
}

} // namespace arraytest
