#include "host/OutputFiles.h"

#include "host/HostError.h"
#include "shr/Exception.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace host {

namespace {

std::string FolderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// A name in the output's folder, hidden and unique to this process.
std::string TemporaryFor(const std::string& path)
{
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    return folder + "." + name + "." + std::to_string(getpid()) + ".part";
}

void ReplaceAll(std::string& text, const std::string& from, const std::string& to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

} // namespace

OutputFiles::~OutputFiles()
{
    for (const Output& output : m_Outputs) {
        if (!output.temporary.empty())
            std::remove(output.temporary.c_str());
    }
}

void OutputFiles::Add(const std::string& path, const std::string& what)
{
    for (const Output& output : m_Outputs) {
        if (output.path == path)
            HOST_USER_ERROR("%s: named for both the %s and the %s", path.c_str(), output.what.c_str(), what.c_str());
    }
    m_Outputs.push_back(Output{path, what, std::string()});
}

void OutputFiles::Check() const
{
    for (const Output& output : m_Outputs) {
        const std::string folder = FolderOf(output.path);
        struct stat info {};
        if (stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
            HOST_USER_ERROR("%s: cannot write the %s: the folder \"%s\" does not exist", output.path.c_str(),
                            output.what.c_str(), folder.c_str());
        if (access(folder.c_str(), W_OK | X_OK) != 0)
            HOST_USER_ERROR("%s: cannot write the %s: the folder \"%s\" takes no new files", output.path.c_str(),
                            output.what.c_str(), folder.c_str());
        if (stat(output.path.c_str(), &info) == 0 && S_ISDIR(info.st_mode))
            HOST_USER_ERROR("%s: cannot write the %s: it is a folder", output.path.c_str(), output.what.c_str());
    }
}

OutputFiles::Output& OutputFiles::Find(const std::string& path)
{
    for (Output& output : m_Outputs) {
        if (output.path == path)
            return output;
    }
    throw shr::Exception("Host", __FILE__, __LINE__, 0, "an output that was never registered: " + path);
}

void OutputFiles::Write(const std::string& path, const std::function<void(const std::string&)>& write)
{
    Output& output = Find(path);
    output.temporary = TemporaryFor(path);
    try {
        write(output.temporary);
    } catch (const shr::Exception& error) {
        // The writer names the file it was given: the user knows the output.
        std::string message = error.Message();
        ReplaceAll(message, output.temporary, path);
        throw shr::Exception(error.Component(), error.File(), error.Line(), error.Code(), message);
    }
}

void OutputFiles::Commit()
{
    for (Output& output : m_Outputs) {
        if (output.temporary.empty())
            continue;
        if (std::rename(output.temporary.c_str(), output.path.c_str()) != 0)
            throw shr::Exception("Host", __FILE__, __LINE__, 0,
                                 output.path + ": cannot write the " + output.what + ": " + std::strerror(errno));
        output.temporary.clear();
    }
}

} // namespace host
