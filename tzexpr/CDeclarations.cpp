#include "tzexpr/CDeclarations.h"

#include "tzexpr/ErrorCodes.h"
#include "tzexpr/ParseFailure.h"

#include "shr/StringUtil.h"

#include <cctype>

namespace tzexpr {

shr::GString ToLowerAscii(const shr::GString& text)
{
    shr::GString lower(text);
    for (char& c : lower)
        c = char(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

bool IsIdentifier(const shr::GString& text)
{
    if (text.empty())
        return false;
    const unsigned char first = static_cast<unsigned char>(text[0]);
    if (!std::isalpha(first) && first != '_')
        return false;
    for (char c : text) {
        const unsigned char u = static_cast<unsigned char>(c);
        if (!std::isalnum(u) && u != '_')
            return false;
    }
    return true;
}

bool IsReservedWord(const shr::GString& lowerName)
{
    return lowerName == "and" || lowerName == "or" || lowerName == "not";
}

CDeclarations::CDeclarations(const shr::GString& text)
{
    std::vector<std::string> items;
    shr::BreakIntoSubstrings(text.c_str(), items);
    for (const std::string& item : items)
        Add(item);
}

int CDeclarations::Find(const shr::GString& name) const
{
    const shr::GString lower = ToLowerAscii(name);
    for (size_t i = 0; i < m_Variables.size(); ++i) {
        if (m_Variables[i].name == lower)
            return int(i);
    }
    return -1;
}

void CDeclarations::Add(const shr::GString& item)
{
    const size_t colon = item.find(':');
    if (colon == std::string::npos)
        ThrowParseFailure(kErrInvalidDeclaration, item, "Invalid declaration '%s': expected type:name.", item.c_str());
    const shr::GString typeName = item.substr(0, colon);
    const shr::GString name = item.substr(colon + 1);
    EValueType type;
    if (!ParseValueType(typeName, type))
        ThrowParseFailure(kErrUnknownType, typeName, "Unknown type '%s' in declaration '%s'.", typeName.c_str(),
                          item.c_str());
    const shr::GString lower = ToLowerAscii(name);
    if (!IsIdentifier(name) || IsReservedWord(lower))
        ThrowParseFailure(kErrInvalidDeclaration, name, "Invalid variable name '%s' in declaration '%s'.",
                          name.c_str(), item.c_str());
    if (Find(lower) >= 0)
        ThrowParseFailure(kErrInvalidDeclaration, name, "Variable '%s' is declared more than once.", name.c_str());
    m_Variables.push_back(SVariable{lower, type});
}

} // namespace tzexpr
