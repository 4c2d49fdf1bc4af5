// Archive throughput against raw stdio, the natural floor: the same bytes,
// value by value, written with fwrite and read with fread, to a file and to
// memory (open_memstream / fmemopen). Two workloads: a run of doubles, and a
// chain of small objects through TransferObject (each links to the one before).
// After the runs, the ratio archive time / stdio time is printed per pair.
#include "shr/Archive.h"
#include "shr/TypeInfo.h"

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
const int64_t MegaByte = 1 << 20;
const size_t HeaderSize = 8;

class BenchNode : public shr::CTypedObject {
    SHR_DECLARE_CREATABLE_TYPE(BenchNode)
public:
    int32_t id = 0;
    double value = 0.0;
    shr::GString name;
    BenchNode* previous = nullptr;

    void Serialize(shr::Archive& archive) override
    {
        archive.SyncCheck();
        archive.Transfer(id);
        archive.Transfer(value);
        archive.Transfer(name);
        archive.TransferObject(previous);
    }
};
SHR_IMPLEMENT_CREATABLE_TYPE(BenchNode, shr::CTypedObject)

// ---- inputs (fixed seeds) --------------------------------------------------

std::vector<double> MakeDoubles(int64_t megabytes)
{
    std::mt19937_64 random(1122);
    std::uniform_real_distribution<double> value(-1e6, 1e6);
    std::vector<double> values(static_cast<size_t>(megabytes * MegaByte / 8));
    for (double& v : values)
        v = value(random);
    return values;
}

// About `megabytes` of nodes (some 40 bytes each in the stream).
std::vector<std::unique_ptr<BenchNode>> MakeNodes(int64_t megabytes)
{
    std::mt19937 random(2211);
    std::uniform_real_distribution<double> value(0.0, 100.0);
    std::vector<std::unique_ptr<BenchNode>> nodes(static_cast<size_t>(megabytes * MegaByte / 40));
    for (size_t i = 0; i < nodes.size(); ++i) {
        nodes[i] = std::make_unique<BenchNode>();
        nodes[i]->id = static_cast<int32_t>(i);
        nodes[i]->value = value(random);
        nodes[i]->name = "node" + std::to_string(i % 1000);
        nodes[i]->previous = i ? nodes[i - 1].get() : nullptr;
    }
    return nodes;
}

std::string TempPath(const std::string& tag)
{
    const char* dir = std::getenv("TMPDIR");
    return std::string(dir ? dir : "/tmp") + "/fenrak_bench_" + tag + "_" + std::to_string(::getpid());
}

// ---- stdio peers over a file or over memory ----------------------------------

enum class Medium { File, Memory };

// A stdio stream for writing; Finish closes it and returns the bytes written.
struct StdioWriter {
    Medium medium;
    std::string path;
    char* memory = nullptr;
    size_t memorySize = 0;
    std::FILE* file = nullptr;

    StdioWriter(Medium m, const std::string& p) : medium(m), path(p)
    {
        file = medium == Medium::File ? std::fopen(path.c_str(), "wb") : open_memstream(&memory, &memorySize);
        if (!file)
            throw std::runtime_error("cannot open a stdio stream");
    }
    template <class T>
    void Put(const T& value)
    {
        std::fwrite(&value, sizeof value, 1, file);
    }
    void PutString(const std::string& text)
    {
        Put(static_cast<uint32_t>(text.size()));
        std::fwrite(text.data(), 1, text.size(), file);
    }
    void Finish()
    {
        std::fclose(file);
        std::free(memory);
    }
};

struct StdioReader {
    std::FILE* file;
    StdioReader(Medium medium, const std::string& path, const Bytes& bytes)
    {
        file = medium == Medium::File ? std::fopen(path.c_str(), "rb")
                                      : fmemopen(const_cast<unsigned char*>(bytes.data()), bytes.size(), "rb");
        if (!file)
            throw std::runtime_error("cannot open a stdio stream");
        std::fseek(file, HeaderSize, SEEK_SET);
    }
    ~StdioReader() { std::fclose(file); }
    template <class T>
    T Get()
    {
        T value{};
        if (std::fread(&value, sizeof value, 1, file) != 1)
            throw std::runtime_error("short read");
        return value;
    }
    std::string GetString()
    {
        std::string text(Get<uint32_t>(), '\0');
        if (std::fread(&text[0], 1, text.size(), file) != text.size())
            throw std::runtime_error("short read");
        return text;
    }
};

