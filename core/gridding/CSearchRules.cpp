#include "core/gridding/CSearchRules.h"

#include <limits>

namespace core {

CSearchRules::CSearchRules()
    : m_AllData(true), m_MinData(1), m_MaxData(std::numeric_limits<int32_t>::max())
{
}

CSearchRules::CSearchRules(int minData, int maxData, double radius)
    : m_AllData(false), m_MinData(minData), m_MaxData(maxData),
      m_Transform(1.0 / radius, 1.0 / radius, 1.0 / radius)
{
}

CSearchRules::CSearchRules(int minData, int maxData, double a, double b, double c)
    : m_AllData(false), m_MinData(minData), m_MaxData(maxData), m_Transform(1.0 / a, 1.0 / b, 1.0 / c)
{
}

CSearchRules::CSearchRules(int minData, int maxData, const shr::Point3<double>& u, const shr::Point3<double>& v,
                           const shr::Point3<double>& w)
    : m_AllData(false), m_MinData(minData), m_MaxData(maxData), m_Transform(u, v, w)
{
}

CSearchRules::CSearchRules(int minData, int maxData, const CAffineTransform& transform)
    : m_AllData(false), m_MinData(minData), m_MaxData(maxData), m_Transform(transform)
{
}

} // namespace core
