#pragma once
// Helpers of the host tests: a scratch folder, files written into it, the
// render command run in-process with its output captured, PNG files read back.
#include "render/Image.h"

#include <string>
#include <vector>

namespace hosttest {

// A fresh folder under the system's temporary folder, removed with its files.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    // The path of `name` in the folder.
    std::string Path(const std::string& name) const { return m_Path + "/" + name; }
    // Writes `text` to `name` and returns its path.
    std::string Write(const std::string& name, const std::string& text) const;
    std::string Write(const std::string& name, const std::vector<unsigned char>& bytes) const
    {
        return Write(name, std::string(bytes.begin(), bytes.end()));
    }
    // The names of the files in the folder, sorted.
    std::vector<std::string> Files() const;

private:
    std::string m_Path;
};

struct CommandResult {
    int status = -1;
    std::string out;
    std::string err;
};

CommandResult Render(const std::vector<std::string>& args);
CommandResult Properties(const std::vector<std::string>& args);
CommandResult Export(const std::vector<std::string>& args);

// Throws on a missing or unreadable file.
render::Image ReadPng(const std::string& path);
// The whole file, byte for byte; empty when it cannot be read.
std::string ReadText(const std::string& path);

// Pixels in the box [x0, x1) x [y0, y1) for which `test` holds.
template <class Test>
int Count(const render::Image& image, int x0, int y0, int x1, int y1, Test test)
{
    int count = 0;
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x)
            count += test(image.At(x, y)) ? 1 : 0;
    return count;
}
bool FileExists(const std::string& path);

} // namespace hosttest
