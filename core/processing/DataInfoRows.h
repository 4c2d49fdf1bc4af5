#pragma once
// DataInfoRows: the property rows that the source modules and the info
// module share to describe a data object: the component block, the limit
// block of a box, the spacing text, and the worksheet action.
#include "shr/Box3d.h"
#include "shr/GString.h"

#include <tuple>

namespace core {

class VbModuleId;
class VbPropList;
class VdData;
class VdLattice;
class VdVertexData;
class VoModule;

class DataInfoRows {
public:
    DataInfoRows() = delete;

    // Rows for at most this many components follow the block's first ids.
    static constexpr unsigned int MaxComponentRows = 100;

    // A header "Components" at `id`; "Component type" at id + 1; "Number of
    // components" at id + 2; "Component %u limits" from id + 3 on. With
    // `noDataText`, a component without values reads "No data".
    static void AddComponents(const VbModuleId& module, VbPropList& list, int id, const VdVertexData& data,
                              bool noDataText);
    // PropertyUtility::UpdateLimits over the box's corners.
    static void AddLimits(const VbModuleId& module, VbPropList& list, int id, const shr::GString& prefix,
                          const shr::Box3d& box, bool enable);
    static std::tuple<double, double, double> MinCorner(const shr::Box3d& box);
    static std::tuple<double, double, double> MaxCorner(const shr::Box3d& box);

    // "(%.10g x %.10g x %.10g)"
    static shr::GString SpacingText(const shr::Vec3d& spacing);
    // The node distance per axis of a lattice spread over `box`: extent /
    // (nodes - 1), 0 on an axis of fewer than two nodes.
    static shr::Vec3d Spacing(const VdLattice& lattice, const shr::Box3d& box);

    // The worksheet: a reference for the host (the host releases it) and a
    // request to show the data under the module's name. Nothing for no data.
    static void ShowDataView(const VoModule& module, const VdData* data);
};

} // namespace core
