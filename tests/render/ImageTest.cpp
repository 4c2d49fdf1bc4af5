#include "render/Image.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

using render::Image;

namespace {

namespace fs = std::filesystem;

// A fresh directory for one test, removed with what it holds.
struct TempDir {
    TempDir() : path(fs::temp_directory_path() / ("fenrak_render_" + std::to_string(getpid())))
    {
        fs::remove_all(path);
        fs::create_directory(path);
    }
    ~TempDir() { fs::remove_all(path); }
    std::vector<std::string> Entries() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(path))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }
    fs::path path;
};

// Reads a PNG through libpng's own reader, independent of the writer's code.
Image ReadPng(const std::string& path)
{
    png_image header;
    std::memset(&header, 0, sizeof header);
    header.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&header, path.c_str()))
        return Image();
    header.format = PNG_FORMAT_RGBA;
    std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(header));
    if (!png_image_finish_read(&header, nullptr, pixels.data(), 0, nullptr)) {
        png_image_free(&header);
        return Image();
    }
    return Image(static_cast<int>(header.width), static_cast<int>(header.height), std::move(pixels));
}

Image Pattern(int width, int height)
{
    Image image(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.Set(x, y, shr::Color4b(static_cast<unsigned char>(x * 7), static_cast<unsigned char>(y * 13),
                                         static_cast<unsigned char>(x ^ y), static_cast<unsigned char>(255 - x - y)));
    return image;
}

TEST(Image, BadGeometryAndCoordinatesThrow)
{
    EXPECT_THROW(Image(-1, 4), shr::Exception);
    EXPECT_THROW(Image(2, 2, std::vector<uint8_t>(15)), shr::Exception);
    const Image image(4, 3);
    for (auto bad : {std::make_pair(-1, 0), std::make_pair(4, 0), std::make_pair(0, 3), std::make_pair(0, -1)})
        EXPECT_THROW(image.At(bad.first, bad.second), shr::Exception) << bad.first << "," << bad.second;
}

TEST(Image, PngRoundTripKeepsEveryPixel)
{
    TempDir dir;
    for (auto size : {std::make_pair(1, 1), std::make_pair(37, 5), std::make_pair(16, 64)}) {
        const Image original = Pattern(size.first, size.second);
        const std::string path = dir.path / "picture.png";
        original.WritePng(path);
        EXPECT_EQ(ReadPng(path), original) << size.first << "x" << size.second;
    }
    EXPECT_EQ(dir.Entries(), std::vector<std::string>{"picture.png"});
}

// A failed write throws and leaves neither a temporary file nor a damaged
// earlier picture.
TEST(Image, FailedWritesLeaveNothingBehind)
{
    TempDir dir;
    const std::string kept = dir.path / "kept.png";
    const Image earlier = Pattern(4, 4);
    earlier.WritePng(kept);
    const std::string occupied = dir.path / "occupied";
    fs::create_directory(occupied);

    const std::string failing[] = {
        occupied,                           // a directory is in the way of the rename
        dir.path / "missing" / "x.png",     // no such directory
    };
    for (const std::string& path : failing)
        EXPECT_THROW(Pattern(8, 8).WritePng(path), shr::Exception) << path;
    EXPECT_THROW(Image().WritePng(kept), shr::Exception);

    EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"kept.png", "occupied"}));
    EXPECT_EQ(ReadPng(kept), earlier);
}

} // namespace
