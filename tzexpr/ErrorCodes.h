#pragma once
// The error codes of the expression compiler. Parse failures carry a message that
// names the offending token and its 1-based column in the parsed text; the
// evaluation codes are reported by CExpression::Evaluate.

namespace tzexpr {

enum EErrorCode : int {
    // Parsing
    kErrUnknownName = 24850,        // a variable or function name that is not known
    kErrSyntax = 24851,             // a token where another was expected
    kErrInvalidCharacter = 24852,   // a character that starts no token
    kErrInvalidNumber = 24853,      // a malformed or out-of-range number
    kErrArgumentCount = 24854,      // a function called with the wrong number of arguments
    kErrNotAnAssignment = 24855,    // the text does not start with "name ="
    kErrTooComplex = 24856,         // nesting, stack or variable limits exceeded
    kErrUnknownType = 24857,        // a declaration with a type that is not known
    kErrInvalidDeclaration = 24858, // a malformed, reserved or duplicate declaration
    kErrChainedComparison = 24859,  // "a < b < c": comparisons do not chain
    // Evaluation
    kErrNotFinite = 24860,          // the result is NaN or infinite
    kErrOutOfRange = 24861,         // the result does not fit the assigned variable's type
    kErrNotParsed = 24862,          // nothing has been parsed
    kErrMissingPointer = 24863,     // a null input or result pointer
};

} // namespace tzexpr
