// The sample scenes of the source tree and the built-in scene, drawn by
// `fenrak render`: every module runs, and each part of the picture shows
// what the scene puts there (surfaces, legends, labels, axes, background).
#include "HostTestSupport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

using hosttest::Count;

using Color = shr::Color4b;
using Test = bool (*)(const Color&);

// The box [x0, x1) x [y0, y1) of a picture, and how many of its pixels must
// pass `test` (a single pixel is a box of one).
struct Region {
    const char* what;
    int x0, y0, x1, y1;
    Test test;
    int least;
    int most = 1 << 30;
};

bool Lit(const Color& c) { return c.r + c.g + c.b > 0; }
bool White(const Color& c) { return c.r > 200 && c.g > 200 && c.b > 200; }

struct Drawn {
    std::string stats;
    render::Image image;
};

// Draws a scene of data/scenes (the built-in scene for an empty name), at
// `size` when one is given; every module of the scene must have run.
Drawn DrawSample(const std::string& file, const std::string& size = "")
{
    hosttest::ScratchFolder folder;
    const std::string picture = folder.Path("sample.png");
    const std::string scene = std::string(FENRAK_SOURCE_DATA_DIR) + "/scenes/" + file;
    std::vector<std::string> args = {"-o", picture, "--stats"};
    if (!file.empty())
        args.insert(args.begin(), scene);
    if (!size.empty())
        args.insert(args.end(), {"--size", size});
    const hosttest::CommandResult result = hosttest::Render(args);
    EXPECT_EQ(result.status, 0) << result.err;
    // One row of the statistics a module, each with the status "ok".
    size_t ok = 0;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);)
        ok += line.find(" ok ") != std::string::npos ? 1 : 0;
    const size_t modules = file.empty() ? 4 : nlohmann::json::parse(hosttest::ReadText(scene))["modules"].size();
    EXPECT_EQ(ok, modules) << result.out;
    return {result.out, result.status == 0 ? hosttest::ReadPng(picture) : render::Image(1, 1)};
}

