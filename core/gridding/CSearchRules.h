#pragma once
// CSearchRules: what a neighbour search looks for. Either all data (every
// search returns every row, no tree is built), or the rows inside the ellipsoid
// that `transform` maps onto the unit sphere, at most MaxData of them (nearest
// kept), a node being answered only when at least MinData are found.
#include "core/gridding/CAffineTransform.h"

#include <cstdint>

namespace core {

class CSearchRules {
public:
    // All data, min 1, max INT32_MAX, identity transform.
    CSearchRules();
    // A sphere of the given radius.
    CSearchRules(int minData, int maxData, double radius);
    // An axis-aligned ellipsoid with semi-axis lengths a, b, c along X, Y, Z.
    CSearchRules(int minData, int maxData, double a, double b, double c);
    // A general ellipsoid from three semi-axes.
    CSearchRules(int minData, int maxData, const shr::Point3<double>& u, const shr::Point3<double>& v,
                 const shr::Point3<double>& w);
    CSearchRules(int minData, int maxData, const CAffineTransform& transform);

    bool AllData() const { return m_AllData; }
    void AllData(bool allData) { m_AllData = allData; }
    int MinData() const { return m_MinData; }
    void MinData(int minData) { m_MinData = minData; }
    int MaxData() const { return m_MaxData; }
    void MaxData(int maxData) { m_MaxData = maxData; }
    const CAffineTransform& AffineTransform() const { return m_Transform; }
    void AffineTransform(const CAffineTransform& transform) { m_Transform = transform; }

private:
    bool m_AllData;
    int32_t m_MinData;
    int32_t m_MaxData;
    CAffineTransform m_Transform;
};

} // namespace core
