#pragma once
// What the tests of every area share: the error an action raises, stored forms
// through an archive, near-equal points, a scratch folder and a log capture.
// Header-only, on the foundation library alone, so that any test program can
// use it.
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/Logger.h"
#include "shr/Vec3.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace testsupport {

// The shr::Exception an action raised; code -1 when it raised none.
struct Raised {
    std::string component;
    std::string message;
    int code = -1;
    std::string file;
};

inline Raised RaisedBy(const std::function<void()>& action)
{
    try {
        action();
    } catch (const shr::Exception& e) {
        return {e.Component(), e.Message(), e.Code(), e.File()};
    }
    return {};
}

// "Component: message" of the shr::Exception an action raises, or "nothing raised".
inline std::string RaisedText(const std::function<void()>& action)
{
    const Raised raised = RaisedBy(action);
    return raised.code < 0 ? "nothing raised" : raised.component + ": " + raised.message;
}

// The stored form of `object`, written as `version` would write it.
template <class T>
std::vector<unsigned char> Store(T& object, int version = shr::Archive::CurrentVersion, const char* path = "")
{
    std::vector<unsigned char> bytes;
    shr::Archive archive(bytes, path, version);
    object.Serialize(archive);
    return bytes;
}

// The stored form of a module without its links, as a module on its own.
template <class T>
std::vector<unsigned char> StoreUnlinked(T& module)
{
    std::vector<unsigned char> bytes;
    shr::Archive archive(bytes);
    bool links = false;
    archive.ConnectionsFlag = &links;
    module.Serialize(archive);
    return bytes;
}

// Runs `read`. A failed load leaves what `archive` made to the caller, as a
// host's loader is left it: this disposes of it and throws on.
template <class Read>
void ReadOrDispose(shr::Archive& archive, Read read)
{
    try {
        read();
    } catch (...) {
        for (shr::CTypedObject* made : archive.CreatedObjects())
            delete made;
        throw;
    }
}

// Reads all but the last `cut` bytes into `object`; returns the bytes left unread.
template <class T>
uint64_t Load(T& object, const std::vector<unsigned char>& bytes, size_t cut = 0, const char* path = "")
{
    shr::Archive archive(bytes.data(), bytes.size() - cut, path);
    ReadOrDispose(archive, [&] { object.Serialize(archive); });
    return archive.BytesRemaining();
}

// The stored form of `object` read back: a fresh T that loads the bytes
// stores the same bytes again, and a fresh T that loads them cut short by any
// of `cuts` bytes fails and still stores as a fresh T does (a failed load
// changes nothing). For objects stored alone, whose base part is a fresh
// one's. Returns the bytes.
template <class T>
std::vector<unsigned char> ExpectRoundTrip(T& object, std::initializer_list<size_t> cuts = {1, 9, 33})
{
    const std::vector<unsigned char> bytes = Store(object);
    T copy;
    EXPECT_EQ(Load(copy, bytes), 0u);
    EXPECT_EQ(Store(copy), bytes) << "stored again, the copy gives the same bytes";
    T untouched;
    const std::vector<unsigned char> fresh = Store(untouched);
    for (size_t cut : cuts) {
        if (cut >= bytes.size())
            continue;
        T target;
        EXPECT_THROW(Load(target, bytes, cut), shr::Exception) << "cut " << cut;
        EXPECT_EQ(Store(target), fresh) << "a failed load changes nothing; cut " << cut;
    }
    return bytes;
}

// `object` stored as the first object of a document (its class name first)
// and read back as a T, owned by the caller; what else the document holds
// belongs to the objects that link to it.
inline std::vector<unsigned char> StoreObject(shr::CTypedObject* object)
{
    std::vector<unsigned char> bytes;
    shr::Archive archive(bytes);
    archive.TransferObject(object);
    return bytes;
}
template <class T>
std::unique_ptr<T> LoadObject(const std::vector<unsigned char>& bytes)
{
    shr::Archive archive(bytes.data(), bytes.size());
    T* object = nullptr;
    ReadOrDispose(archive, [&] { archive.TransferObject(object); });
    return std::unique_ptr<T>(object);
}

// Each damage of `cases`, done to a fresh T (after `prepare`, when given),
// stored and loaded into another, is refused, and that one still stores as a
// fresh T does: what the rows would not take, a document may not hold.
template <class T>
void ExpectDamageRefused(std::initializer_list<std::pair<const char*, void (*)(T&)>> cases,
                         void (*prepare)(T&) = nullptr)
{
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        T damaged, target, fresh;
        if (prepare)
            prepare(damaged);
        c.second(damaged);
        EXPECT_THROW(Load(target, Store(damaged)), shr::Exception);
        EXPECT_EQ(Store(target), Store(fresh));
    }
}

// Replaces the one occurrence of `marker`'s bytes in `bytes` by those of `bad`.
template <class T>
void ReplaceUnique(std::vector<unsigned char>& bytes, T marker, T bad)
{
    const auto* pattern = reinterpret_cast<const unsigned char*>(&marker);
    const auto at = std::search(bytes.begin(), bytes.end(), pattern, pattern + sizeof marker);
    ASSERT_NE(at, bytes.end());
    ASSERT_EQ(std::search(at + 1, bytes.end(), pattern, pattern + sizeof marker), bytes.end()) << "a unique marker";
    std::memcpy(&*at, &bad, sizeof bad);
}

// Replaces the first run `from` in `bytes` by `to`; false when there is none.
inline bool ReplaceRun(std::vector<unsigned char>& bytes, const std::vector<unsigned char>& from,
                       const std::vector<unsigned char>& to)
{
    const auto at = std::search(bytes.begin(), bytes.end(), from.begin(), from.end());
    if (at == bytes.end())
        return false;
    bytes.insert(bytes.erase(at, at + std::ptrdiff_t(from.size())), to.begin(), to.end());
    return true;
}

