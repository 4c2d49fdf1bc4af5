#pragma once
// PointSetLoader: joins the point-file reader to the point-set source module:
// makes a source from a file, and reads a file again into an existing one.
#include "host/PointFileOptions.h"
#include "shr/GString.h"

#include <memory>
#include <string>

namespace core {
class VoModule;
}

namespace host {

struct PointFileReading;

class PointSetLoader {
public:
    // The registry type of the point-set source.
    static const char* const TypeName;

    static bool IsPointSet(const core::VoModule& module);
    // A point-set source holding the points of `path`, read as `options`
    // say; `displayName` names the file in errors. What the reader took for
    // each axis and value goes to `reading` when given.
    static std::unique_ptr<core::VoModule> Create(const shr::GString& path, const shr::GString& displayName,
                                                  const PointFileOptions& options = PointFileOptions(),
                                                  PointFileReading* reading = nullptr);
    // Replaces the points of a point-set source by those of `path`.
    static void Reload(core::VoModule& module, const shr::GString& path);
};

} // namespace host
