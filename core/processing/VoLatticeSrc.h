#pragma once
// VoLatticeSrc: the source that holds a lattice the host has read from a file.
// The user may enter new coordinate limits; an execution scales the lattice
// itself (no copy) so that its UVW bounds become those limits. The data limits
// remember the lattice's own bounds for the "Reset" button.
#include "core/network/VoModule.h"
#include "shr/Box3d.h"
#include "shr/GString.h"
#include "shr/PrimType.h"

namespace core {

class VdLattice;

class VoLatticeSrc : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoLatticeSrc)
public:
    static const VbModuleInfo s_ModuleInfo;

    // Property ids.
    enum : int {
        IdGeneral = 0,
        IdFileName = 1,
        IdDatasetType = 2,
        IdComponents = 3,
        IdComponentType = 4,
        IdComponentCount = 5,
        IdFirstComponentLimits = 6,
        IdGeometry = 106,
        IdLimits = 107,
        IdSpacing = 116,
        IdResetLimits = 117,
        IdResolution = 118,
        IdShowData = 122,
    };

    // An empty source, for the registry and for documents being loaded.
    VoLatticeSrc();
    // Takes a reference on `lattice` (may be null).
    VoLatticeSrc(VdLattice* lattice, const char* fileName);
    // A uniform lattice made from the arguments: `data` holds `components`
    // values per node in node order, or is null for zeros.
    VoLatticeSrc(shr::PrimType type, const unsigned int* dims, const void* data, int components,
                 const char* fileName);

    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }

    // Base, SyncCheck, the lattice, two kept zero bytes, the data and user
    // limits, and from document version 107 the file name.
    void Serialize(shr::Archive& archive) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // A restored "Reset" goes back to the data limits without touching the rows.
    void RestoreProperties(VbPropList& list, const VbPropertyEvent& event) override;
    // Both limit boxes from the lattice's UVW bounds (inverted with no lattice).
    void UpdateLimits() override;

    // The lattice in the output port, or null.
    VdLattice* GetLattice() const;
    // Replaces the port's lattice, takes its limits and marks the module modified.
    void SetLattice(VdLattice* lattice);

    const shr::GString& FileName() const { return m_FileName; }
    const shr::Box3d& DataLimits() const { return m_DataLimits; }
    const shr::Box3d& UserLimits() const { return m_UserLimits; }
    void SetUserLimits(const shr::Box3d& limits) { m_UserLimits = limits; }

    // Moves and stretches `lattice` so that its UVW bounds equal `limits`.
    // Per axis the factor is new extent / old extent, 1.0 for an old extent of
    // 0. Nothing happens when the bounds already match.
    static void ScaleLattice(VdLattice& lattice, const shr::Box3d& limits);

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    // The output's lattice; null for an empty port; a non-lattice is an internal error.
    VdLattice* CheckedLattice() const;
    void ValidateLimits(const VdLattice& lattice) const;
    void AddComponentRows(VbPropList& list, const VdLattice& lattice) const;
    void AddGeometryRows(VbPropList& list, const VdLattice& lattice) const;
    void ResetLimits(VbPropList& list);
    void UpdateLimitComments(VbPropList& list) const;

    shr::GString m_FileName;
    shr::Box3d m_DataLimits;
    shr::Box3d m_UserLimits;
};

} // namespace core