// A 64-bit FNV-1a digest of `size` bytes, continuing from `hash`: pins large
// results (lattices, meshes) bit for bit.
inline uint64_t Digest(const void* bytes, size_t size, uint64_t hash = 1469598103934665603ull)
{
    const auto* p = static_cast<const unsigned char*>(bytes);
    for (size_t n = 0; n < size; ++n)
        hash = (hash ^ p[n]) * 1099511628211ull;
    return hash;
}

// ---- documents as older versions wrote them --------------------------------

// Writes each value as the archive stores its type.
template <class... Values>
void Put(shr::Archive& archive, Values... values)
{
    (archive.Transfer(values), ...);
}

// VoModule's part of a document before version 113 for a module without
// links: no port counts, one empty link list per port.
inline void WriteOldModulePart(shr::Archive& archive, const std::string& name, int ports)
{
    archive.SyncCheck();
    Put(archive, int32_t(1), name, true, true);
    for (int p = 0; p < ports; ++p)
        Put(archive, uint32_t(0));
}

// The header of an empty document of `version`.
inline std::vector<unsigned char> Header(int version)
{
    std::vector<unsigned char> bytes;
    shr::Archive archive(bytes, "", version);
    return bytes;
}

// The stored bytes of a module that is linked to nothing, split after the
// module base's part (at the module's own sync mark), to be put together
// again as any version wrote them.
struct StoredModule {
    std::vector<unsigned char> base, body;

    StoredModule(const std::vector<unsigned char>& document, size_t ports)
    {
        const size_t header = Header(shr::Archive::CurrentVersion).size();
        const unsigned char mark[4] = {0xC3, 0x5A, 0xA5, 0x3C};
        auto second = std::search(document.begin() + long(header) + 4, document.end(), mark, mark + 4);
        base.assign(document.begin() + long(header), second);
        body.assign(second, document.end());
        // Before version 113 the base wrote no port counts: one word per port list.
        oldBase.assign(base.begin(), base.end() - long(4 * (ports + 2)));
        oldBase.insert(oldBase.end(), 4 * ports, 0);
    }
    // The document as `version` wrote it, with `moduleBody` as the module's part.
    std::vector<unsigned char> Document(int version, const std::vector<unsigned char>& moduleBody) const
    {
        std::vector<unsigned char> bytes = Header(version);
        const std::vector<unsigned char>& part = version >= 113 ? base : oldBase;
        bytes.insert(bytes.end(), part.begin(), part.end());
        bytes.insert(bytes.end(), moduleBody.begin(), moduleBody.end());
        return bytes;
    }
    // Where `value`'s bytes first appear in the body.
    template <class T>
    size_t Find(const T& value) const
    {
        const auto* raw = reinterpret_cast<const unsigned char*>(&value);
        return size_t(std::search(body.begin(), body.end(), raw, raw + sizeof value) - body.begin());
    }

private:
    std::vector<unsigned char> oldBase;
};

// `bytes` with `count` bytes at `at` replaced by those of `value`.
template <class T>
std::vector<unsigned char> Replace(std::vector<unsigned char> bytes, size_t at, size_t count, const T& value)
{
    const auto* raw = reinterpret_cast<const unsigned char*>(&value);
    bytes.erase(bytes.begin() + long(at), bytes.begin() + long(at + count));
    bytes.insert(bytes.begin() + long(at), raw, raw + sizeof value);
    return bytes;
}

inline ::testing::AssertionResult Near(const shr::Vec3d& got, const shr::Vec3d& want, double tolerance = 1e-12)
{
    if ((got - want).Length() <= tolerance)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got (" << got.x << ", " << got.y << ", " << got.z << ") want ("
                                         << want.x << ", " << want.y << ", " << want.z << ")";
}

// A fresh folder, removed with all it holds at the end of the test.
class ScratchFolder {
public:
    ScratchFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "fenrak-test-XXXXXX").string();
        m_Path = ::mkdtemp(pattern.data()) ? pattern : std::string();
    }
    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_Path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::string& Path() const { return m_Path; }
    std::string File(const std::string& name) const { return m_Path + "/" + name; }
    // Writes `bytes` to the file `name` and returns its path.
    std::string Write(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(File(name), std::ios::binary) << bytes;
        return File(name);
    }
    std::string Write(const std::string& name, const std::vector<unsigned char>& bytes) const
    {
        return Write(name, std::string(bytes.begin(), bytes.end()));
    }
    // The names of the entries in the folder, sorted.
    std::vector<std::string> Entries() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_Path))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::string m_Path;
};

inline std::vector<unsigned char> ReadBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Collects the log's lines while alive.
class LogCapture {
public:
    LogCapture()
    {
        shr::g_Logger.SetSink([this](int level, const shr::GString& text) {
            std::lock_guard<std::mutex> lock(m_Mutex);
            m_Lines.emplace_back(level, text);
        });
    }
    ~LogCapture() { shr::g_Logger.SetSink(nullptr); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::pair<int, std::string>> Lines()
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        return m_Lines;
    }
    bool Contains(const std::string& text)
    {
        const auto lines = Lines();
        return std::any_of(lines.begin(), lines.end(), [&](const auto& line) { return line.second == text; });
    }

private:
    std::mutex m_Mutex;
    std::vector<std::pair<int, std::string>> m_Lines;
};

// Runs work(0) .. work(count - 1) on threads of their own and waits for all.
template <class Work>
void RunThreads(unsigned int count, Work work)
{
    std::vector<std::thread> threads;
    for (unsigned int id = 0; id < count; ++id)
        threads.emplace_back(work, id);
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace testsupport