// An archive for writing; Finish closes it.
struct ArchiveWriter {
    Bytes bytes;
    std::unique_ptr<shr::Archive> archive;
    ArchiveWriter(Medium medium, const std::string& path)
    {
        archive = medium == Medium::File ? std::make_unique<shr::Archive>(path, shr::Archive::Store)
                                         : std::make_unique<shr::Archive>(bytes);
    }
    void Finish() { archive->Close(); }
};

std::unique_ptr<shr::Archive> OpenReader(Medium medium, const std::string& path, const Bytes& bytes)
{
    if (medium == Medium::File)
        return std::make_unique<shr::Archive>(path, shr::Archive::Load);
    return std::make_unique<shr::Archive>(bytes.data(), bytes.size());
}

// The input both sides read: written once by the archive, to a file and kept in memory.
template <class Store>
Bytes WriteInput(const std::string& path, Store store)
{
    Bytes bytes;
    {
        shr::Archive out(bytes);
        store(out);
    }
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
        throw std::runtime_error("cannot write the benchmark input");
    std::fclose(file);
    return bytes;
}

// ---- doubles ---------------------------------------------------------------

void ArchiveWriteDoubles(benchmark::State& state, Medium medium)
{
    const std::vector<double> values = MakeDoubles(state.range(0));
    const std::string path = TempPath("write_doubles");
    for (auto _ : state) {
        ArchiveWriter out(medium, path);
        for (double v : values)
            out.archive->Transfer(v);
        out.Finish();
    }
    std::remove(path.c_str());
    state.SetBytesProcessed(state.iterations() * state.range(0) * MegaByte);
}

void StdioWriteDoubles(benchmark::State& state, Medium medium)
{
    const std::vector<double> values = MakeDoubles(state.range(0));
    const std::string path = TempPath("write_doubles_stdio");
    for (auto _ : state) {
        StdioWriter out(medium, path);
        for (double v : values)
            out.Put(v);
        out.Finish();
    }
    std::remove(path.c_str());
    state.SetBytesProcessed(state.iterations() * state.range(0) * MegaByte);
}

Bytes DoublesInput(const std::string& path, int64_t megabytes)
{
    std::vector<double> values = MakeDoubles(megabytes);
    return WriteInput(path, [&](shr::Archive& out) {
        for (double& v : values)
            out.Transfer(v);
    });
}

void ArchiveReadDoubles(benchmark::State& state, Medium medium)
{
    const std::string path = TempPath("read_doubles");
    const Bytes bytes = DoublesInput(path, state.range(0));
    const size_t count = static_cast<size_t>(state.range(0) * MegaByte / 8);
    for (auto _ : state) {
        auto in = OpenReader(medium, path, bytes);
        double sum = 0.0, v = 0.0;
        for (size_t i = 0; i < count; ++i) {
            in->Transfer(v);
            sum += v;
        }
        benchmark::DoNotOptimize(sum);
    }
    std::remove(path.c_str());
    state.SetBytesProcessed(state.iterations() * state.range(0) * MegaByte);
}

void StdioReadDoubles(benchmark::State& state, Medium medium)
{
    const std::string path = TempPath("read_doubles_stdio");
    const Bytes bytes = DoublesInput(path, state.range(0));
    const size_t count = static_cast<size_t>(state.range(0) * MegaByte / 8);
    for (auto _ : state) {
        StdioReader in(medium, path, bytes);
        double sum = 0.0;
        for (size_t i = 0; i < count; ++i)
            sum += in.Get<double>();
        benchmark::DoNotOptimize(sum);
    }
    std::remove(path.c_str());
    state.SetBytesProcessed(state.iterations() * state.range(0) * MegaByte);
}

// ---- small objects -------------------------------------------------------------

void StoreNodes(shr::Archive& out, const std::vector<std::unique_ptr<BenchNode>>& nodes)
{
    for (const auto& node : nodes) {
        shr::CTypedObject* object = node.get();
        out.TransferObject(object);
    }
}

void ArchiveWriteObjects(benchmark::State& state, Medium medium)
{
    const auto nodes = MakeNodes(state.range(0));
    const std::string path = TempPath("write_objects");
    for (auto _ : state) {
        ArchiveWriter out(medium, path);
        StoreNodes(*out.archive, nodes);
        out.Finish();
    }
    std::remove(path.c_str());
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(nodes.size()));
}

