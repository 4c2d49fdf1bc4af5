#pragma once
// Splits expression text into tokens, each with its 1-based column. The word
// operators "and", "or", "not" are recognised in any case.
#include "shr/GString.h"

namespace tzexpr {

enum class ETokenKind {
    End,
    Number,
    Identifier,
    Plus,
    Minus,
    Star,
    Slash,
    Percent,
    Power, // ^ or **
    LeftParen,
    RightParen,
    Comma,
    Question,
    Colon,
    Assign,       // =
    Equal,        // ==
    NotEqual,     // != or <>
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
    And,          // and, &&
    Or,           // or, ||
    Not,          // not, !
};

struct SToken {
    ETokenKind kind = ETokenKind::End;
    shr::GString text; // as written
    int column = 1;    // 1-based
    double value = 0;  // for numbers
};

class CLexer {
public:
    explicit CLexer(const shr::GString& text);

    // The current token, and moving past it. Throws SParseFailure
    // (kErrInvalidCharacter, kErrInvalidNumber) when the next token is malformed.
    const SToken& Current() const { return m_Current; }
    void Advance();

private:
    void SkipBlanks();
    void ReadNumber();
    void ReadIdentifier();
    void ReadOperator();
    void SetCurrent(ETokenKind kind, size_t length);

    shr::GString m_Text;
    size_t m_Position = 0;
    SToken m_Current;
};

// How a token is shown in messages: its text, or "end of expression".
shr::GString DescribeToken(const SToken& token);

} // namespace tzexpr
