#pragma once
// GString: the library's string. It is a std::string in every respect (any GString
// binds to a std::string&), with construction from a null `const char*` giving
// the empty string rather than undefined behaviour.
#include <functional>
#include <string>
#include <utility>

namespace shr {

class GString : public std::string {
public:
    GString() = default;
    GString(const char* text) : std::string(text ? text : "") {}
    GString(const char* text, size_type count) : std::string(text ? text : "", text ? count : 0) {}
    GString(const std::string& text) : std::string(text) {}
    GString(std::string&& text) noexcept : std::string(std::move(text)) {}
    GString(size_type count, char c) : std::string(count, c) {}
    GString(const GString&) = default;
    GString(GString&&) noexcept = default;
    ~GString() = default;

    GString& operator=(const GString&) = default;
    GString& operator=(GString&&) noexcept = default;
    GString& operator=(const std::string& text) { std::string::operator=(text); return *this; }
    GString& operator=(std::string&& text) noexcept { std::string::operator=(std::move(text)); return *this; }
    GString& operator=(const char* text) { std::string::operator=(text ? text : ""); return *this; }
    GString& operator+=(const char* text) { if (text) std::string::operator+=(text); return *this; }
    GString& operator+=(const std::string& text) { std::string::operator+=(text); return *this; }
    GString& operator+=(char c) { std::string::operator+=(c); return *this; }
};

} // namespace shr

namespace std {
template <>
struct hash<shr::GString> {
    size_t operator()(const shr::GString& s) const noexcept { return hash<string>()(s); }
};
} // namespace std
