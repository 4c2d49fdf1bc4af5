#include "core/network/VbModuleId.h"

#include "shr/Exception.h"
#include "shr/StringUtil.h"

#include <boost/lexical_cast.hpp>

#include <limits>

namespace core {

const VbModuleId& VbModuleId::Bad()
{
    static const VbModuleId bad(0);
    return bad;
}

const VbModuleId& VbModuleId::Maximum()
{
    static const VbModuleId maximum(std::numeric_limits<int64_t>::max() - 1);
    return maximum;
}

VbModuleId& VbModuleId::operator++()
{
    if (m_Value >= Maximum().m_Value)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Id exceeds maximum allowable value.");
    ++m_Value;
    return *this;
}

bool VbModuleId::FromString(const shr::GString& text)
{
    if (text.empty())
        return false;
    int64_t value = Bad().m_Value;
    if (!shr::StringToInt64(text, value))
        return false;
    m_Value = value;
    return true;
}

shr::GString VbModuleId::ToString() const { return boost::lexical_cast<std::string>(m_Value); }

} // namespace core