TEST(SampleScenes, EachPartOfThePictureShowsWhatTheSceneDrawsThere)
{
    const struct {
        const char* file;
        const char* size;
        std::vector<Region> regions;
    } scenes[] = {
        {"", "", // the built-in scene: a shell with a core, a section, the shell's legend
         {{"black background", 1000, 20, 1001, 21, [](const Color& c) { return c == Color(0, 0, 0); }, 1},
          {"the map's blue at the legend's foot", 50, 696, 51, 697,
           [](const Color& c) { return c.b > 200 && c.r < 40; }, 1},
          {"its red at the head", 50, 380, 51, 381, [](const Color& c) { return c.r > 200 && c.b < 40; }, 1},
          {"isovalues in green and yellow", 475, 480, 476, 481,
           [](const Color& c) { return c.g > 150 && c.g > c.b; }, 1}}},
        {"function-lattice.json", "80x60", // two surfaces; the translucent shell leaves the picture opaque
         {{"surfaces over a good part of the view", 0, 0, 80, 60, Lit, 241},
          {"see-through pixels", 0, 0, 80, 60, [](const Color& c) { return c.a != 255; }, 0, 0}}},
        {"contours.json", "", // a depth surface under contour lines, the depth legend on the left
         {{"the scene's background", 5, 5, 6, 6, [](const Color& c) { return c == Color(40, 40, 48); }, 1},
          {"red crest", 420, 385, 421, 386, [](const Color& c) { return c.r > 180 && c.b < 90; }, 1},
          {"blue flank", 600, 600, 601, 601, [](const Color& c) { return c.b > 150 && c.b > c.r; }, 1},
          {"contour lines of 1 and 2.5 points", 145, 110, 878, 655,
           [](const Color& c) { return c.r < 40 && c.g < 40 && c.b < 40; }, 10001, 59999},
          {"shallow red at the legend's foot", 45, 560, 46, 561, [](const Color& c) { return c.r > 180; }, 1},
          {"deep blue at its head", 45, 190, 46, 191, [](const Color& c) { return c.b > 150 && c.r < 90; }, 1}}},
        {"lattice-tools.json", "", // the gradient of a refined model on a section, shells over it
         {{"no gradient in black at the legend's foot", 50, 700, 51, 701,
           [](const Color& c) { return c.r < 40 && c.g < 40; }, 1},
          {"the steepest in white at its head", 50, 365, 51, 366,
           [](const Color& c) { return c.r > 240 && c.g > 200; }, 1},
          {"orange flanks beside the large anomaly", 310, 450, 350, 490,
           [](const Color& c) { return c.r > 200 && c.g > 80 && c.b < 40; }, 901},
          {"flat field far from both, nearly black", 680, 460, 720, 500,
           [](const Color& c) { return c.r < 60 && c.g < 20; }, 1201},
          {"grey shells tinting the section", 380, 390, 540, 510, [](const Color& c) { return c.b > 25; }, 5001},
          {"nothing beyond the scene", 850, 0, 1024, 200, Lit, 0, 0}}},
        {"scene-modules.json", "", // a shell cut open on its red core, the title upper left
         {{"the settings' background", 1000, 740, 1001, 741,
           [](const Color& c) { return c == Color(22, 26, 34); }, 1},
          {"the title's white strokes", 25, 20, 400, 75, [](const Color& c) { return c.r > 200 && c.b > 200; }, 401},
          {"the red core, seen through the cut", 420, 420, 520, 520,
           [](const Color& c) { return c.r > 120 && c.g < c.r / 2 && c.b < c.r / 2; }, 5001}}},
        {"vectors.json", "", // arrows and stream lines of a vortex, the speed legend beside them
         {{"the slowest in blue at the legend's foot", 50, 700, 51, 701,
           [](const Color& c) { return c.b > 200 && c.r < 60; }, 1},
          {"the fastest in red at its head", 50, 365, 51, 366, [](const Color& c) { return c.r > 200 && c.b < 60; }, 1},
          {"fast lines round the core", 420, 300, 610, 450,
           [](const Color& c) { return c.r > 200 && c.b < 80 && c.g < 200; }, 2001},
          {"slower arrows to the lower left", 300, 480, 520, 620,
           [](const Color& c) { return c.b > 180 && c.r < 80; }, 301},
          {"nothing beyond the scene", 850, 0, 1024, 200, Lit, 0, 0}}},
        {"boreholes.json", "", // between the legends: assays, their labels, the axes
         {{"blue symbols of low grades", 204, 0, 819, 768,
           [](const Color& c) { return c.b > 200 && c.r < 60 && c.g < 120; }, 501},
          {"white labels", 204, 0, 819, 768, [](const Color& c) { return c.r > 230 && c.g > 230 && c.b > 230; }, 301},
          {"red X axis", 204, 0, 819, 768, [](const Color& c) { return c.r > 200 && c.g < 60 && c.b < 60; }, 301},
          {"green Y axis", 204, 0, 819, 768, [](const Color& c) { return c.g > 200 && c.r < 60 && c.b < 60; }, 301}}},
        {"block-model.json", "",
         {{"yellow to red ore blocks", 204, 0, 819, 768, [](const Color& c) { return c.r > 150 && c.b < 80; }, 10001}}},
        {"wells.json", "", // tubes coloured by gamma ray, its legend, labels over the grade shell
         {{"low gamma ray blue at the legend's foot", 35, 725, 36, 726,
           [](const Color& c) { return c.b > 200 && c.r < 60; }, 1},
          {"high red at its head", 35, 480, 36, 481, [](const Color& c) { return c.r > 200 && c.b < 60; }, 1},
          {"cover and andesite near the heads, left", 100, 150, 330, 520,
           [](const Color& c) { return c.b > 150 && c.r < 80; }, 401},
          {"cover and andesite near the heads, right", 780, 150, 1000, 500,
           [](const Color& c) { return c.b > 150 && c.r < 80; }, 401},
          {"the potassic core, yellow to red", 330, 380, 700, 600,
           [](const Color& c) { return c.r > 180 && c.b < 90 && c.g < 230; }, 301},
          {"KV-103's white label above its head", 525, 75, 610, 105,
           White, 61},
          {"and none higher up", 525, 20, 610, 60, White, 0, 0}}},
    };
    for (const auto& scene : scenes) {
        SCOPED_TRACE(*scene.file ? scene.file : "the built-in scene");
        const render::Image image = DrawSample(scene.file, scene.size).image;
        for (const Region& r : scene.regions) {
            ASSERT_TRUE(r.x1 <= image.Width() && r.y1 <= image.Height()) << image.Width() << " x " << image.Height();
            const int count = Count(image, r.x0, r.y0, r.x1, r.y1, r.test);
            const shr::Color4b first = image.At(r.x0, r.y0);
            EXPECT_TRUE(count >= r.least && count <= r.most)
                << r.what << ": " << count << " pixels; the first is " << int(first.r) << "," << int(first.g) << ","
                << int(first.b) << "," << int(first.a);
        }
    }
}

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

// A noisy grade field beside its smoothed copy, each with a shell and a section.
TEST(SampleScenes, TheSmoothedFieldIsDrawnSmootherBesideTheRawOne)
{
    const Drawn drawn = DrawSample("filters.json", "400x200");
    const long raw = Triangles(drawn.stats, "Raw shell"), smoothed = Triangles(drawn.stats, "Smoothed shell");
    EXPECT_GT(smoothed, 0) << drawn.stats;
    EXPECT_LT(smoothed * 3, raw) << "the noise breaks the raw shell into many pieces";

    // The raw field on the left, its smoothed copy on the right.
    const double left = Roughness(drawn.image, 0, 200), right = Roughness(drawn.image, 200, 400);
    EXPECT_GT(right, 0.0);
    EXPECT_GT(left, 2.0 * right) << left << " against " << right;
}

} // namespace
