#pragma once
// The checked read of a typed property value and the decimal text of integers,
// shared by the records and the converters.
#include "core/properties/PropertyError.h"

#include "shr/GString.h"

#include <boost/any.hpp>
#include <boost/lexical_cast.hpp>

#include <cstddef>
#include <sstream>
#include <string>

namespace core {

// The value held in `value` as a T; any other type (or none) raises the type error.
template <class T>
const T& PropertyValueCast(const boost::any& value)
{
    const T* typed = boost::any_cast<T>(&value);
    if (!typed)
        ThrowPropertyTypeError();
    return *typed;
}

// Decimal text of an integer. boost::lexical_cast honours the digit grouping of
// the global locale, as the host's display of numbers expects.
template <class T>
shr::GString DecimalText(T value)
{
    return boost::lexical_cast<std::string>(value);
}

// The numbers separated by one blank, as a standard stream writes them.
template <class T, size_t N>
shr::GString StreamNumbersText(const T (&numbers)[N])
{
    std::ostringstream out;
    for (size_t i = 0; i < N; ++i)
        out << (i ? " " : "") << numbers[i];
    return out.str();
}

// Reads N numbers in turn from the start of `text`, white space skipped. True
// only if all were read and nothing but white space follows; on false,
// `numbers` may be partly written.
template <class T, size_t N>
bool ReadWholeStreamNumbers(const shr::GString& text, T (&numbers)[N])
{
    std::istringstream in(text);
    for (T& number : numbers)
        in >> number;
    if (in.fail())
        return false;
    in >> std::ws;
    return in.eof();
}

} // namespace core
