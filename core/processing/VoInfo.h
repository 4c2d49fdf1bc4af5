#pragma once
// VoInfo: the sink that reports on whatever is connected to it: the kind of
// data, their size, components and extent. It only looks at its input, so the
// input's geometry stays in the scene.
#include "core/network/VoModule.h"

namespace core {

class VdData;
class VdGeometry;
class VdLattice;
class VdPoints;
class VdWellData;

class VoInfo : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoInfo)
public:
    static const VbModuleInfo s_ModuleInfo;

    // Property ids; DisplayInfoProps uses the ones from IdPointCount on.
    enum : int {
        IdGeneral = 1000,
        IdInput = 1001,
        IdShowData = 1002,
        IdDatasetType = 1003,
        IdPointCount = 1004,
        IdCoordinateType = 1005,
        IdSpacing = 1006,
        IdGeometry = 1007,
        IdLimits = 1008,
        IdComponents = 1021,
        IdGeometryPoints = 1124,
        IdGeometryLines = 1125,
        IdGeometryTriangles = 1126,
        IdGeometryTexts = 1127,
        IdGeometryImages = 1128,
        IdWells = 1129,
        IdWellCount = 1130,
        // The rows of each well and log follow from here, numbered in order.
        IdFirstWellRow = 1131,
    };

    VoInfo();

    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }

    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // New data upstream: the host is asked to list the rows again.
    void OnInputChanged(int input, bool recalc) override;

    // The rows that describe `data`, for any module that wants to show them.
    static void DisplayInfoProps(const VoModule& module, VbPropList& list, const VdData& data);

private:
    void UpdatePropertiesImpl(VbPropList& list) override;

    static void AddPointRows(const VoModule& module, VbPropList& list, const VdPoints& points);
    static void AddLatticeRows(const VoModule& module, VbPropList& list, const VdLattice& lattice);
    static void AddGeometryRows(const VoModule& module, VbPropList& list, const VdGeometry& geometry);
    // Header IdGeometry, then the wells block: per well (a header with its
    // name) its top and log count, per log (a header) its MD and data ranges.
    static void AddWellDataRows(const VoModule& module, VbPropList& list, const VdWellData& wells);
};

} // namespace core
