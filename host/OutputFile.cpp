#include "host/OutputFile.h"

#include "host/HostError.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace host {

OutputFile::OutputFile(std::string path, std::string what)
    : m_Path(std::move(path)), m_What(std::move(what)), m_Temporary(m_Path + ".part")
{
    const size_t slash = m_Path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : m_Path.substr(0, slash);
    struct stat info {};
    if (stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
        HOST_USER_ERROR("%s: %s: the folder \"%s\" does not exist", m_Path.c_str(), m_What.c_str(), folder.c_str());
    if (access(folder.c_str(), W_OK) != 0)
        HOST_USER_ERROR("%s: %s: the folder \"%s\" takes no new files", m_Path.c_str(), m_What.c_str(),
                        folder.c_str());
    if (stat(m_Path.c_str(), &info) == 0 && S_ISDIR(info.st_mode))
        HOST_USER_ERROR("%s: %s: a folder, not a file", m_Path.c_str(), m_What.c_str());
}

OutputFile::~OutputFile()
{
    if (!m_Committed)
        std::remove(m_Temporary.c_str());
}

void OutputFile::Commit()
{
    if (std::rename(m_Temporary.c_str(), m_Path.c_str()) != 0)
        HOST_SYSTEM_ERROR("%s: cannot write the %s: %s", m_Path.c_str(), m_What.c_str(), std::strerror(errno));
    m_Committed = true;
}

} // namespace host
