#pragma once
// VoGeomSrc: the source that holds a scene graph the host has read from a
// file and puts it into the scene, drawn as it is or forced to a draw style.
// Geometry in real-world coordinates may be moved along with the scene
// transform, so that it lands where the data are.
#include "core/graphics/InvSmartPtr.h"
#include "core/network/VoModule.h"
#include "shr/GString.h"

class SoNode;

namespace core {

class VoGeomSrc : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoGeomSrc)
public:
    static const VbModuleInfo s_ModuleInfo;

    // Property ids.
    enum : int { IdGeneral = 1, IdFileName = 2, IdDrawStyle = 3, IdGeometry = 4, IdLimits = 5 };
    // The draw style row: as the file gave it, or forced.
    enum DrawStyle : unsigned int { AsIs = 0, Shaded = 1, Lines = 2, Points = 3, DrawStyleCount = 4 };

    // An empty source, for the registry and for documents being loaded.
    VoGeomSrc();
    VoGeomSrc(bool moveWithTransform, InvSmartPtr<SoNode> geometry, const char* fileName);

    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }

    // Base, SyncCheck, from document version 107 the file name, the draw
    // style, then the geometry as a length-prefixed binary block (length 0 for
    // none), read with references relative to the archive's file.
    void Serialize(shr::Archive& archive) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;

    void SetFilename(const shr::GString& fileName) { m_FileName = fileName; }
    const shr::GString& FileName() const { return m_FileName; }
    InvSmartPtr<SoNode> GetGeom() const { return m_Geometry; }
    // Replaces the geometry and marks the module modified.
    void SetGeom(InvSmartPtr<SoNode> geometry);
    unsigned int GetDrawStyle() const { return m_DrawStyle; }
    bool MovesWithTransform() const { return m_MoveWithTransform; }

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    void AddDrawStyle(VgRenderer& renderer) const;
    void TransferGeometry(shr::Archive& archive, InvSmartPtr<SoNode>& geometry) const;

    shr::GString m_FileName;
    InvSmartPtr<SoNode> m_Geometry;
    unsigned int m_DrawStyle = AsIs;
    bool m_MoveWithTransform = false;
};

} // namespace core
