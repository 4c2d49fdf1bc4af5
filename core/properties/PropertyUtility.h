#pragma once
// PropertyUtility: the recurring pieces of property rows that several modules
// share: range comments on headers, the X/Y/Z limit blocks and the lattice
// resolution block.
#include "shr/GString.h"

#include <tuple>

namespace shr {
struct Vec2d;
struct Vec3d;
} // namespace shr

namespace core {

class VbModuleId;
class VbPropList;

class PropertyUtility {
public:
    PropertyUtility() = delete;

    // Header comments: "(x, y, z)"; "(min, max)", or "Not available" unless
    // max >= min (so also for a NaN limit); the same with a Vec2d as (min, max);
    // "(nx x ny x nz)" for a resolution.
    static shr::GString CommentText(const shr::Vec3d& value);
    static shr::GString CommentText(double min, double max);
    static shr::GString CommentText(const shr::Vec2d& range);
    static shr::GString CommentText(const std::tuple<unsigned, unsigned, unsigned>& nodes);

    // "%.10g", with values below the double epsilon (and so every negative
    // value) shown as 0.
    static shr::GString FormatPositiveValue(double value);

    // Write the texts above into the comment of header `id`.
    static void UpdateComment(int id, VbPropList& list, const shr::Vec3d& value);
    static void UpdateComment(int id, VbPropList& list, double min, double max);
    static void UpdateComment(int id, VbPropList& list, const shr::Vec2d& range);
    static void UpdateComment(int id, VbPropList& list, const std::tuple<unsigned, unsigned, unsigned>& nodes);

    // Three closed headers "X Limits", "Y Limits", "Z Limits" at id, id + 3 and
    // id + 6, each with its min and max rows (keys prefix + "XMin", "XMax", ...)
    // below it. An axis with max < min (or a NaN limit) shows 0 in both rows,
    // disabled; a valid axis shows its limits, enabled as `enable` says.
    static void UpdateLimits(const VbModuleId& module, int id, const shr::GString& prefix, VbPropList& list,
                             const std::tuple<double, double, double>& min,
                             const std::tuple<double, double, double>& max, bool enable);
    // A closed header "Resolution" at id with the node counts (keys prefix +
    // "XNum", "YNum", "ZNum") at id + 1 to id + 3, each limited to 1..10000.
    static void UpdateResolution(const VbModuleId& module, int id, const shr::GString& prefix, VbPropList& list,
                                 const std::tuple<unsigned, unsigned, unsigned>& nodes, bool enable);
    // Registers the public keys of a limits block that UpdateLimits lays out
    // at `id`: prefix + "XMin" at id + 1, "XMax" at id + 2, "YMin" at id + 4
    // and so on. The prefix must outlive the process (a literal).
    static void RegisterLimitKeys(const char* prefix, int id);
    struct LimitKeyRegistrar {
        LimitKeyRegistrar(const char* prefix, int id) { RegisterLimitKeys(prefix, id); }
    };

private:
    static void AddLimitBlock(const VbModuleId& module, int id, const shr::GString& prefix, VbPropList& list,
                              char axis, double min, double max, bool enable);
};

} // namespace core
