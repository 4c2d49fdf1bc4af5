#include "core/graphics/VbColorMap.h"

#include "shr/Exception.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>

using core::VbColorMap;
using shr::Color4b;

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

// The message of the error that loading `text` raises, or "" if it loads.
std::string LoadError(VbColorMap& map, const std::string& text, const char* path = "p")
{
    std::istringstream in(text);
    return testsupport::RaisedBy([&] { map.Load(path, in, false); }).message;
}

VbColorMap Loaded(const std::string& text, const char* path = "dir/Ocean.cmap", bool nameFromPath = true)
{
    VbColorMap map;
    std::istringstream in(text);
    map.Load(path, in, nameFromPath);
    return map;
}

// A map with three colour nodes and two opacity nodes, as modules build them.
VbColorMap Sample(size_t lutSize = 256, int method = Color4b::Rgb)
{
    VbColorMap map("Sample", method, lutSize);
    map.ClearAllNodes();
    map.AddColorNode(0.0, Color4b(0, 0, 255));
    map.AddColorNode(0.3, Color4b(20, 200, 40));
    map.AddColorNode(1.0, Color4b(255, 0, 0));
    map.AddOpacityNode(0.0, 0.25);
    map.AddOpacityNode(1.0, 0.75);
    return map;
}

// Serves its text and fails hard where the text ends, as a broken device
// would, instead of reporting end of input.
struct BrokenBuf : std::stringbuf {
    using std::stringbuf::stringbuf;
    int_type underflow() override
    {
        const int_type c = std::stringbuf::underflow();
        if (traits_type::eq_int_type(c, traits_type::eof()))
            throw std::runtime_error("device failure");
        return c;
    }
};

} // namespace

TEST(VbColorMap, NewMapAndNodeAccess)
{
    VbColorMap map;
    EXPECT_EQ(map.PosToColor(0.5), Color4b(128, 128, 128));
    // A new node goes after nodes of equal position.
    EXPECT_EQ(map.AddColorNode(1.0, Color4b::Red), 2u);
    EXPECT_EQ(map.AddColorNode(0.0, Color4b::Blue), 1u);
    EXPECT_TRUE(map.IsLUTStale());
    try {
        map[4];
        FAIL() << "no exception";
    } catch (const std::out_of_range& e) {
        EXPECT_STREQ(e.what(), "invalid vector<T> subscript");
    }
    // A one-entry table is never rebuilt; the empty table interpolates directly.
    EXPECT_EQ(VbColorMap(nullptr, 0, 1).PosToColor(0.7), Color4b::Black);
    EXPECT_EQ(VbColorMap(nullptr, 0, 0).PosToColor(0.25), Color4b(64, 64, 64));
}

TEST(VbColorMap, ScalingRules)
{
    VbColorMap map;
    map.SetDataLimits(10.0, 20.0);
    EXPECT_TRUE(map.GetAutoScale());
    EXPECT_EQ(map.DatToPos(15.0), 0.5);
    EXPECT_EQ(map.DatToPos(30.0), 2.0); // not clamped
    EXPECT_EQ(map.PosToDat(0.25), 12.5);

    map.PosToColor(0.0);
    map.SetScalingLimits(0.0, 100.0);
    EXPECT_FALSE(map.GetAutoScale());
    EXPECT_FALSE(map.IsLUTStale());
    map.SetDataLimits(1.0, 2.0); // the window stays while auto scale is off
    EXPECT_EQ(map.GetScaleMax(), 100.0);
    map.SetScalingLimits(1.0, 2.0); // equal to the data limits again
    EXPECT_TRUE(map.GetAutoScale());
    map.SetAutoScale(false);
    map.SetDataLimits(3.0, 4.0);
    map.SetAutoScale(true);
    EXPECT_EQ(map.GetDataRange(), std::make_pair(3.0, 4.0));
    EXPECT_EQ(map.GetScaleMin(), 3.0);
    map.SetDataLimits(kNaN, 4.0); // NaN never equals: auto scale turns off
    EXPECT_FALSE(map.GetAutoScale());

    struct Case {
        double value;
        int count, bin;
    };
    map.SetScalingLimits(0.0, 10.0);
    for (const Case& c : {Case{-1, 4, 0}, Case{0, 4, 0}, Case{2.49, 4, 0}, Case{2.5, 4, 1}, Case{9.99, 4, 3},
                          Case{10, 4, 3}, Case{50, 4, 3}, Case{kNaN, 4, 0}, Case{5, 0, -1}})
        EXPECT_EQ(map.DatToIndex(c.value, c.count), c.bin) << c.value << " in " << c.count;

    map.SetScalingLimits(5.0, 5.0); // zero width: position 0, bin 0
    EXPECT_EQ(map.DatToPos(100.0), 0.0);
    EXPECT_EQ(map.DatToIndex(100.0, 8), 0);
    EXPECT_EQ(map.DatToColor(100.0), Color4b::Black);
}

