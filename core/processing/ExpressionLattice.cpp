#include "core/processing/ExpressionLattice.h"

#include "core/data/PrimConvert.h"
#include "core/data/VdUniformLattice.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/StringUtil.h"
#include "tzexpr/CExpression.h"

#include <cstring>

namespace core {

namespace {

const char* const kExpressionHelp =
    "A numeric expression of the form X + Y + Z.  Predefined variables include X, Y, Z, I, J, and K.";

void Register(const char* prefix, const char* suffix, unsigned short id, unsigned char converter)
{
    VbPropertyRegistry::Instance().Set(shr::GString(prefix) + suffix, id, converter);
}

} // namespace

ExpressionLattice::ExpressionLattice(const char* defaultExpression) : expressions(MaxComponents)
{
    expressions[0] = defaultExpression;
}

void ExpressionLattice::RegisterKeys(const char* prefix, bool withAuto)
{
    const unsigned char unsignedKey = VbUnsignedPropertyConverter::Key();
    Register(prefix, "OutType", OutTypeId, unsignedKey);
    Register(prefix, "OutComps", OutCompsId, unsignedKey);
    for (unsigned int c = 0; c < MaxComponents; ++c)
        Register(prefix, shr::ToString("ExprComp%u", c + 1).c_str(), static_cast<unsigned short>(ExprFirstId + c),
                 VbStringPropertyConverter::Key());
    LatticeGeometry::RegisterKeys(prefix, withAuto);
}

void ExpressionLattice::AddRows(const VbModuleId& module, VbPropList& list, const shr::GString& title,
                                const char* prefix, bool withAuto) const
{
    const shr::GString key(prefix);
    list.AddHeader(module, HeaderId, title, "General", "", "");
    list.Indent();
    list.AddCombo(module, key + "OutType", OutTypeId, "Output type", "The type of values stored in the output lattice.",
                  static_cast<unsigned int>(outType), shr::PrimTypeCount,
                  const_cast<const char**>(shr::CPrimType::TypeName), 0);
    list.AddUnsigned(module, key + "OutComps", OutCompsId, "Output components",
                     "The number of components in the output lattice.", outComps, ValCheckMinMax, 1, MaxComponents,
                     1);
    for (unsigned int c = 0; c < MaxComponents; ++c) {
        const int id = ExprFirstId + static_cast<int>(c);
        if (c >= outComps) {
            if (list.IsProp(id))
                list.Remove(id);
            continue;
        }
        list.AddEdit(module, key + shr::ToString("ExprComp%u", c + 1), id,
                     shr::ToString("Expression [%u]", c + 1).c_str(), kExpressionHelp, expressions[c]);
    }
    list.Outdent();
    LatticeGeometry::AddRows(module, list, prefix, withAuto ? AutoLimits : NoAuto,
                             "Uses the union of the input lattice extents.");
}

bool ExpressionLattice::PropertyEvent(VbPropList& list, int id)
{
    if (id == OutTypeId) {
        unsigned int type = 0;
        list.GetValue(id, type);
        if (!shr::CPrimType::IsValid(static_cast<int>(type)))
            shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid data type.");
        outType = static_cast<shr::PrimType>(type);
    } else if (id == OutCompsId) {
        unsigned int count = 0;
        list.GetValue(id, count);
        if (count < 1 || count > MaxComponents)
            shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "The number of components must be from 1 to %u.",
                                  MaxComponents);
        outComps = count;
    } else if (id >= ExprFirstId && id < ExprFirstId + static_cast<int>(MaxComponents)) {
        list.GetValue(id, expressions[static_cast<size_t>(id - ExprFirstId)]);
    } else {
        return LatticeGeometry::PropertyEvent(list, id);
    }
    return true;
}

std::vector<tzexpr::CExpression> ExpressionLattice::Parse(const shr::GString& declarations,
                                                          ParseErrorHandler onError) const
{
    std::vector<tzexpr::CExpression> parsed(outComps);
    for (unsigned int c = 0; c < outComps; ++c) {
        shr::GString text = expressions[c];
        shr::Trim(text);
        if (text.empty())
            continue;
        int code = 0;
        shr::GString message;
        shr::GString symbol;
        if (!parsed[c].Parse("W = " + text, declarations, &code, &message, &symbol))
            onError(code, message, symbol);
    }
    return parsed;
}

std::unique_ptr<VdUniformLattice> ExpressionLattice::MakeLattice() const
{
    return LatticeGeometry::MakeLattice(outType, outComps);
}

void ExpressionLattice::Serialize(shr::Archive& archive)
{
    archive.SyncCheck();
    if (archive.IsStoring()) {
        TransferFields(archive);
        return;
    }
    ExpressionLattice loaded("");
    loaded.TransferFields(archive);
    loaded.CheckLoaded(archive);
    *this = std::move(loaded);
}

void ExpressionLattice::TransferFields(shr::Archive& archive)
{
    int32_t type = outType;
    archive.Transfer(type);
    outType = static_cast<shr::PrimType>(type);
    archive.Transfer(outComps);
    uint32_t count = static_cast<uint32_t>(expressions.size());
    archive.Transfer(count);
    if (archive.IsLoading()) {
        if (count > MaxComponents)
            archive.ThrowFormatError("%u expressions where at most %u are allowed", count, MaxComponents);
        expressions.assign(MaxComponents, shr::GString());
    }
    for (uint32_t c = 0; c < count; ++c)
        archive.Transfer(expressions[c]);
    archive.Transfer(limits);
    for (unsigned int& n : nodes)
        archive.Transfer(n);
    archive.Transfer(autoLimits);
}

void ExpressionLattice::CheckLoaded(const shr::Archive& archive) const
{
    if (!shr::CPrimType::IsValid(outType))
        archive.ThrowFormatError("invalid output type %d", static_cast<int>(outType));
    if (outComps < 1 || outComps > MaxComponents)
        archive.ThrowFormatError("invalid output component count %u", outComps);
}

shr::GString StripAssignment(const shr::GString& message, const char* assignment)
{
    shr::GString text = message;
    const size_t at = text.find(assignment);
    if (at != shr::GString::npos)
        text.erase(at, std::strlen(assignment));
    return text;
}

void StoreElement(VdVertexData& data, unsigned int vertex, unsigned int component, double value)
{
    const uint64_t index = uint64_t(vertex) * data.ComponentCount() + component;
    void* element = static_cast<unsigned char*>(data.DataWritePtr()) + index * data.DataComponentSize();
    DispatchPrimType(data.DataType(), [&](auto tag) {
        using T = typename decltype(tag)::Type;
        *static_cast<T*>(element) = PrimConvert<T>(value);
    });
}

double ReadElement(const void* element, shr::PrimType type)
{
    return DispatchPrimType(type, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        return PrimConvert<double>(*static_cast<const T*>(element));
    });
}

} // namespace core
