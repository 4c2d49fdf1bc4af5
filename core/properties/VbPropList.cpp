#include "core/properties/VbPropList.h"

#include "shr/StringUtil.h"

#include <cstdarg>
#include <string>

namespace core {

namespace {

std::string FormatArguments(const char* format, va_list args)
{
    std::string text;
    shr::FormatStringVA(text, format, args);
    return text;
}

} // namespace

VbPropList::~VbPropList() = default;

void VbPropList::AddCombo(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                          const char* help, unsigned int value, const char* first, ...)
{
    std::vector<shr::GString> items;
    va_list args;
    va_start(args, first);
    for (const char* item = first; item; item = va_arg(args, const char*))
        items.emplace_back(item);
    va_end(args);
    AddComboImpl(module, key, id, label, help, value, items, 0);
}

void VbPropList::SetHeaderCommentFmt(int id, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const std::string text = FormatArguments(format, args);
    va_end(args);
    SetHeaderCommentImpl(id, text);
}

void VbPropList::AddStaticFmt(const VbModuleId& module, int id, const char* label, const char* help,
                              const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const std::string text = FormatArguments(format, args);
    va_end(args);
    AddStatic(module, id, label, help, text.c_str());
}

void VbPropList::SetStaticFmt(int id, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const std::string text = FormatArguments(format, args);
    va_end(args);
    SetStatic(id, text.c_str());
}

} // namespace core