// The same bytes as the archive: a node as it first occurs is the new-object
// tag, its class, the marker, its fields and a reference to its predecessor.
void StdioWriteObjects(benchmark::State& state, Medium medium)
{
    const auto nodes = MakeNodes(state.range(0));
    const std::string path = TempPath("write_objects_stdio");
    const uint32_t marker = 0x3CA55AC3;
    for (auto _ : state) {
        StdioWriter out(medium, path);
        for (size_t i = 0; i < nodes.size(); ++i) {
            const BenchNode& node = *nodes[i];
            out.Put(uint32_t(0xFFFFFFFFu));
            out.Put(uint32_t(0));
            if (i == 0)
                out.PutString("BenchNode");
            out.Put(marker);
            out.Put(node.id);
            out.Put(node.value);
            out.PutString(node.name);
            out.Put(static_cast<uint32_t>(i)); // the predecessor's tag; 0 is null
        }
        out.Finish();
    }
    std::remove(path.c_str());
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(nodes.size()));
}

Bytes ObjectsInput(const std::string& path, int64_t megabytes, size_t& count)
{
    const auto nodes = MakeNodes(megabytes);
    count = nodes.size();
    return WriteInput(path, [&](shr::Archive& out) { StoreNodes(out, nodes); });
}

void ArchiveReadObjects(benchmark::State& state, Medium medium)
{
    const std::string path = TempPath("read_objects");
    size_t count = 0;
    const Bytes bytes = ObjectsInput(path, state.range(0), count);
    for (auto _ : state) {
        auto in = OpenReader(medium, path, bytes);
        for (size_t i = 0; i < count; ++i) {
            BenchNode* node = nullptr;
            in->TransferObject(node);
        }
        for (shr::CTypedObject* object : in->CreatedObjects())
            delete object;
    }
    std::remove(path.c_str());
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(count));
}

struct PlainNode {
    int32_t id;
    double value;
    std::string name;
    PlainNode* previous;
};

void StdioReadObjects(benchmark::State& state, Medium medium)
{
    const std::string path = TempPath("read_objects_stdio");
    size_t count = 0;
    const Bytes bytes = ObjectsInput(path, state.range(0), count);
    for (auto _ : state) {
        StdioReader in(medium, path, bytes);
        std::vector<PlainNode*> loaded;
        for (size_t i = 0; i < count; ++i) {
            in.Get<uint32_t>(); // new-object tag
            in.Get<uint32_t>(); // class index; the name follows its first use
            if (i == 0)
                benchmark::DoNotOptimize(in.GetString());
            in.Get<uint32_t>(); // marker
            auto* node = new PlainNode;
            node->id = in.Get<int32_t>();
            node->value = in.Get<double>();
            node->name = in.GetString();
            const uint32_t previous = in.Get<uint32_t>();
            node->previous = previous ? loaded[previous - 1] : nullptr;
            loaded.push_back(node);
        }
        for (PlainNode* node : loaded)
            delete node;
    }
    std::remove(path.c_str());
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(count));
}

// ---- registration and the ratio report ------------------------------------------

// Console output as usual, then "archive / stdio" per pair of runs.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            m_Times[run.benchmark_name()] = run.GetAdjustedRealTime();
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\nRatio archive / stdio (real time; 1.0 = as fast as raw stdio):\n");
        for (const auto& entry : m_Times) {
            const std::string& name = entry.first;
            if (name.compare(0, 8, "Archive/") != 0)
                continue;
            auto peer = m_Times.find("Stdio/" + name.substr(8));
            if (peer != m_Times.end() && peer->second > 0)
                std::printf("  %-32s %6.2f\n", name.substr(8).c_str(), entry.second / peer->second);
        }
    }

private:
    std::map<std::string, double> m_Times;
};

using BenchFunction = void (*)(benchmark::State&, Medium);

void RegisterPair(const char* operation, BenchFunction ours, BenchFunction peer, int64_t megabytes)
{
    for (Medium medium : {Medium::Memory, Medium::File}) {
        const std::string suffix = std::string(operation) + (medium == Medium::File ? "/file" : "/memory");
        benchmark::RegisterBenchmark(("Archive/" + suffix).c_str(), ours, medium)
            ->Arg(megabytes)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("Stdio/" + suffix).c_str(), peer, medium)
            ->Arg(megabytes)
            ->Unit(benchmark::kMillisecond);
    }
}

} // namespace

int main(int argc, char** argv)
{
    RegisterPair("WriteDoubles", ArchiveWriteDoubles, StdioWriteDoubles, 16);
    RegisterPair("ReadDoubles", ArchiveReadDoubles, StdioReadDoubles, 16);
    RegisterPair("WriteObjects", ArchiveWriteObjects, StdioWriteObjects, 4);
    RegisterPair("ReadObjects", ArchiveReadObjects, StdioReadObjects, 4);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
