#include "core/gridding/CDatum.h"

#include <algorithm>
#include <utility>

namespace core {

CDatum::CDatum() : m_Size(0), m_Values(new double[0]), m_ID(VOID_ID) {}

CDatum::CDatum(size_t n) : m_Size(n), m_Values(new double[n]), m_ID(VOID_ID)
{
    std::fill(m_Values, m_Values + n, BLANK_VAL);
}

CDatum::CDatum(const CDatum& o) : m_Size(o.m_Size), m_Values(new double[o.m_Size]), m_ID(o.m_ID)
{
    std::copy(o.m_Values, o.m_Values + o.m_Size, m_Values);
}

CDatum::CDatum(CDatum&& o) noexcept : m_Size(o.m_Size), m_Values(o.m_Values), m_ID(o.m_ID)
{
    o.m_Size = 0;
    o.m_Values = nullptr;
}

CDatum& CDatum::operator=(const CDatum& o)
{
    if (this == &o)
        return *this;
    if (m_Size != o.m_Size || !m_Values) {
        double* values = new double[o.m_Size];
        delete[] m_Values;
        m_Values = values;
        m_Size = o.m_Size;
    }
    std::copy(o.m_Values, o.m_Values + o.m_Size, m_Values);
    m_ID = o.m_ID;
    return *this;
}

CDatum& CDatum::operator=(CDatum&& o) noexcept
{
    std::swap(m_Size, o.m_Size);
    std::swap(m_Values, o.m_Values);
    m_ID = o.m_ID;
    return *this;
}

CDatum::~CDatum()
{
    delete[] m_Values;
}

bool CDatum::IsBlank() const
{
    return std::all_of(m_Values, m_Values + m_Size, [](double v) { return v == BLANK_VAL; });
}

bool CDatum::operator==(const CDatum& o) const
{
    return m_ID == o.m_ID && m_Size == o.m_Size && std::equal(m_Values, m_Values + m_Size, o.m_Values);
}

} // namespace core
