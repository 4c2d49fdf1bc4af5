#include "core/visual/VectorRows.h"

#include "core/network/VbModuleId.h"
#include "core/properties/PropertyUtility.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyRegistry.h"

#include <algorithm>
#include <cmath>

namespace core {

namespace {

const char* const kAxes[3] = {"X", "Y", "Z"};

} // namespace

bool VectorRows::Finite(const shr::Vec3d& value)
{
    return std::isfinite(value.x) && std::isfinite(value.y) && std::isfinite(value.z);
}

shr::GString VectorRows::Key(int axis) const { return shr::GString(prefix) + kAxes[axis] + suffix; }

void VectorRows::RegisterKeys() const
{
    for (int axis = 0; axis < 3; ++axis)
        VbPropertyRegistry::Instance().Set(Key(axis), static_cast<unsigned short>(first + axis),
                                           VbDoublePropertyConverter::Key());
}

void VectorRows::Add(const VbModuleId& module, VbPropList& list, const char* label, const char* help,
                     const shr::Vec3d& value, double lo, double hi) const
{
    list.AddHeader(module, header, label, "", PropertyUtility::CommentText(value), help);
    list.Indent();
    AddRows(module, list, help, value, lo, hi);
    list.Outdent();
}

void VectorRows::AddRows(const VbModuleId& module, VbPropList& list, const char* help, const shr::Vec3d& value,
                         double lo, double hi) const
{
    const ValCheck check = lo < hi ? ValCheckMinMax : ValCheckNone;
    for (int axis = 0; axis < 3; ++axis)
        list.AddDouble(module, Key(axis), first + axis, kAxes[axis], help, value[size_t(axis)], check, lo, hi, 0.1);
}

bool VectorRows::Read(VbPropList& list, int id, shr::Vec3d& value, double lo, double hi) const
{
    if (!Contains(id))
        return false;
    double& component = value[size_t(id - first)];
    double number = component;
    list.GetValue(id, number);
    if (std::isfinite(number))
        component = lo < hi ? std::min(hi, std::max(lo, number)) : number;
    list.SetNum(id, component);
    PropertyUtility::UpdateComment(header, list, value);
    return true;
}

void VectorRows::Show(VbPropList& list, const shr::Vec3d& value) const
{
    for (int axis = 0; axis < 3; ++axis)
        list.SetNum(first + axis, value[size_t(axis)]);
    PropertyUtility::UpdateComment(header, list, value);
}

void VectorRows::Visible(VbPropList& list, bool visible) const
{
    for (int id : {header, first, first + 1, first + 2})
        list.Visible(id, visible);
}

void VectorRows::Enabled(VbPropList& list, bool enabled) const
{
    for (int id : {header, first, first + 1, first + 2})
        list.Enabled(id, enabled);
}

} // namespace core
