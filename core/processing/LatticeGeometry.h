#pragma once
// LatticeGeometry: the box and node counts of a uniform lattice that a module
// makes, with the "Geometry" group of property rows that edits them and the
// optional "Calculate from input" row. The function lattice, lattice math,
// the resampler and the merger embed one and pass their key prefix.
//
// Row ids: 40 the "Geometry" header, 41 "Calculate from input", 50-58 the
// limit blocks, 60-63 the resolution.
#include "shr/Box3d.h"
#include "shr/PrimType.h"

#include <memory>

namespace shr {
class Archive;
}

namespace core {

class VbModuleId;
class VbPropList;
class VdUniformLattice;

class LatticeGeometry {
public:
    enum RowId {
        GeometryId = 40,
        AutoId = 41,
        LimitsId = 50,
        ResolutionId = 60,
    };
    static constexpr unsigned int MaxNodes = 10000;

    // Which rows the "Calculate from input" check takes over while it is on.
    enum AutoScope {
        NoAuto,                  // no such row
        AutoLimits,              // the limits follow the input
        AutoLimitsAndResolution, // the limits and the node counts follow the input
    };

    // Registers prefix + "XMin" ... "ZMax", "XNum" ... "ZNum", and with
    // `withAuto` prefix + "Auto". The prefix must outlive the process (a literal).
    static void RegisterKeys(const char* prefix, bool withAuto);

    // The "Geometry" header and its rows; `autoHelp` is the help of the auto row.
    void AddRows(const VbModuleId& module, VbPropList& list, const char* prefix, AutoScope scope,
                 const char* autoHelp) const;
    // Reads a changed row; false for an id that is not one of these rows.
    bool PropertyEvent(VbPropList& list, int id);

    // Messages 3 and 4 of the core table, in the order X, Y, Z, then i, j, k.
    void Validate() const;
    // A fresh zero-filled lattice of this size over the limits; message 46
    // when memory runs out.
    std::unique_ptr<VdUniformLattice> MakeLattice(shr::PrimType type, unsigned int componentCount) const;

    // Stored forms of the parts, for modules whose own form interleaves them
    // with other fields: the six limits, 8 bytes each, in the order X min,
    // X max, Y min, Y max, Z min, Z max; the node counts X, Y, Z, 4 bytes each.
    void TransferLimits(shr::Archive& archive);
    void TransferNodes(shr::Archive& archive);
    // Node counts outside 1..MaxNodes, which no row accepts, are a format error.
    void CheckLoadedNodes(const shr::Archive& archive) const;

    shr::Box3d limits{0.0, 0.0, 0.0, 1.0, 1.0, 1.0};
    unsigned int nodes[3] = {30, 30, 30};
    bool autoLimits = true;
};

} // namespace core
