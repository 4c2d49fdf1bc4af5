#include "shr/LocateFile.h"

#include "shr/StringUtil.h"

#include <cstdlib>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

#ifndef FENRAK_SOURCE_DATA_DIR
#define FENRAK_SOURCE_DATA_DIR ""
#endif

namespace shr {

namespace {

struct HostFolders {
    std::mutex mutex;
    std::vector<GString> folders;
};

HostFolders& Registered()
{
    static HostFolders folders;
    return folders;
}

bool IsRegularFile(const std::string& path)
{
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

GString ExecutableFolder()
{
    char buffer[4096];
    const ssize_t length = ::readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (length <= 0)
        return GString();
    std::string path(buffer, static_cast<size_t>(length));
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? GString() : GString(path.substr(0, slash));
}

GString Join(const GString& folder, const GString& name)
{
    if (folder.empty() || folder.back() == '/')
        return folder + name;
    return folder + "/" + name;
}

} // namespace

void AddDataFolder(const GString& folder)
{
    HostFolders& host = Registered();
    std::lock_guard<std::mutex> lock(host.mutex);
    host.folders.push_back(folder);
}

void ClearDataFolders()
{
    HostFolders& host = Registered();
    std::lock_guard<std::mutex> lock(host.mutex);
    host.folders.clear();
}

std::vector<GString> DataSearchFolders()
{
    std::vector<GString> folders;
    if (const char* env = std::getenv("FENRAK_DATA")) {
        std::vector<std::string> pieces;
        BreakIntoSubstrings(env, pieces, ":");
        folders.assign(pieces.begin(), pieces.end());
    }
    {
        HostFolders& host = Registered();
        std::lock_guard<std::mutex> lock(host.mutex);
        folders.insert(folders.end(), host.folders.begin(), host.folders.end());
    }
    const GString exeFolder = ExecutableFolder();
    if (!exeFolder.empty())
        folders.push_back(exeFolder + "/../share/fenrak");
    if (*FENRAK_SOURCE_DATA_DIR)
        folders.push_back(FENRAK_SOURCE_DATA_DIR);
    return folders;
}

GString LocateFile(const GString& name)
{
    if (name.empty())
        return GString();
    if (IsRegularFile(name))
        return name;
    if (name[0] == '/')
        return GString();
    for (const GString& folder : DataSearchFolders()) {
        const GString candidate = Join(folder, name);
        if (IsRegularFile(candidate))
            return candidate;
    }
    return GString();
}

} // namespace shr