TEST(VbColorMap, TableAgreesWithDirectInterpolation)
{
    for (int method = 0; method < Color4b::InterpMethodCount; ++method) {
        const VbColorMap table = Sample(256, method);
        const VbColorMap direct = Sample(0, method);
        for (int i = 0; i <= 255; ++i) {
            const double pos = i / 255.0;
            const Color4b a = table.PosToColor(pos), b = direct.PosToColor(pos);
            EXPECT_EQ(Color4b(a.r, a.g, a.b), Color4b(b.r, b.g, b.b)) << "method " << method << " at " << i;
            EXPECT_LE(std::abs(a.a - b.a), 1) << "method " << method << " at " << i;
        }
    }
    const VbColorMap map = Sample();
    EXPECT_EQ(map.PosToColor(-3.0), map.PosToColor(0.0));
    EXPECT_EQ(map.PosToColor(0.0), Color4b(0, 0, 255, 63));
    EXPECT_EQ(map.PosToColor(7.0), Color4b(255, 0, 0, 191));
    EXPECT_EQ(map.PosToColor(kNaN), map.PosToColor(0.0));
    Sample(0).PosToColor(kNaN); // must stay inside the node list

    // Opacity nodes that begin late extrapolate in the table walk; alpha stays a byte.
    VbColorMap late = Sample();
    late.ClearOpacityNodes();
    late.AddOpacityNode(0.5, 0.0);
    late.AddOpacityNode(0.6, 1.0);
    EXPECT_EQ(late.PosToColor(0.0).a, 0);
    EXPECT_EQ(late.PosToColor(1.0).a, 255);
}

TEST(VbColorMap, SaveWritesTheTextByteForByte)
{
    VbColorMap map = Sample(256, Color4b::HsvIncreasing);
    map.AddColorNode(0.123456789012345678, Color4b(1, 22, 133));
    std::ostringstream out;
    map.Save(out);
    EXPECT_EQ(out.str(), "ColorMap 2 3 4 2\n"
                         "               0   0   0 255\n"
                         "0.12345678901235   1  22 133\n"
                         "             0.3  20 200  40\n"
                         "               1 255   0   0\n"
                         "               0             0.25\n"
                         "               1             0.75\n");
    EXPECT_EQ(map.ToString(), "Sample:" + out.str().substr(0, out.str().size() - 1));

    // One opacity node is counted but not written, and the text does not load back.
    VbColorMap single;
    single.AddOpacityNode(0.5, 0.5);
    std::ostringstream text;
    single.Save(text);
    EXPECT_EQ(text.str(), "ColorMap 2 0 2 1\n               0   0   0   0\n               1 255 255 255\n");
    VbColorMap target;
    EXPECT_EQ(LoadError(target, text.str()), "Bad format in file 'p', Line 5");
}

TEST(VbColorMap, LoadRoundTripsAndNamesTheMap)
{
    VbColorMap original = Sample(256, Color4b::LinearLight);
    original.SetDataLimits(-4.0, 9.0);
    std::ostringstream text;
    original.Save(text);

    VbColorMap map = Loaded(text.str());
    EXPECT_STREQ(map.GetName(), "Ocean");
    EXPECT_EQ(map.GetScaleMax(), 1.0); // limits come from the new map
    original.SetDataLimits(0.0, 1.0);
    EXPECT_TRUE(map.Equivalent(original, true));
    EXPECT_STREQ(Loaded(text.str(), "x", false).GetName(), "GrayScale");
}

