#include "render/Image.h"
#include "shr/Exception.h"
#include "tests/support/PictureSupport.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using render::Image;
using testsupport::ReadPng;

namespace {

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

// Every pixel survives a round trip; a failed write throws and leaves neither
// a temporary file nor a damaged earlier picture.
TEST(Image, PngRoundTripsAndFailedWritesLeaveNothingBehind)
{
    testsupport::ScratchFolder dir;
    const std::string kept = dir.File("kept.png");
    for (auto size : {std::make_pair(1, 1), std::make_pair(37, 5), std::make_pair(16, 64)}) {
        const Image original = Pattern(size.first, size.second);
        original.WritePng(kept);
        EXPECT_EQ(ReadPng(kept), original) << size.first << "x" << size.second;
    }
    const std::string occupied = dir.File("occupied");
    std::filesystem::create_directory(occupied);
    // A directory in the way of the rename, and a missing directory.
    for (const std::string& path : {occupied, dir.File("missing/x.png")})
        EXPECT_THROW(Pattern(8, 8).WritePng(path), shr::Exception) << path;
    EXPECT_THROW(Image().WritePng(kept), shr::Exception);
    EXPECT_EQ(dir.Entries(), (std::vector<std::string>{"kept.png", "occupied"}));
    EXPECT_EQ(ReadPng(kept), Pattern(16, 64));
}

} // namespace
