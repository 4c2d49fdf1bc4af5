#include "core/graphics/VbColorMap.h"
#include "core/graphics/VbColorMapTable.h"

#include "shr/Exception.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using core::VbColorMap;

namespace {

// Seeds of valid text in each dialect, and pieces that mutations splice in.
testsupport::TextMutator Mutator()
{
    return testsupport::TextMutator(
        20240611,
        {"ColorMap 2 3 3 2\n0 0 0 0\n0.5 10 20 30\n1 255 255 255\n0 0.5\n1 1\n",
         "ColorMap 2 0\n0 0 0 0 0\n50 1 2 3 100\n100 255 255 255 255\n",
         "ColorMap 2 9 2 0\n               0   0   0 255\n               1 255   0   0\n",
         "Anomaly:ColorMap 2 4 2 3\n0 0 0 255\n1 255 0 0\n0 1\n0.5 0\n1 1\n"},
        {"\n", " ", "-", "0", "1", "9", ".", "e308", "nan", "inf", "ColorMap", "2", "255", "100", "-1", "1e-320",
         "\t", "#", "\r\n", "99999999999", "ColorMap 1\n", ":"},
        2);
}

} // namespace

// Every text either loads into a map with both end nodes or raises
// shr::Exception and leaves the map alone; none may crash or hang.
TEST(VbColorMapFuzz, LoadSurvivesRandomAndMutatedText)
{
    testsupport::TextMutator mutator = Mutator();
    const VbColorMap reference("Reference", 1, 16);
    int loaded = 0, failed = 0;
    for (int round = 0; round < 4000; ++round) {
        std::string text = mutator.Next();
        // Start most texts at the header, as a stored map does.
        const size_t header = text.find("ColorMap");
        if (header != std::string::npos && round % 4 != 0)
            text.erase(0, header);
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
