#include "tzexpr/CLexer.h"

#include "tzexpr/CDeclarations.h"
#include "tzexpr/ErrorCodes.h"
#include "tzexpr/ParseFailure.h"

#include "shr/StringUtil.h"

#include <cctype>
#include <charconv>
#include <cstring>

namespace tzexpr {

namespace {

struct SOperator {
    const char* text;
    ETokenKind kind;
};

// Longer spellings first, so that "**" wins over "*" and "<=" over "<".
const SOperator kOperators[] = {
    {"**", ETokenKind::Power},      {"==", ETokenKind::Equal},   {"!=", ETokenKind::NotEqual},
    {"<>", ETokenKind::NotEqual},   {"<=", ETokenKind::LessEqual}, {">=", ETokenKind::GreaterEqual},
    {"&&", ETokenKind::And},        {"||", ETokenKind::Or},      {"+", ETokenKind::Plus},
    {"-", ETokenKind::Minus},       {"*", ETokenKind::Star},     {"/", ETokenKind::Slash},
    {"%", ETokenKind::Percent},     {"^", ETokenKind::Power},    {"(", ETokenKind::LeftParen},
    {")", ETokenKind::RightParen},  {",", ETokenKind::Comma},    {"?", ETokenKind::Question},
    {":", ETokenKind::Colon},       {"=", ETokenKind::Assign},   {"<", ETokenKind::Less},
    {">", ETokenKind::Greater},     {"!", ETokenKind::Not},
};

bool IsDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

// Printable characters as themselves, others as \xNN, so a message stays readable.
shr::GString ShowCharacter(char c)
{
    const unsigned char u = static_cast<unsigned char>(c);
    if (std::isprint(u))
        return shr::GString(1, c);
    return shr::ToString("\\x%02X", unsigned(u));
}

} // namespace

CLexer::CLexer(const shr::GString& text) : m_Text(text)
{
    Advance();
}

void CLexer::Advance()
{
    SkipBlanks();
    if (m_Position >= m_Text.size()) {
        SetCurrent(ETokenKind::End, 0);
        return;
    }
    const char c = m_Text[m_Position];
    if (IsDigit(c) || (c == '.' && m_Position + 1 < m_Text.size() && IsDigit(m_Text[m_Position + 1])))
        ReadNumber();
    else if (std::isalpha(static_cast<unsigned char>(c)) || c == '_')
        ReadIdentifier();
    else
        ReadOperator();
}

void CLexer::SkipBlanks()
{
    while (m_Position < m_Text.size() && std::isspace(static_cast<unsigned char>(m_Text[m_Position])))
        ++m_Position;
}

void CLexer::SetCurrent(ETokenKind kind, size_t length)
{
    m_Current.kind = kind;
    m_Current.text = m_Text.substr(std::min(m_Position, m_Text.size()), length);
    m_Current.column = int(m_Position) + 1;
    m_Current.value = 0;
    m_Position += length;
}

// digits [. digits] [e [+-] digits], or . digits [...]; a letter or '.' straight
// after the number is left for the next token (and gives a syntax error there).
void CLexer::ReadNumber()
{
    const size_t start = m_Position;
    size_t end = start;
    while (end < m_Text.size() && IsDigit(m_Text[end]))
        ++end;
    if (end < m_Text.size() && m_Text[end] == '.') {
        ++end;
        while (end < m_Text.size() && IsDigit(m_Text[end]))
            ++end;
    }
    bool malformed = false;
    if (end < m_Text.size() && (m_Text[end] == 'e' || m_Text[end] == 'E')) {
        size_t exponent = end + 1;
        if (exponent < m_Text.size() && (m_Text[exponent] == '+' || m_Text[exponent] == '-'))
            ++exponent;
        malformed = exponent >= m_Text.size() || !IsDigit(m_Text[exponent]);
        end = exponent;
        while (end < m_Text.size() && IsDigit(m_Text[end]))
            ++end;
    }
    SetCurrent(ETokenKind::Number, end - start);
    // from_chars does not take a leading '.', so read "0.5" for ".5".
    const shr::GString spelled = m_Text[start] == '.' ? "0" + m_Current.text : m_Current.text;
    double value = 0;
    const auto result = std::from_chars(spelled.data(), spelled.data() + spelled.size(), value);
    if (malformed || result.ec != std::errc() || result.ptr != spelled.data() + spelled.size())
        ThrowParseFailure(kErrInvalidNumber, m_Current.text, "Invalid number '%s' at column %d.",
                          m_Current.text.c_str(), m_Current.column);
    m_Current.value = value;
}

void CLexer::ReadIdentifier()
{
    size_t end = m_Position;
    while (end < m_Text.size() && (std::isalnum(static_cast<unsigned char>(m_Text[end])) || m_Text[end] == '_'))
        ++end;
    const shr::GString lower = ToLowerAscii(m_Text.substr(m_Position, end - m_Position));
    ETokenKind kind = ETokenKind::Identifier;
    if (lower == "and")
        kind = ETokenKind::And;
    else if (lower == "or")
        kind = ETokenKind::Or;
    else if (lower == "not")
        kind = ETokenKind::Not;
    SetCurrent(kind, end - m_Position);
}

void CLexer::ReadOperator()
{
    for (const SOperator& op : kOperators) {
        const size_t length = std::strlen(op.text);
        if (m_Text.compare(m_Position, length, op.text) == 0) {
            SetCurrent(op.kind, length);
            return;
        }
    }
    const shr::GString shown = ShowCharacter(m_Text[m_Position]);
    ThrowParseFailure(kErrInvalidCharacter, shown, "Invalid character '%s' at column %d.", shown.c_str(),
                      int(m_Position) + 1);
}

shr::GString DescribeToken(const SToken& token)
{
    if (token.kind == ETokenKind::End)
        return "end of expression";
    return "'" + token.text + "'";
}

} // namespace tzexpr
