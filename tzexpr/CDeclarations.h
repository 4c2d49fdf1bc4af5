#pragma once
// The variables an expression may use: parsed from blank-separated "type:name"
// items, kept in declaration order (which is the order of Evaluate's inputs).
// Names and type names are case-insensitive; names are stored in lower case.
#include "tzexpr/ValueType.h"

#include "shr/GString.h"

#include <vector>

namespace tzexpr {

struct SVariable {
    shr::GString name; // lower case
    EValueType type;
};

class CDeclarations {
public:
    // Parses the declaration text; throws SParseFailure (kErrUnknownType,
    // kErrInvalidDeclaration) on a malformed item, a reserved word as name or a
    // name declared twice.
    explicit CDeclarations(const shr::GString& text);

    // The index of the variable with this name (any case), or -1.
    int Find(const shr::GString& name) const;
    const SVariable& At(int index) const { return m_Variables[size_t(index)]; }
    size_t Count() const { return m_Variables.size(); }

private:
    void Add(const shr::GString& item);

    std::vector<SVariable> m_Variables;
};

// Lower-cases ASCII letters; names are compared in this form.
shr::GString ToLowerAscii(const shr::GString& text);
// True for a letter or '_' followed by letters, digits and '_'.
bool IsIdentifier(const shr::GString& text);
// True for the word operators "and", "or", "not" (lower case).
bool IsReservedWord(const shr::GString& lowerName);

} // namespace tzexpr
