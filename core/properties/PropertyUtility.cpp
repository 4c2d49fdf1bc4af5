#include "core/properties/PropertyUtility.h"

#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyRegistry.h"
#include "shr/StringUtil.h"
#include "shr/Vec2.h"
#include "shr/Vec3.h"

#include <limits>

namespace core {

shr::GString PropertyUtility::CommentText(const shr::Vec3d& value)
{
    return shr::ToString("(%.10g, %.10g, %.10g)", value.x, value.y, value.z);
}

shr::GString PropertyUtility::CommentText(double min, double max)
{
    if (max >= min)
        return shr::ToString("(%.10g, %.10g)", min, max);
    return "Not available";
}

shr::GString PropertyUtility::CommentText(const shr::Vec2d& range)
{
    return CommentText(range.x, range.y);
}

shr::GString PropertyUtility::CommentText(const std::tuple<unsigned, unsigned, unsigned>& nodes)
{
    return shr::ToString("(%u x %u x %u)", std::get<0>(nodes), std::get<1>(nodes), std::get<2>(nodes));
}

shr::GString PropertyUtility::FormatPositiveValue(double value)
{
    if (value < std::numeric_limits<double>::epsilon())
        value = 0.0;
    return shr::ToString("%.10g", value);
}

void PropertyUtility::UpdateComment(int id, VbPropList& list, const shr::Vec3d& value)
{
    list.SetHeaderComment(id, CommentText(value));
}

void PropertyUtility::UpdateComment(int id, VbPropList& list, double min, double max)
{
    list.SetHeaderComment(id, CommentText(min, max));
}

void PropertyUtility::UpdateComment(int id, VbPropList& list, const shr::Vec2d& range)
{
    list.SetHeaderComment(id, CommentText(range));
}

void PropertyUtility::UpdateComment(int id, VbPropList& list, const std::tuple<unsigned, unsigned, unsigned>& nodes)
{
    list.SetHeaderComment(id, CommentText(nodes));
}

void PropertyUtility::AddLimitBlock(const VbModuleId& module, int id, const shr::GString& prefix, VbPropList& list,
                                    char axis, double min, double max, bool enable)
{
    const std::string name(1, axis);
    const bool valid = max >= min;
    list.AddHeader(module, id, name + " Limits", "", "", "The coordinate limits on the " + name + "-axis");
    UpdateComment(id, list, min, max);
    list.Expand(id, false);
    list.Indent();
    list.AddDouble(module, prefix + name + "Min", id + 1, (name + " min").c_str(),
                   ("The minimum " + name + " coordinate.").c_str(), valid ? min : 0.0, ValCheckNone, 0.0, 0.0, 0.0);
    list.Enabled(id + 1, valid && enable);
    list.AddDouble(module, prefix + name + "Max", id + 2, (name + " max").c_str(),
                   ("The maximum " + name + " coordinate.").c_str(), valid ? max : 0.0, ValCheckNone, 0.0, 0.0, 0.0);
    list.Enabled(id + 2, valid && enable);
    list.Outdent();
}

void PropertyUtility::UpdateLimits(const VbModuleId& module, int id, const shr::GString& prefix, VbPropList& list,
                                   const std::tuple<double, double, double>& min,
                                   const std::tuple<double, double, double>& max, bool enable)
{
    AddLimitBlock(module, id, prefix, list, 'X', std::get<0>(min), std::get<0>(max), enable);
    AddLimitBlock(module, id + 3, prefix, list, 'Y', std::get<1>(min), std::get<1>(max), enable);
    AddLimitBlock(module, id + 6, prefix, list, 'Z', std::get<2>(min), std::get<2>(max), enable);
}

void PropertyUtility::RegisterLimitKeys(const char* prefix, int id)
{
    const char axes[] = {'X', 'Y', 'Z'};
    for (int axis = 0; axis < 3; ++axis) {
        const shr::GString name = shr::GString(prefix) + axes[axis];
        const int header = id + 3 * axis;
        VbPropertyRegistry::Instance().Set(name + "Min", static_cast<unsigned short>(header + 1),
                                           VbDoublePropertyConverter::Key());
        VbPropertyRegistry::Instance().Set(name + "Max", static_cast<unsigned short>(header + 2),
                                           VbDoublePropertyConverter::Key());
    }
}

void PropertyUtility::UpdateResolution(const VbModuleId& module, int id, const shr::GString& prefix,
                                       VbPropList& list, const std::tuple<unsigned, unsigned, unsigned>& nodes,
                                       bool enable)
{
    list.AddHeader(module, id, "Resolution", "", "", "The number of nodes in the output lattice.");
    UpdateComment(id, list, nodes);
    list.Expand(id, false);
    list.Indent();
    const unsigned counts[] = {std::get<0>(nodes), std::get<1>(nodes), std::get<2>(nodes)};
    const char axes[] = {'X', 'Y', 'Z'};
    for (int i = 0; i < 3; ++i) {
        const std::string upper(1, axes[i]);
        const std::string label = std::string("N") + char(axes[i] - 'A' + 'a');
        const std::string help = "The number of nodes on the " + upper + "-axis.";
        list.AddUnsigned(module, prefix + upper + "Num", id + 1 + i, label.c_str(), help.c_str(), counts[i],
                         ValCheckMinMax, 1, 10000, 1);
        list.Enabled(id + 1 + i, enable);
    }
    list.Outdent();
}

} // namespace core
