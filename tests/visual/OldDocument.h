#pragma once
// Stored forms as documents before version 113 wrote them, for the version
// gates of the visual modules.
#include "shr/Archive.h"

#include <cstdint>
#include <string>

namespace visualtest {

// VoModule's part of such a document for a module without links: no port
// counts, one empty link list per port.
inline void WriteOldModulePart(shr::Archive& archive, const std::string& name, int ports)
{
    archive.SyncCheck();
    int32_t status = 1;
    std::string text = name;
    bool show = true, filter = true;
    archive.Transfer(status);
    archive.Transfer(text);
    archive.Transfer(show);
    archive.Transfer(filter);
    for (int p = 0; p < ports; ++p) {
        uint32_t links = 0;
        archive.Transfer(links);
    }
}

} // namespace visualtest
