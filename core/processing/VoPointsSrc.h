#pragma once
// VoPointsSrc: the source that holds a point set the host has read from a
// file. It computes nothing: an execution leaves the points as they are.
#include "core/network/VoModule.h"
#include "shr/GString.h"
#include "shr/PrimType.h"

namespace core {

class VdPoints;

class VoPointsSrc : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoPointsSrc)
public:
    static const VbModuleInfo s_ModuleInfo;

    // Property ids.
    enum : int { IdGeneral = 1, IdFileName = 2, IdShowData = 3 };

    // An empty source, for the registry and for documents being loaded.
    VoPointsSrc();
    // Takes a reference on `points` (may be null).
    VoPointsSrc(VdPoints* points, const char* fileName);
    // A point set made from the arguments, as VdPoints' own constructor takes them.
    VoPointsSrc(shr::PrimType coordType, shr::PrimType dataType, unsigned int pointCount, const void* coords,
                const void* data, unsigned int componentCount, const shr::GString& fileName);

    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }

    // Base, SyncCheck, from document version 107 the file name, the points.
    void Serialize(shr::Archive& archive) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;

    // The points in the output port, or null.
    VdPoints* GetPoints() const;
    // Replaces the port's points and marks the module modified.
    void SetPoints(VdPoints* points);
    const shr::GString& FileName() const { return m_FileName; }

private:
    void UpdatePropertiesImpl(VbPropList& list) override;

    shr::GString m_FileName;
};

} // namespace core
