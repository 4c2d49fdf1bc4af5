#pragma once
// String helpers: printf-style formatting into std::string, conversions between
// text and values, tokenising and trimming.
//
// The conversion functions accept the C locale's number syntax with optional
// surrounding white space and nothing else: "12", " -3.5e2 ", "0x1F" (integers
// only, base prefixes 0x and 0 as strtol reads them). They return false and
// leave the target unchanged on any other text or on overflow.
// Booleans accept (case-insensitive) "true"/"false", "yes"/"no", "on"/"off", "1"/"0".
#include "shr/GString.h"

#include <cstdarg>
#include <cstdint>
#include <string>
#include <vector>

namespace shr {

void FormatString(std::string& out, const char* format, ...) __attribute__((format(printf, 2, 3)));
void FormatStringVA(std::string& out, const char* format, va_list args);
GString ToString(const char* format, ...) __attribute__((format(printf, 1, 2)));

GString BoolToString(bool value); // "true" or "false"
bool StringToBool(const std::string& text, bool& value);
bool StringToInt(const std::string& text, int& value);
bool StringToInt64(const std::string& text, int64_t& value);
bool StringToUnsigned(const std::string& text, unsigned int& value);
bool StringToDouble(const std::string& text, double& value);

// Reads a double at `text` after leading white space; on success stores it,
// sets *end (if given) past it and returns true; otherwise *end = text.
bool ParseDouble(const char* text, double* value, const char** end);
// Reads one token at `text`: a double-quoted string (with \" and \\ escapes) or a
// run of non-blank characters. Returns the position after it, or null if none.
const char* ParseString(const char* text, std::string& token);

// Splits `text` at any of the characters of `delimiters` (white space when null)
// and appends the non-empty pieces. Returns the number of pieces appended.
size_t BreakIntoSubstrings(const char* text, std::vector<std::string>& pieces, const char* delimiters = nullptr);

void Trim(std::string& text);      // white space at both ends
void TrimRight(std::string& text); // white space at the end

GString FormatSystemErrorMsg(); // the text of the last system error (errno)

} // namespace shr
