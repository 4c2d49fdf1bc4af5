#include "shr/PrimType.h"

#include "shr/Exception.h"

#include <cfloat>

namespace shr {

const char* const CPrimType::TypeName[PrimTypeCount] = {
    "Signed 8-bit integer",  "Unsigned 8-bit integer", "Signed 16-bit integer",
    "Unsigned 16-bit integer", "Signed 32-bit integer", "Unsigned 32-bit integer",
    "Signed 64-bit integer", "32-bit float",           "64-bit float"};

const double CPrimType::TypeMin[PrimTypeCount] = {
    -128.0, 0.0, -32768.0, 0.0, -2147483648.0, 0.0, -9223372036854775808.0, -FLT_MAX, -DBL_MAX};

const double CPrimType::TypeMax[PrimTypeCount] = {
    127.0, 255.0, 32767.0, 65535.0, 2147483647.0, 4294967295.0, 9223372036854774784.0, FLT_MAX, DBL_MAX};

const PrimType CPrimType::Promotion[PrimTypeCount][PrimTypeCount] = {
    {Int8, Int16, Int16, Int32, Int32, Int64, Int64, Float, Double},
    {Int16, UInt8, Int16, UInt16, Int32, UInt32, Int64, Float, Double},
    {Int16, Int16, Int16, Int32, Int32, Int64, Int64, Float, Double},
    {Int32, UInt16, Int32, UInt16, Int32, UInt32, Int64, Float, Double},
    {Int32, Int32, Int32, Int32, Int32, Int64, Int64, Double, Double},
    {Int64, UInt32, Int64, UInt32, Int64, UInt32, Int64, Double, Double},
    {Int64, Int64, Int64, Int64, Int64, Int64, Int64, Double, Double},
    {Float, Float, Float, Float, Double, Double, Double, Float, Double},
    {Double, Double, Double, Double, Double, Double, Double, Double, Double},
};

namespace {

void CheckType(PrimType type)
{
    if (!CPrimType::IsValid(type))
        SHR_THROW(0, "Invalid data type %d.", static_cast<int>(type));
}

} // namespace

double CPrimType::Clip(PrimType type, double value)
{
    CheckType(type);
    if (value < TypeMin[type])
        return TypeMin[type];
    if (value > TypeMax[type])
        return TypeMax[type];
    return value;
}

unsigned int CPrimType::Size(PrimType type)
{
    static const unsigned int sizes[PrimTypeCount] = {1, 1, 2, 2, 4, 4, 8, 4, 8};
    CheckType(type);
    return sizes[type];
}

bool CPrimType::IsInteger(PrimType type)
{
    CheckType(type);
    return type != Float && type != Double;
}

} // namespace shr