TEST(VbColorMap, LoadFailuresLeaveTheMapUntouched)
{
    const std::string endNodes = "'p' is missing one or both of the required end nodes (at 0.0 and 1.0).";
    const std::string notValid = "'p' is not a valid colormap file.";
    const struct {
        std::string text, message;
    } cases[] = {
        {"ColorMap 2 0 2 0", notValid}, // end of input on the first line
        {"Colour 2\n", notValid},
        {"ColorMap 0\n", notValid},
        {"ColorMap " + std::string(300, '2') + "\n", notValid},
        {"ColorMap 3 0 2 0\n", "It appears 'p' was written by a newer version of the program.\n"
                               "Please upgrade to the latest version to read this file."},
        // The counter runs one line ahead after the header.
        {"ColorMap 2 10 2 0\n0 0 0 0\n1 1 1 1\n", "Bad format in file 'p', Line 2"},
        {"ColorMap 2 0 1 0\n0 0 0 0\n", "Bad format in file 'p', Line 2"},
        {"ColorMap 2 0 2\n0 0 0 0\n1 1 1 1\n", "Bad format in file 'p', Line 2"},
        {"ColorMap 2 0 2 0\n0 0 0 0\n", "Bad format in file 'p', Line 4"},
        {"ColorMap 2 0 2 0\n0 0 0 0\n1.5 0 0 0\n", "Bad format in file 'p', Line 4"},
        {"ColorMap 2 0 2 0\nnan 0 0 0\n1 0 0 0\n", "Bad format in file 'p', Line 3"},
        {"ColorMap 2 0 2 0\n0 0 256 0\n1 0 0 0\n", "Bad format in file 'p', Line 3"},
        {"ColorMap 2 0 3 0\n0 0 0 0\n0.5 1 1 1\n0.4 2 2 2\n", "Line 5 in file 'p' is out of order."},
        {"ColorMap 2 0 2 2\n0 0 0 0\n1 9 9 9\n0.5 1\n0.2 0\n", "Line 6 in file 'p' is out of order."},
        {"ColorMap 2 0 2 2\n0 0 0 0\n1 9 9 9\n0 1.01\n1 0\n", "Bad format in file 'p', Line 5"},
        {"ColorMap 2 0 2 0\n0.1 0 0 0\n1 1 1 1\n", endNodes},
        {"ColorMap 2 0 2 0\n0 0 0 0\n0.9 1 1 1\n", endNodes},
        // The five-column dialect.
        {"ColorMap 2 0\n0 1 2 3 4\n", "Colormap must contain at least two nodes."},
        {"ColorMap 2 0\n0 1 2 3 4 \n100 1 1 1 1\n", "Bad format in file 'p', Line 3"},
        {"ColorMap 2 0\n0 1 2 3\n100 1 1 1 1\n", "Bad format in file 'p', Line 3"},
        {"ColorMap 2 0\n0 1 2 3 4\n\n100 1 1 1 1\n", "Bad format in file 'p', Line 4"},
        {"ColorMap 2 0\n0 1 2 3 4\n100.5 1 1 1 1\n", "Bad format in file 'p', Line 4"},
        {"ColorMap 2 0\n0 1 2 3 4\n60 1 1 1 1\n50 1 1 1 1\n", "Line 5 in file 'p' is out of order."},
        {"ColorMap 2 0\n50 1 2 3 4\n50 1 1 1 1\n", endNodes},
    };
    for (const auto& c : cases) {
        VbColorMap map = Sample(64);
        map.SetDataLimits(2.0, 3.0);
        const VbColorMap before = map;
        EXPECT_EQ(LoadError(map, c.text), c.message) << c.text;
        EXPECT_TRUE(map.Equivalent(before, true)) << c.text;
        EXPECT_STREQ(map.GetName(), "Sample");
        EXPECT_EQ(map.GetLUTSize(), 64u);
    }

    // A read that fails hard, not at the end of input.
    VbColorMap map;
    BrokenBuf buffer("ColorMap 2 0 2 0\n0 0 0 0\n");
    std::istream in(&buffer);
    EXPECT_EQ(testsupport::RaisedText([&] { map.Load("p", in, true); }),
              "Core: Unexpected end of file while reading 'p'.");
}

TEST(VbColorMap, FiveColumnDialectNormalisesAndPrunesOpacity)
{
    const VbColorMap map = Loaded("ColorMap 2 4\n"
                                  "  10  0   0   0   0\n"
                                  "20 10 10 10 0\n"
                                  "30 20 20 20 0.4\n"
                                  "40 30 30 30 127.6\n"
                                  "50 40 40 40 128\n"
                                  "60 50 50 50 128\n"
                                  "60 60 60 60 128");
    ASSERT_EQ(map.GetColorCount(), 7u);
    EXPECT_EQ(map.GetInterpMethod(), Color4b::HsvDecreasing);
    EXPECT_EQ(map[0], VbColorMap::CNode(0.0, Color4b(0, 0, 0)));
    EXPECT_EQ(map[1].pos, 0.2);
    EXPECT_EQ(map[6], VbColorMap::CNode(1.0, Color4b(60, 60, 60, 255)));
    // Runs of equal opacity keep their first and last node; alpha rounds to a byte.
    const std::vector<VbColorMap::ONode> expected = {{0.0, 0.0}, {0.4, 0.0}, {0.6, 128 / 255.0}, {1.0, 128 / 255.0}};
    EXPECT_EQ(map.GetOpacityNodes(), expected);
}

