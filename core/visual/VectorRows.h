#pragma once
// VectorRows: a vector shown as a header whose comment reads "(x, y, z)",
// over one number row per component. The rows' keys are prefix + "X" +
// suffix and so on ("LightXDirection"), their ids three in a row.
#include "shr/GString.h"
#include "shr/Vec3.h"

namespace core {

class VbModuleId;
class VbPropList;

struct VectorRows {
    const char* prefix;
    const char* suffix;
    int header; // the header's id
    int first;  // the X row's id; Y and Z follow

    // Registers the three keys with the double converter.
    void RegisterKeys() const;
    // For a module's static initialisers:
    //   static const core::VectorRows::KeyRegistrar s_PositionKeys(kPositionRows);
    struct KeyRegistrar {
        explicit KeyRegistrar(const VectorRows& rows) { rows.RegisterKeys(); }
    };
    // Adds the header and its three rows, limited to lo..hi when lo < hi.
    void Add(const VbModuleId& module, VbPropList& list, const char* label, const char* help,
             const shr::Vec3d& value, double lo = 0.0, double hi = 0.0) const;
    // The three rows alone, for a header that holds other rows too.
    void AddRows(const VbModuleId& module, VbPropList& list, const char* help, const shr::Vec3d& value,
                 double lo = 0.0, double hi = 0.0) const;
    bool Contains(int id) const { return id >= first && id < first + 3; }
    // Takes the component of row `id` into `value` (a row not finite is
    // refused; with limits it is clamped) and shows it back; the header's
    // comment follows. False, nothing read, for another row.
    bool Read(VbPropList& list, int id, shr::Vec3d& value, double lo = 0.0, double hi = 0.0) const;
    // Writes the vector to the three rows and the comment.
    void Show(VbPropList& list, const shr::Vec3d& value) const;
    // Shows or hides the header and its rows.
    void Visible(VbPropList& list, bool visible) const;
    void Enabled(VbPropList& list, bool enabled) const;

    shr::GString Key(int axis) const;

    // All three components are finite numbers.
    static bool Finite(const shr::Vec3d& value);
};

} // namespace core
