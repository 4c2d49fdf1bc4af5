#include "HostTestSupport.h"

#include "host/ExportCommand.h"
#include "host/PropertiesCommand.h"
#include "host/RenderCommand.h"
#include "render/CoinInit.h"

#include <gtest/gtest.h>
#include <png.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace hosttest {

ScratchFolder::ScratchFolder()
{
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/fenrak-host-XXXXXX";
    if (!mkdtemp(&pattern[0]))
        throw std::runtime_error("cannot make a scratch folder");
    m_Path = pattern;
}

ScratchFolder::~ScratchFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_Path, ignored);
}

std::string ScratchFolder::Write(const std::string& name, const std::string& text) const
{
    const std::string path = Path(name);
    std::ofstream file(path, std::ios::binary);
    file << text;
    if (!file)
        throw std::runtime_error("cannot write " + path);
    return path;
}

std::vector<std::string> ScratchFolder::Files() const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_Path))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

namespace {

template <class Command>
CommandResult Capture(Command command, const std::vector<std::string>& args)
{
    std::ostringstream out;
    std::ostringstream err;
    CommandResult result;
    result.status = command(args, out, err);
    result.out = out.str();
    result.err = err.str();
    return result;
}

} // namespace

CommandResult Render(const std::vector<std::string>& args)
{
    return Capture([](const auto& words, auto& out, auto& err) { return host::RenderCommand::Run(words, out, err); },
                   args);
}

CommandResult Properties(const std::vector<std::string>& args) { return Capture(&host::PropertiesCommand::Run, args); }

CommandResult Export(const std::vector<std::string>& args)
{
    return Capture([](const auto& words, auto& out, auto& err) { return host::ExportCommand::Run(words, out, err); },
                   args);
}

render::Image ReadPng(const std::string& path)
{
    png_image header{};
    header.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&header, path.c_str()))
        throw std::runtime_error("cannot read " + path);
    header.format = PNG_FORMAT_RGBA;
    std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(header));
    if (!png_image_finish_read(&header, nullptr, pixels.data(), 0, nullptr)) {
        png_image_free(&header);
        throw std::runtime_error("cannot decode " + path);
    }
    return render::Image(static_cast<int>(header.width), static_cast<int>(header.height), std::move(pixels));
}

std::string ReadText(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool FileExists(const std::string& path)
{
    return access(path.c_str(), F_OK) == 0;
}

namespace {

// The scene-graph library with the renderer's message filter, before any test.
class HostEnvironment : public ::testing::Environment {
public:
    void SetUp() override { render::EnsureCoinInit(); }
};

const ::testing::Environment* const s_Environment = ::testing::AddGlobalTestEnvironment(new HostEnvironment);

} // namespace

} // namespace hosttest
