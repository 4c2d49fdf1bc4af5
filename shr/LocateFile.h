#pragma once
// LocateFile: finds a data file shipped with the library, such as "ColorMap.ini".
//
// An absolute path, or a relative one that exists from the working folder, is
// taken as it is. Otherwise the name is looked for, in this order, in:
//   1. the folders of the FENRAK_DATA environment variable (':'-separated);
//   2. the folders a host registered with AddDataFolder, in registration order;
//   3. the executable's ../share/fenrak;
//   4. the source tree's data/ (for programs run from a build folder).
// The result is the path found, or the empty string.
#include "shr/GString.h"

#include <vector>

namespace shr {

GString LocateFile(const GString& name);

// Folders a host adds to the search. Safe to call from any thread.
void AddDataFolder(const GString& folder);
void ClearDataFolders();
// The folders searched for relative names, in search order.
std::vector<GString> DataSearchFolders();

} // namespace shr
