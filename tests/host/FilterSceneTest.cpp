// The lattice filter's sample scene, drawn by `fenrak render`: a noisy grade
// field beside its smoothed copy, each with a shell and a section.
#include "HostTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>

namespace {

using hosttest::Render;

// The triangles that --stats reports for a module.
long Triangles(const std::string& stats, const std::string& module)
{
    std::smatch match;
    const std::regex row(module + R"( +\w+ +ok +[0-9.]+ +([0-9]+))");
    return std::regex_search(stats, match, row) ? std::stol(match[1]) : -1;
}

// The mean colour step between neighbouring drawn pixels of a column range:
// how rough that part of the picture looks.
double Roughness(const render::Image& image, int firstColumn, int lastColumn)
{
    const shr::Color4b background = image.At(0, 0);
    long steps = 0, pairs = 0;
    for (int y = 0; y < image.Height(); ++y)
        for (int x = firstColumn; x + 1 < lastColumn; ++x) {
            const shr::Color4b a = image.At(x, y), b = image.At(x + 1, y);
            if (a == background || b == background)
                continue;
            steps += std::abs(a.r - b.r) + std::abs(a.g - b.g) + std::abs(a.b - b.b);
            ++pairs;
        }
    return pairs ? double(steps) / double(pairs) : 0.0;
}

TEST(FilterScene, TheSmoothedFieldIsDrawnSmootherBesideTheRawOne)
{
    hosttest::ScratchFolder folder;
    const std::string picture = folder.Path("filters.png");
    const hosttest::CommandResult result = Render(
        {std::string(FENRAK_SOURCE_DATA_DIR) + "/scenes/filters.json", "-o", picture, "--size", "400x200", "--stats"});
    ASSERT_EQ(result.status, 0) << result.err;
    const long raw = Triangles(result.out, "Raw shell"), smoothed = Triangles(result.out, "Smoothed shell");
    EXPECT_GT(smoothed, 0) << result.out;
    EXPECT_LT(smoothed * 3, raw) << "the noise breaks the raw shell into many pieces";

    // The raw field on the left, its smoothed copy on the right.
    const render::Image image = hosttest::ReadPng(picture);
    const double left = Roughness(image, 0, 200), right = Roughness(image, 200, 400);
    EXPECT_GT(right, 0.0);
    EXPECT_GT(left, 2.0 * right) << left << " against " << right;
}

} // namespace