TEST(VbColorMap, VersionOneIsReadFromThePath)
{
    const testsupport::ScratchFolder folder;
    const std::string good = folder.Write("good", "ColorMap 1 anything\n0 0 0 0\n50 127.5 0.49 3\r\n100 255 255 255");
    const std::string header = "ColorMap 1\n";
    VbColorMap map = Loaded(header, good.c_str(), true); // the stream's body is not used
    ASSERT_EQ(map.GetColorCount(), 3u);
    EXPECT_EQ(map[1], VbColorMap::CNode(0.5, Color4b(128, 0, 3)));
    EXPECT_EQ(map.GetOpacityCount(), 0u);
    EXPECT_STREQ(map.GetName(), "good");

    // A line longer than the buffer is read in pieces, each counted as a line.
    const std::string longLine =
        folder.Write("long", header + "0 0 0 0\n50 255 0 0" + std::string(260, ' ') + "\n100 255 255 255\n");
    const std::string disorder = folder.Write("disorder", header + "0 0 0 0\n60 1 1 1\n50 1 1 1\n100 1 1 1\n");
    const struct {
        std::string path, message;
    } cases[] = {
        {longLine, "Bad format in file '" + longLine + "', Line 4"},
        {disorder, "Line 4 in file '" + disorder + "' is out of order."},
    };
    for (const auto& c : cases)
        EXPECT_EQ(LoadError(map, header, c.path.c_str()), c.message);
    EXPECT_FALSE(LoadError(map, header, "").empty()); // no file behind an empty path
    EXPECT_EQ(map.GetColorCount(), 3u);
}

TEST(VbColorMap, Equivalent)
{
    const VbColorMap base = Sample();
    const struct {
        const char* what;
        void (*change)(VbColorMap&);
        bool exact, loose;
    } cases[] = {
        {"name", [](VbColorMap& m) { m.SetName("Other"); }, true, true},
        {"opacity position", [](VbColorMap& m) { m.ClearOpacityNodes(); m.AddOpacityNode(0.1, 0.25); m.AddOpacityNode(1.0, 0.75); }, false, true},
        {"opacity 1e-11", [](VbColorMap& m) { m.ClearOpacityNodes(); m.AddOpacityNode(0.0, 0.25 + 1e-11); m.AddOpacityNode(1.0, 0.75); }, false, true},
        {"opacity 1e-9", [](VbColorMap& m) { m.ClearOpacityNodes(); m.AddOpacityNode(0.0, 0.25 + 1e-9); m.AddOpacityNode(1.0, 0.75); }, false, false},
        {"opacity count", [](VbColorMap& m) { m.AddOpacityNode(0.5, 0.5); }, false, false},
        {"colour", [](VbColorMap& m) { m.AddColorNode(0.5, Color4b::Red); }, false, false},
        {"method", [](VbColorMap& m) { m.SetInterpMethod(Color4b::Smooth); }, false, false},
        {"window", [](VbColorMap& m) { m.SetScalingLimits(0.0, 2.0); }, false, false},
        {"data", [](VbColorMap& m) { m.SetAutoScale(false); m.SetDataLimits(0.0, 2.0); }, false, false},
        {"auto scale", [](VbColorMap& m) { m.SetAutoScale(false); }, false, false},
    };
    for (const auto& c : cases) {
        VbColorMap other = base;
        c.change(other);
        EXPECT_EQ(base.Equivalent(other, true), c.exact) << c.what;
        EXPECT_EQ(other.Equivalent(base, false), c.loose) << c.what;
    }
    // Tables count only when both are fresh.
    VbColorMap small = Sample(16);
    EXPECT_TRUE(small.Equivalent(base, true));
    small.PosToColor(0.0);
    EXPECT_TRUE(small.Equivalent(base, true));
    base.PosToColor(0.0);
    EXPECT_FALSE(small.Equivalent(base, true));
    EXPECT_TRUE(Sample().Equivalent(base, true));
}

TEST(VbColorMap, SerializeRoundTripAndDamagedArchive)
{
    VbColorMap original = Sample(256, Color4b::HsvLongest);
    original.SetDataLimits(-1.5, 8.0);
    original.SetScalingLimits(0.0, 4.0);
    const std::vector<unsigned char> bytes = testsupport::ExpectRoundTrip(original, {1, 10});
    // The table keeps its own size and is built again.
    VbColorMap loaded(nullptr, 0, 32);
    loaded.PosToColor(0.5);
    testsupport::Load(loaded, bytes);
    EXPECT_TRUE(loaded.IsLUTStale());
    EXPECT_EQ(loaded.GetLUTSize(), 32u);
    EXPECT_TRUE(loaded.Equivalent(original, true));
}
