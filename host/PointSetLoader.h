#pragma once
// PointSetLoader: joins the point-file reader to the point-set source module:
// makes a source from a file, and reads a file again into an existing one.
#include "shr/GString.h"

#include <memory>

namespace core {
class VoModule;
}

namespace host {

class PointSetLoader {
public:
    // The registry type of the point-set source.
    static const char* const TypeName;

    static bool IsPointSet(const core::VoModule& module);
    // A point-set source holding the points of `path`; `displayName` names
    // the file in errors.
    static std::unique_ptr<core::VoModule> Create(const shr::GString& path, const shr::GString& displayName);
    // Replaces the points of a point-set source by those of `path`.
    static void Reload(core::VoModule& module, const shr::GString& path);
};

} // namespace host
