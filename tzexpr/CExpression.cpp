#include "tzexpr/CExpression.h"

#include "tzexpr/CCompiledExpression.h"
#include "tzexpr/ErrorCodes.h"
#include "tzexpr/ParseFailure.h"

#include "shr/StringUtil.h"

#include <cmath>

namespace tzexpr {

namespace {

// Reports an evaluation failure through the optional outputs; returns false.
bool Fail(int code, const char* text, int* errorCode, shr::GString* message)
{
    if (errorCode)
        *errorCode = code;
    if (message)
        *message = text;
    return false;
}

} // namespace

CExpression::CExpression() = default;

CExpression::CExpression(const CExpression& other)
    : m_Compiled(other.m_Compiled ? std::make_unique<CCompiledExpression>(*other.m_Compiled) : nullptr),
      m_NodataEnabled(other.m_NodataEnabled), m_Nodata(other.m_Nodata)
{
}

CExpression& CExpression::operator=(const CExpression& other)
{
    if (this != &other) {
        CExpression copy(other);
        m_Compiled = std::move(copy.m_Compiled);
        m_NodataEnabled = copy.m_NodataEnabled;
        m_Nodata = copy.m_Nodata;
    }
    return *this;
}

CExpression::~CExpression() = default;

bool CExpression::Parse(const shr::GString& text, const shr::GString& declarations, int* errorCode,
                        shr::GString* message, shr::GString* symbol)
{
    try {
        m_Compiled = std::make_unique<CCompiledExpression>(text, declarations);
        return true;
    } catch (const SParseFailure& failure) {
        if (errorCode)
            *errorCode = failure.code;
        if (message)
            *message = failure.message;
        if (symbol)
            *symbol = failure.symbol;
        return false;
    }
}

bool CExpression::Evaluate(void const** inputs, void* result, int* errorCode, shr::GString* message) const
{
    if (!m_Compiled)
        return Fail(kErrNotParsed, "No expression has been parsed.", errorCode, message);
    if (!result)
        return Fail(kErrMissingPointer, "No place for the result was given.", errorCode, message);
    double value = 0;
    switch (m_Compiled->Program().Run(inputs, m_NodataEnabled, m_Nodata, value)) {
    case ERunStatus::MissingInput:
        return Fail(kErrMissingPointer, "An input the expression reads was not given.", errorCode, message);
    case ERunStatus::Nodata:
        value = m_Nodata;
        break;
    case ERunStatus::Ok:
        if (!std::isfinite(value))
            return Fail(kErrNotFinite, "The result is not a finite number.", errorCode, message);
        break;
    }
    if (!StoreValue(m_Compiled->ResultType(), value, result))
        return Fail(kErrOutOfRange, "The result does not fit the type of the assigned variable.", errorCode,
                    message);
    return true;
}

bool CExpression::SetNodataHandling(bool enable, double nodata)
{
    if (enable && std::isnan(nodata))
        return false;
    m_NodataEnabled = enable;
    m_Nodata = nodata;
    return true;
}

} // namespace tzexpr
