#include "core/graphics/VbColorMap.h"
#include "core/graphics/VbColorMapTable.h"

#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

using core::VbColorMap;

namespace {

// Seeds of valid text in each dialect, and pieces that mutations splice in.
const std::vector<std::string> kSeeds = {
    "ColorMap 2 3 3 2\n0 0 0 0\n0.5 10 20 30\n1 255 255 255\n0 0.5\n1 1\n",
    "ColorMap 2 0\n0 0 0 0 0\n50 1 2 3 100\n100 255 255 255 255\n",
    "ColorMap 2 9 2 0\n               0   0   0 255\n               1 255   0   0\n",
};
const std::vector<std::string> kPieces = {"\n", " ", "-", "0", "1", "9", ".", "e308", "nan", "inf", "ColorMap",
                                          "2", "255", "100", "-1", "1e-320", "\t", "#", "\r\n", "99999999999"};

std::string Mutate(std::string text, std::mt19937& random)
{
    const int edits = 1 + static_cast<int>(random() % 4);
    for (int i = 0; i < edits; ++i) {
        const size_t at = text.empty() ? 0 : random() % (text.size() + 1);
        switch (random() % 4) {
        case 0: // delete a run
            text.erase(at, random() % 8);
            break;
        case 1: // insert a piece
            text.insert(at, kPieces[random() % kPieces.size()]);
            break;
        case 2: // overwrite a byte with anything
            if (at < text.size())
                text[at] = static_cast<char>(random() % 256);
            break;
        default: // duplicate a run (long lines, repeated nodes)
            text.insert(at, text.substr(at, random() % 300));
            break;
        }
    }
    return text;
}

std::string RandomText(std::mt19937& random)
{
    std::string text = "ColorMap ";
    const size_t length = random() % 200;
    for (size_t i = 0; i < length; ++i)
        text += static_cast<char>(random() % 128);
    return text;
}

} // namespace

// Every text either loads into a map with both end nodes or raises
// shr::Exception and leaves the map alone; none may crash or hang.
TEST(VbColorMapFuzz, LoadSurvivesRandomAndMutatedText)
{
    std::mt19937 random(20240611);
    const VbColorMap reference("Reference", 1, 16);
    int loaded = 0, failed = 0;
    for (int round = 0; round < 4000; ++round) {
        const std::string text =
            round % 5 == 0 ? RandomText(random) : Mutate(kSeeds[random() % kSeeds.size()], random);
        VbColorMap map = reference;
        std::istringstream in(text);
        try {
            map.Load("fuzz", in, false);
            ++loaded;
            ASSERT_GE(map.GetColorCount(), 2u) << text;
            EXPECT_EQ(map[0].pos, 0.0);
            EXPECT_EQ(map[map.GetColorCount() - 1].pos, 1.0);
            map.PosToColor(0.5);
            std::ostringstream saved;
            map.Save(saved);
        } catch (const shr::Exception& e) {
            ++failed;
            EXPECT_FALSE(e.Message().empty());
            ASSERT_TRUE(map.Equivalent(reference, true)) << text;
            ASSERT_STREQ(map.GetName(), "Reference");
        }
        VbColorMap parsed;
        VbColorMap::FromString("Fuzzed:" + text, parsed);
        std::istringstream catalogue("#ColorMap 1.0\nFuzzed\n" + text);
        try {
            core::VbColorMapTable::Read("fuzz", catalogue);
        } catch (const shr::Exception&) {
        }
    }
    // Both outcomes must actually be exercised.
    EXPECT_GT(loaded, 100);
    EXPECT_GT(failed, 100);
}
