#include "core/processing/DataInfoRows.h"

#include "core/data/VdLattice.h"
#include "core/data/VdVertexData.h"
#include "core/network/UiProxy.h"
#include "core/network/VoModule.h"
#include "core/properties/PropertyUtility.h"
#include "core/properties/VbPropList.h"
#include "shr/PrimType.h"
#include "shr/StringUtil.h"

#include <algorithm>

namespace core {

void DataInfoRows::AddComponents(const VbModuleId& module, VbPropList& list, int id, const VdVertexData& data,
                                 bool noDataText)
{
    list.AddHeader(module, id, "Components", "Components", "", "");
    list.Indent();
    list.AddStatic(module, id + 1, "Component type",
                   "The type of data storage associated with each component of the data.",
                   shr::CPrimType::TypeName[data.DataType()]);
    list.AddStaticFmt(module, id + 2, "Number of components", "The number of data components per node.", "%u",
                      data.ComponentCount());
    const unsigned int rows = std::min(data.ComponentCount(), MaxComponentRows);
    for (unsigned int c = 0; c < rows; ++c) {
        const std::pair<double, double> range = data.DataMinMax(c);
        const shr::GString label = shr::ToString("Component %u limits", c + 1);
        const shr::GString text = noDataText && !(range.first <= range.second)
                                      ? shr::GString("No data")
                                      : shr::ToString("(%.10g, %.10g)", range.first, range.second);
        list.AddStatic(module, id + 3 + static_cast<int>(c), label.c_str(), "The limits for the data component.",
                       text.c_str());
    }
    list.Outdent();
}

void DataInfoRows::AddLimits(const VbModuleId& module, VbPropList& list, int id, const shr::GString& prefix,
                             const shr::Box3d& box, bool enable)
{
    PropertyUtility::UpdateLimits(module, id, prefix, list, MinCorner(box), MaxCorner(box), enable);
}

std::tuple<double, double, double> DataInfoRows::MinCorner(const shr::Box3d& box)
{
    return std::make_tuple(box.min.x, box.min.y, box.min.z);
}

std::tuple<double, double, double> DataInfoRows::MaxCorner(const shr::Box3d& box)
{
    return std::make_tuple(box.max.x, box.max.y, box.max.z);
}

shr::GString DataInfoRows::SpacingText(const shr::Vec3d& spacing)
{
    return shr::ToString("(%.10g x %.10g x %.10g)", spacing.x, spacing.y, spacing.z);
}

shr::Vec3d DataInfoRows::Spacing(const VdLattice& lattice, const shr::Box3d& box)
{
    shr::Vec3d spacing(0.0, 0.0, 0.0);
    const unsigned int* dims = lattice.GetDims();
    for (int axis = 0; axis < 3; ++axis)
        if (dims[axis] >= 2)
            spacing[axis] = (box.max[axis] - box.min[axis]) / static_cast<double>(dims[axis] - 1);
    return spacing;
}

void DataInfoRows::ShowDataView(const VoModule& module, const VdData* data)
{
    if (!data)
        return;
    data->AddRef();
    UiProxy::Instance()->CreateDataView(data, module.Name());
}

} // namespace core
