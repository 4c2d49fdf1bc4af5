#pragma once
// The raw files a benchmark writes beside its program for the peer script to
// read: little-endian values with no header, in the order given.
#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

namespace benchfiles {

// The folder of the running program.
inline std::string OutputFolder()
{
    char path[4096];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path - 1);
    std::string exe(path, length > 0 ? static_cast<size_t>(length) : 0);
    const size_t slash = exe.rfind('/');
    return slash == std::string::npos ? std::string(".") : exe.substr(0, slash);
}

inline void WriteRaw(const std::string& name, const void* data, size_t bytes)
{
    const std::string path = OutputFolder() + "/" + name;
    if (FILE* file = std::fopen(path.c_str(), "wb")) {
        std::fwrite(data, 1, bytes, file);
        std::fclose(file);
    }
}

template <class T>
void WriteRaw(const std::string& name, const std::vector<T>& values)
{
    WriteRaw(name, values.data(), values.size() * sizeof(T));
}

} // namespace benchfiles
