#pragma once
// What the benchmark programs share: the raw files they write beside the
// program for the peer scripts (little-endian values with no header, in the
// order given), the inputs they make once and keep for the run, and a main
// that brings the module network up and down around the runs.
#include "core/network/VoNetwork.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <type_traits>
#include <unistd.h>
#include <vector>

namespace bench {

// The folder of the running program.
inline std::string OutputFolder()
{
    char path[4096];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path - 1);
    std::string exe(path, length > 0 ? static_cast<size_t>(length) : 0);
    const size_t slash = exe.rfind('/');
    return slash == std::string::npos ? std::string(".") : exe.substr(0, slash);
}

// Writes `name` in the program's folder; false when it could not be written whole.
inline bool WriteRaw(const std::string& name, const void* data, size_t bytes)
{
    const std::string path = OutputFolder() + "/" + name;
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return false;
    const bool written = std::fwrite(data, 1, bytes, file) == bytes;
    return std::fclose(file) == 0 && written;
}

template <class T>
bool WriteRaw(const std::string& name, const std::vector<T>& values)
{
    return WriteRaw(name, values.data(), values.size() * sizeof(T));
}

// What `make` returns for `key`, made on the first call and kept for the run,
// so that repetitions and benchmarks of one size share their input. Each call
// site (each lambda) has a cache of its own.
template <class Key, class Make>
auto& Cached(const Key& key, Make make)
{
    static std::map<Key, std::decay_t<decltype(make())>> cache;
    auto it = cache.find(key);
    if (it == cache.end())
        it = cache.emplace(key, make()).first;
    return it->second;
}

// The main of a program whose benchmarks build modules: the network is up
// (modules make their scene geometry when built) during the runs, and its
// modules are gone before it stops.
inline int RunNetworkBenchmarks(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    core::VoNetwork& network = core::VoNetwork::Instance();
    network.Init();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    network.DeleteAllNodes();
    network.Release();
    return 0;
}

} // namespace bench
