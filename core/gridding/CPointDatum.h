#pragma once
// CPointDatum: a scattered datum, its position (first) and its row of values.
#include "core/gridding/CDatum.h"
#include "shr/Point.h"

namespace core {

class CPointDatum : public shr::Point3<double>, public CDatum {
public:
    // Position (0, 0, 0), n blank values, VOID_ID.
    explicit CPointDatum(size_t n = 0) : CDatum(n) {}
    CPointDatum(const shr::Point3<double>& position, const CDatum& datum)
        : shr::Point3<double>(position), CDatum(datum)
    {
    }
    CPointDatum(const CPointDatum&) = default;
    CPointDatum(CPointDatum&&) noexcept = default;
    CPointDatum& operator=(const CPointDatum&) = default;
    CPointDatum& operator=(CPointDatum&&) noexcept = default;
    ~CPointDatum() = default;

    const shr::Point3<double>& Position() const { return *this; }
};

} // namespace core
