#pragma once
// ExpressionLattice: what the function lattice and lattice math share: the
// output lattice's type, component count, one expression per component, and
// the lattice geometry, with their property rows, validation, parsing and
// persistence. Each module embeds one and passes its key prefix.
//
// Row ids: 1 header, 2 output type, 3 output components, 10 + c the expression
// of component c (0-based), then the geometry rows of LatticeGeometry ("Calculate
// from input" for lattice math only).
#include "core/processing/LatticeGeometry.h"
#include "shr/GString.h"
#include "shr/PrimType.h"

#include <memory>
#include <vector>

namespace shr {
class Archive;
}
namespace tzexpr {
class CExpression;
}

namespace core {

class VbModuleId;
class VbPropList;
class VdVertexData;
class VdUniformLattice;

class ExpressionLattice : public LatticeGeometry {
public:
    enum RowId {
        HeaderId = 1,
        OutTypeId = 2,
        OutCompsId = 3,
        ExprFirstId = 10,
    };
    static constexpr unsigned int MaxComponents = 20;

    // Called with a parse failure's code, message and symbol; it must throw.
    using ParseErrorHandler = void (*)(int code, const shr::GString& message, const shr::GString& symbol);

    // Component 1 starts with `defaultExpression`, the others empty.
    explicit ExpressionLattice(const char* defaultExpression);

    // Registers the public keys prefix + "OutType", "OutComps", "ExprComp1".."ExprComp20",
    // the limit and resolution keys, and with `withAuto` prefix + "Auto". The
    // prefix must outlive the process (a literal).
    static void RegisterKeys(const char* prefix, bool withAuto);

    // With `withAuto`, the limits are editable only while auto is off.
    void AddRows(const VbModuleId& module, VbPropList& list, const shr::GString& title, const char* prefix,
                 bool withAuto) const;
    // Reads a changed row; false for an id that is not one of these rows.
    bool PropertyEvent(VbPropList& list, int id);

    // Each component's text trimmed, "W = " in front, parsed; an empty text
    // leaves its expression empty. A failure goes to `onError`.
    std::vector<tzexpr::CExpression> Parse(const shr::GString& declarations, ParseErrorHandler onError) const;
    // A fresh lattice of the chosen type, size, components and limits.
    std::unique_ptr<VdUniformLattice> MakeLattice() const;

    // SyncCheck; type, components (4 bytes each); expression count (4) and the
    // texts; the limits box; the node counts (4 bytes each); auto (1 byte).
    // A bad archive leaves the settings as they were.
    void Serialize(shr::Archive& archive);

    shr::PrimType outType = shr::Float;
    unsigned int outComps = 1;
    std::vector<shr::GString> expressions;

private:
    void TransferFields(shr::Archive& archive);
    void CheckLoaded(const shr::Archive& archive) const;
};

// The parse message without the assignment ("W = " by default) that the
// modules put in front of the user's text.
shr::GString StripAssignment(const shr::GString& message, const char* assignment = "W = ");

// Writes `value` into element (vertex, component), converted to the array's type.
void StoreElement(VdVertexData& data, unsigned int vertex, unsigned int component, double value);

// Element (vertex, component) as a double.
double ReadElement(const void* element, shr::PrimType type);

} // namespace core
