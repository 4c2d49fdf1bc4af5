#pragma once
// CExpression: one compiled expression, an assignment "name = expression" over
// declared, typed variables. A value class holding one pointer to the compiled
// form (null until a Parse succeeds); copies are independent.
//
// Parse(text, declarations, ...): declarations are blank-separated "type:name"
// items (types: double, float, int, int8..int64, uint8..uint64; see ValueType.h).
// Names, keywords and function names are case-insensitive. The text's assigned
// name must be declared; it may also be read on the right-hand side, where it
// has its input value. On failure Parse returns false, sets the error code
// (ErrorCodes.h), a message naming the offending token and its 1-based column in
// `text`, and the offending symbol (for 24850, the unknown name); the object
// keeps what it held before.
//
// Evaluate(inputs, result, ...) is const, allocation-free and safe to call on one
// object from many threads at once. `inputs` holds one pointer per declared
// variable, in declaration order; only those of the variables the expression
// reads are touched (they may be null otherwise). The value is stored through
// `result` as the assigned variable's declared type. It returns false, leaving
// the result untouched, when the value is NaN or infinite (division by zero,
// log of a negative, ...), does not fit an integer or float result, when nothing
// was parsed, or when a needed pointer is null.
//
// No-data: with SetNodataHandling(true, v), a variable the expression reads that
// equals v (compared as a double after reading it through its type) makes the
// result v, and Evaluate returns true, whatever the rest of the expression would
// give. The setting belongs to the object and survives a later Parse.
// SetNodataHandling must not run concurrently with Evaluate.
#include "shr/GString.h"

#include <memory>

namespace tzexpr {

class CCompiledExpression;

class CExpression {
public:
    CExpression();
    CExpression(const CExpression& other);
    CExpression& operator=(const CExpression& other);
    ~CExpression();

    bool Parse(const shr::GString& text, const shr::GString& declarations, int* errorCode, shr::GString* message,
               shr::GString* symbol);
    bool Evaluate(void const** inputs, void* result, int* errorCode, shr::GString* message) const;
    // Returns false, changing nothing, for enable with a NaN no-data value (no
    // value could ever equal it).
    bool SetNodataHandling(bool enable, double nodata);

    bool IsEmpty() const { return m_Compiled == nullptr; }

private:
    std::unique_ptr<CCompiledExpression> m_Compiled;
    bool m_NodataEnabled = false;
    double m_Nodata = 0.0;
};

} // namespace tzexpr
