#pragma once
// Comparison functors for ordered containers.
//
// StringLess and StringEquivalent ignore case: keys typed by users or derived
// from labels ("Averageangle") must find their registered form ("AverageAngle").
// Case folding is ASCII only and the comparison is byte-wise on unsigned char,
// so the order does not depend on the C locale. Letters compare as lower case,
// hence "_" (0x5F) < "a" == "A" < "B", and a string sorts before any longer
// string it is a prefix of.
#include <cstddef>
#include <string>

namespace shr {

namespace StringCompareDetail {

inline unsigned char FoldCase(unsigned char c) { return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c; }

// <0, 0 or >0 as a sorts before, with or after b, ignoring ASCII case.
inline int CompareNoCase(const std::string& a, const std::string& b)
{
    const size_t common = a.size() < b.size() ? a.size() : b.size();
    for (size_t i = 0; i < common; ++i) {
        const int ca = FoldCase(static_cast<unsigned char>(a[i]));
        const int cb = FoldCase(static_cast<unsigned char>(b[i]));
        if (ca != cb)
            return ca - cb;
    }
    return a.size() < b.size() ? -1 : (a.size() > b.size() ? 1 : 0);
}

} // namespace StringCompareDetail

struct StringLess {
    bool operator()(const std::string& a, const std::string& b) const
    {
        return StringCompareDetail::CompareNoCase(a, b) < 0;
    }
};

struct StringEquivalent {
    bool operator()(const std::string& a, const std::string& b) const
    {
        return a.size() == b.size() && StringCompareDetail::CompareNoCase(a, b) == 0;
    }
};

// Orders pairs (or anything with a `first`) by `first` alone.
struct PairFirstLess {
    template <class Pair>
    bool operator()(const Pair& a, const Pair& b) const
    {
        return a.first < b.first;
    }
};

} // namespace shr
