#include "shr/StringUtil.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace shr {

void FormatStringVA(std::string& out, const char* format, va_list args)
{
    va_list copy;
    va_copy(copy, args);
    char small[256];
    int needed = std::vsnprintf(small, sizeof small, format, copy);
    va_end(copy);
    if (needed < 0) {
        out.clear();
        return;
    }
    if (static_cast<size_t>(needed) < sizeof small) {
        out.assign(small, static_cast<size_t>(needed));
        return;
    }
    out.resize(static_cast<size_t>(needed) + 1);
    std::vsnprintf(&out[0], out.size(), format, args);
    out.resize(static_cast<size_t>(needed));
}

void FormatString(std::string& out, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    FormatStringVA(out, format, args);
    va_end(args);
}

GString ToString(const char* format, ...)
{
    std::string out;
    va_list args;
    va_start(args, format);
    FormatStringVA(out, format, args);
    va_end(args);
    return GString(std::move(out));
}

GString BoolToString(bool value) { return value ? "true" : "false"; }

namespace {

std::string Trimmed(const std::string& text)
{
    std::string copy(text);
    Trim(copy);
    return copy;
}

// strtoll over the whole (trimmed) text; false on empty text, junk or overflow.
bool ParseWholeInteger(const std::string& text, long long& value)
{
    const std::string t = Trimmed(text);
    if (t.empty())
        return false;
    errno = 0;
    char* end = nullptr;
    const long long v = std::strtoll(t.c_str(), &end, 0);
    if (errno == ERANGE || end != t.c_str() + t.size())
        return false;
    value = v;
    return true;
}

} // namespace

bool StringToBool(const std::string& text, bool& value)
{
    const std::string t = Trimmed(text);
    static const char* const truths[] = {"true", "yes", "on", "1"};
    static const char* const falsehoods[] = {"false", "no", "off", "0"};
    for (const char* word : truths)
        if (strcasecmp(t.c_str(), word) == 0) {
            value = true;
            return true;
        }
    for (const char* word : falsehoods)
        if (strcasecmp(t.c_str(), word) == 0) {
            value = false;
            return true;
        }
    return false;
}

bool StringToInt(const std::string& text, int& value)
{
    long long v = 0;
    if (!ParseWholeInteger(text, v) || v < INT_MIN || v > INT_MAX)
        return false;
    value = static_cast<int>(v);
    return true;
}

bool StringToInt64(const std::string& text, int64_t& value)
{
    long long v = 0;
    if (!ParseWholeInteger(text, v))
        return false;
    value = static_cast<int64_t>(v);
    return true;
}

bool StringToUnsigned(const std::string& text, unsigned int& value)
{
    long long v = 0;
    if (!ParseWholeInteger(text, v) || v < 0 || v > static_cast<long long>(UINT_MAX))
        return false;
    value = static_cast<unsigned int>(v);
    return true;
}

bool StringToDouble(const std::string& text, double& value)
{
    const std::string t = Trimmed(text);
    const char* end = nullptr;
    double v = 0.0;
    if (!ParseDouble(t.c_str(), &v, &end) || *end != '\0')
        return false;
    value = v;
    return true;
}

bool ParseDouble(const char* text, double* value, const char** end)
{
    if (end)
        *end = text;
    if (!text)
        return false;
    const char* p = text;
    while (std::isspace(static_cast<unsigned char>(*p)))
        ++p;
    if (*p == '\0')
        return false;
    errno = 0;
    char* stop = nullptr;
    const double v = std::strtod(p, &stop);
    if (stop == p || errno == ERANGE)
        return false;
    if (value)
        *value = v;
    if (end)
        *end = stop;
    return true;
}

const char* ParseString(const char* text, std::string& token)
{
    if (!text)
        return nullptr;
    const char* p = text;
    while (std::isspace(static_cast<unsigned char>(*p)))
        ++p;
    if (*p == '\0')
        return nullptr;
    std::string out;
    if (*p == '"') {
        for (++p; *p && *p != '"'; ++p) {
            if (*p == '\\' && (p[1] == '"' || p[1] == '\\'))
                ++p;
            out += *p;
        }
        if (*p != '"')
            return nullptr; // unterminated quote
        ++p;
    } else {
        while (*p && !std::isspace(static_cast<unsigned char>(*p)))
            out += *p++;
    }
    token = std::move(out);
    return p;
}

size_t BreakIntoSubstrings(const char* text, std::vector<std::string>& pieces, const char* delimiters)
{
    if (!text)
        return 0;
    auto isDelimiter = [delimiters](char c) {
        return delimiters ? std::strchr(delimiters, c) != nullptr && c != '\0'
                          : std::isspace(static_cast<unsigned char>(c)) != 0;
    };
    size_t added = 0;
    std::string current;
    for (const char* p = text;; ++p) {
        if (*p == '\0' || isDelimiter(*p)) {
            if (!current.empty()) {
                pieces.push_back(current);
                current.clear();
                ++added;
            }
            if (*p == '\0')
                break;
        } else {
            current += *p;
        }
    }
    return added;
}

void TrimRight(std::string& text)
{
    size_t end = text.size();
    while (end > 0 && std::isspace(static_cast<unsigned char>(text[end - 1])))
        --end;
    text.erase(end);
}

void Trim(std::string& text)
{
    TrimRight(text);
    size_t begin = 0;
    while (begin < text.size() && std::isspace(static_cast<unsigned char>(text[begin])))
        ++begin;
    text.erase(0, begin);
}

GString FormatSystemErrorMsg()
{
    const int error = errno;
    char buffer[256];
    // GNU strerror_r returns the message pointer, which may not be `buffer`.
    const char* text = strerror_r(error, buffer, sizeof buffer);
    return GString(text);
}

} // namespace shr
