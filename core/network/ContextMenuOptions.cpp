#include "core/network/ContextMenuOptions.h"

#include "shr/Exception.h"

namespace core {

void ContextMenuOptions::Add(const Option& option)
{
    if (option.first.empty())
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Context menu label must be non-empty.");
    m_Options.push_back(option);
}

} // namespace core
