#include "core/graphics/VbColorMapTable.h"

#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>

using core::VbColorMap;
using core::VbColorMapTable;
using shr::Color4b;

namespace {

std::string ReadError(const std::string& text)
{
    std::istringstream in(text);
    return testsupport::RaisedBy([&] { VbColorMapTable::Read("cat.ini", in); }).message;
}

} // namespace

// The maps that property texts, scene files and module defaults name.
TEST(VbColorMapTable, CatalogueHoldsTheExpectedMaps)
{
    const VbColorMapTable& table = VbColorMapTable::Instance();
    for (const char* name : {"GrayScale", "GrayInverted", "Rainbow", "Spectrum", "Perceptual", "Diverging",
                             "Seismic", "Topographic", "Bathymetry", "Terrain", "Heat", "Cool", "Hue", "Magnetic",
                             "Bands", "VolumeFire"})
        EXPECT_GE(table.Find(name), 0) << name;
    EXPECT_EQ(table.Find("rAINBOW"), table.Find("Rainbow"));
    EXPECT_EQ(table.Find("NoSuchMap"), -1);
    EXPECT_EQ(table.Find(nullptr), -1);
    EXPECT_THROW(table[table.size()], std::out_of_range);

    for (auto it = table.begin(); it != table.end(); ++it) {
        const VbColorMap& map = *it;
        const int index = static_cast<int>(it - table.begin());
        EXPECT_EQ(table.Find(map.GetName()), index) << "duplicate name " << map.GetName();
        ASSERT_GE(map.GetColorCount(), 2u) << map.GetName();
        EXPECT_EQ(map[0].pos, 0.0) << map.GetName();
        EXPECT_EQ(map[map.GetColorCount() - 1].pos, 1.0) << map.GetName();
        EXPECT_EQ(map.GetLUTSize(), 256u);
        // Each survives its own text.
        std::stringstream text;
        map.Save(text);
        VbColorMap parsed;
        parsed.Load("", text, false);
        EXPECT_TRUE(parsed.Equivalent(map, true)) << map.GetName();
    }
    const VbColorMap& gray = table[static_cast<size_t>(table.Find("GrayScale"))];
    EXPECT_EQ(gray.PosToColor(1.0), Color4b::White);
    const VbColorMap& fire = table[static_cast<size_t>(table.Find("VolumeFire"))];
    EXPECT_EQ(fire.PosToColor(0.1).a, 0);
    EXPECT_GT(fire.PosToColor(1.0).a, 200);
}

// A catalogue name wins over whatever stands behind the colon; a failure
// leaves the target as it was.
TEST(VbColorMapTable, StringForm)
{
    const VbColorMapTable& table = VbColorMapTable::Instance();
    VbColorMap mine("Mine", Color4b::Smooth, 256);
    mine.AddOpacityNode(0.0, 0.5);
    mine.AddOpacityNode(1.0, 1.0);
    const std::string body = mine.ToString().substr(5);
    VbColorMap map;
    ASSERT_TRUE(VbColorMap::FromString("  rainbow :" + body, map));
    EXPECT_TRUE(map.Equivalent(table[static_cast<size_t>(table.Find("Rainbow"))], true));
    ASSERT_TRUE(VbColorMap::FromString(" Mine :" + body, map));
    EXPECT_STREQ(map.GetName(), "Mine");
    EXPECT_TRUE(map.Equivalent(mine, true));
    for (const std::string text :
         {"Unknown:", "Unknown:ColorMap 2 0 1 0\n0 0 0 0", "Unknown:ColorMap 1\n0 0 0 0\n100 1 1 1\n"}) {
        EXPECT_FALSE(VbColorMap::FromString(text, map)) << text;
        EXPECT_STREQ(map.GetName(), "Mine");
    }
}

TEST(VbColorMapTable, CatalogueTextErrors)
{
    const std::string map = "ColorMap 2 0 2 0\n0 0 0 0\n1 255 255 255\n";
    std::istringstream in("#ColorMap 1.0 sample\n\n  # comment\n  First  \n" + map + "Second\n" + map);
    const std::vector<VbColorMap> maps = VbColorMapTable::Read("cat.ini", in);
    ASSERT_EQ(maps.size(), 2u);
    EXPECT_STREQ(maps[0].GetName(), "First");
    EXPECT_EQ(maps[1][1].color, Color4b::White);

    const struct {
        std::string text, message;
    } cases[] = {
        {"", "Bad format in file 'cat.ini', Line 1"},
        {"#ColorMap 1.0", "Bad format in file 'cat.ini', Line 1"},
        {"#ColorMap 0.9\n" + map, "Bad format in file 'cat.ini', Line 1"},
        // The counter runs on from the catalogue's own lines, one ahead after each header.
        {"#ColorMap 1.0\nA\nColorMap 2 0 2 0\n0 0 0 0\n2 0 0 0\n", "Bad format in file 'cat.ini', Line 6"},
        {"#ColorMap 1.0\nA\n" + map + "B\nColorMap 2 0 2 0\n0 0 0 0\n0 0 0\n", "Bad format in file 'cat.ini', Line 11"},
        {"#ColorMap 1.0\nA\n", "Bad format in file 'cat.ini', Line 4"},
        {"#ColorMap 1.0\n#" + std::string(300, '-') + "\nA\n" + map, "Bad format in file 'cat.ini', Line 2"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ReadError(c.text), c.message) << c.text;
}
