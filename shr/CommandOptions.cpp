#include "shr/CommandOptions.h"

#include "shr/Exception.h"

#include <cctype>

namespace shr {

namespace {

bool IsBlank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

bool NeedsQuotes(const GString& value)
{
    if (value.empty())
        return true;
    for (char c : value)
        if (IsBlank(c) || c == '"' || c == '\\')
            return true;
    return false;
}

GString Quote(const GString& value)
{
    GString quoted("\"");
    for (char c : value) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    quoted += '"';
    return quoted;
}

// Reads an option value at `p`: quoted with escapes, or up to the next blank.
const char* ReadValue(const char* p, GString& value, const GString& line)
{
    value.clear();
    if (*p != '"') {
        while (*p && !IsBlank(*p))
            value += *p++;
        return p;
    }
    for (++p; *p && *p != '"'; ++p) {
        if (*p == '\\' && (p[1] == '"' || p[1] == '\\'))
            ++p;
        value += *p;
    }
    if (*p != '"')
        SHR_THROW(0, "Unterminated quoted value in command \"%s\".", line.c_str());
    return p + 1;
}

} // namespace

CommandOptions::CommandOptions(const GString& commandLine)
{
    const char* p = commandLine.c_str();
    while (IsBlank(*p))
        ++p;
    while (*p && !IsBlank(*p))
        m_Command += *p++;
    while (true) {
        while (IsBlank(*p))
            ++p;
        if (!*p)
            break;
        GString name;
        while (*p && *p != '=' && !IsBlank(*p))
            name += *p++;
        if (*p != '=' || name.empty())
            SHR_THROW(0, "Expected name=value at \"%s\" in command \"%s\".", name.c_str(), commandLine.c_str());
        GString value;
        p = ReadValue(p + 1, value, commandLine);
        Set(name, value);
    }
}

void CommandOptions::Set(const GString& name, const GString& value)
{
    for (Option& option : m_Options)
        if (option.first == name) {
            option.second = value;
            return;
        }
    m_Options.emplace_back(name, value);
}

bool CommandOptions::Get(const GString& name, GString& value) const
{
    for (const Option& option : m_Options)
        if (option.first == name) {
            value = option.second;
            return true;
        }
    return false;
}

bool CommandOptions::Has(const GString& name) const
{
    GString ignored;
    return Get(name, ignored);
}

GString CommandOptions::ToString() const
{
    GString line = m_Command;
    for (const Option& option : m_Options) {
        line += " ";
        line += option.first;
        line += "=";
        line += NeedsQuotes(option.second) ? Quote(option.second) : option.second;
    }
    return line;
}

} // namespace shr
