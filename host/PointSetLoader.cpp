#include "host/PointSetLoader.h"

#include "core/network/VbModuleInfo.h"
#include "core/network/VoModule.h"
#include "host/HostError.h"
#include "host/PointFileReader.h"

#include "core/processing/VoPointsSrc.h"

namespace host {

const char* const PointSetLoader::TypeName = "PointSet";

bool PointSetLoader::IsPointSet(const core::VoModule& module)
{
    return module.GetModuleInfo()->UiName() == TypeName;
}

std::unique_ptr<core::VoModule> PointSetLoader::Create(const shr::GString& path, const shr::GString& displayName,
                                                       const PointFileOptions& options, PointFileReading* reading)
{
    PointFile file = PointFileReader::Read(path, displayName, options);
    if (reading)
        *reading = static_cast<const PointFileReading&>(file);
    return std::make_unique<core::VoPointsSrc>(file.points.release(), path.c_str());
}

void PointSetLoader::Reload(core::VoModule& module, const shr::GString& path)
{
    auto* source = dynamic_cast<core::VoPointsSrc*>(&module);
    if (!source)
        HOST_USER_ERROR("module \"%s\" does not hold points read from a file", module.Name().c_str());
    PointFile file = PointFileReader::Read(path);
    source->SetPoints(file.points.release());
}

} // namespace host
