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
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace testsupport {

// The shr::Exception an action raised; code -1 when it raised none.
struct Raised {
    std::string component;
    std::string message;
    int code = -1;
};

inline Raised RaisedBy(const std::function<void()>& action)
{
    try {
        action();
    } catch (const shr::Exception& e) {
        return {e.Component(), e.Message(), e.Code()};
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

// Reads all but the last `cut` bytes into `object`; returns the bytes left unread.
// A failed load leaves what it made to the caller, as a host's loader is left
// it: this disposes of it and throws on.
template <class T>
uint64_t Load(T& object, const std::vector<unsigned char>& bytes, size_t cut = 0, const char* path = "")
{
    shr::Archive archive(bytes.data(), bytes.size() - cut, path);
    try {
        object.Serialize(archive);
    } catch (...) {
        for (shr::CTypedObject* made : archive.CreatedObjects())
            delete made;
        throw;
    }
    return archive.BytesRemaining();
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

// Texts for fuzzing a reader: mutations of valid seeds (a byte overwritten,
// a piece spliced in, a run cut, repeated or truncated) and, one time in five,
// random bytes. Seeded, so that a failure repeats.
class TextMutator {
public:
    TextMutator(unsigned seed, std::vector<std::string> seeds, std::vector<std::string> pieces, size_t maxEdits = 4)
        : m_Random(seed), m_Seeds(std::move(seeds)), m_Pieces(std::move(pieces)), m_MaxEdits(maxEdits)
    {
    }

    std::string Next()
    {
        if (Pick(5) == 0) {
            std::string text(Pick(64), '\0');
            for (char& c : text)
                c = static_cast<char>(Pick(256));
            return text;
        }
        std::string text = m_Seeds[Pick(m_Seeds.size())];
        for (size_t edits = 1 + Pick(m_MaxEdits); edits > 0; --edits) {
            const size_t at = text.empty() ? 0 : Pick(text.size() + 1);
            switch (Pick(5)) {
            case 0:
                if (!text.empty())
                    text[Pick(text.size())] = static_cast<char>(Pick(256));
                break;
            case 1: text.insert(at, m_Pieces[Pick(m_Pieces.size())]); break;
            case 2: text.erase(at, Pick(8)); break;
            case 3: text.insert(at, text.substr(at, Pick(300))); break;
            default: text.resize(at); break;
            }
        }
        return text;
    }

private:
    size_t Pick(size_t count) { return std::uniform_int_distribution<size_t>(0, count - 1)(m_Random); }

    std::mt19937 m_Random;
    std::vector<std::string> m_Seeds, m_Pieces;
    size_t m_MaxEdits;
};

} // namespace testsupport
