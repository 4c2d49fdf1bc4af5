#pragma once
// PrimType: the element type of a data array, and CPrimType, its static tables.
namespace shr {

enum PrimType : int {
    Int8 = 0,
    UInt8 = 1,
    Int16 = 2,
    UInt16 = 3,
    Int32 = 4,
    UInt32 = 5,
    Int64 = 6,
    Float = 7,
    Double = 8
};

constexpr int PrimTypeCount = 9;

class CPrimType {
public:
    // Names the host shows in combo boxes and info rows.
    static const char* const TypeName[PrimTypeCount];
    // The range of each type. The largest Int64 is given as the largest double
    // below 2^63, so that a clipped value always converts back to an int64.
    static const double TypeMin[PrimTypeCount];
    static const double TypeMax[PrimTypeCount];
    // Promotion[a][b]: the type in which data of types a and b are combined:
    // the smallest type that holds every value of both (two integers of mixed
    // signedness go to a signed type twice the unsigned one's width, capped at
    // Int64); a float with an integer of up to 16 bits stays Float, with wider
    // integers it becomes Double.
    static const PrimType Promotion[PrimTypeCount][PrimTypeCount];

    // `value` limited to the range of `type`. NaN passes through unchanged.
    static double Clip(PrimType type, double value);
    static unsigned int Size(PrimType type); // bytes
    static bool IsInteger(PrimType type);
    static bool IsValid(int type) { return type >= 0 && type < PrimTypeCount; }

    CPrimType() = delete;
};

} // namespace shr
