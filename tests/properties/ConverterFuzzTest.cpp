// Random and mutated texts against every text reader of the property system and
// the colour-map loader: each text converts or is refused with an error, and
// nothing crashes. Fixed seeds, so a failure repeats.
#include "core/graphics/VbColorMap.h"
#include "core/properties/VbPropertyConverter.h"
#include "core/properties/VbPropertyConverterFactory.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

using namespace core;

namespace {

const std::vector<std::string>& Seeds()
{
    static const std::vector<std::string> seeds = {
        "true", "off", "255 0 0 300", "Dark Slate Gray", "red", "0.3333333333", "-1e308", "2147483647",
        "-9223372036854775808", "4294967295", "1 2.5 -3", "1 2 3 4", "0.1 0.2 0.3", "0x1F", " spaced ",
        "Rainbow", "GrayScale:", "Mine:ColorMap 2 0 2 0\n0 10 20 30\n1 200 210 220\n",
        "ColorMap 2 9 3 2\n0 0 0 255\n0.5 0 255 0\n1 255 0 0\n0 0.2\n1 0.9\n",
        "ColorMap 2 0 3 0\n0 0 0 0\n0.5 128 128 128\n1 255 255 255\n",
        "ColorMap 2\n0 0 0 255 255\n50 0 255 0 128\n100 255 0 0 0\n",
        "Anomaly:ColorMap 2 4 2 3\n0 0 0 255\n1 255 0 0\n0 1\n0.5 0\n1 1\n",
    };
    return seeds;
}

// Pieces that tend to reach the corners of number and line parsing.
const char* const kPieces[] = {"\n", " ", "\t", ":", "-", "+", ".", "e", "E", "0", "1", "9", "255", "256", "-1",
                               "1e308", "1e-320", "nan", "inf", "0x", "99999999999999999999", "ColorMap ",
                               "ColorMap 1\n", "ColorMap 3", "2147483648", "-2147483649", "\r\n", "%s%n", "\xff"};

class TextMutator {
public:
    TextMutator(unsigned seed, size_t maxEdits) : m_Random(seed), m_MaxEdits(maxEdits) {}

    std::string Next()
    {
        if (Pick(5) == 0)
            return RandomText();
        std::string text = Seeds()[Pick(Seeds().size())];
        const size_t edits = 1 + Pick(m_MaxEdits);
        for (size_t i = 0; i < edits; ++i)
            Mutate(text);
        return text;
    }

private:
    size_t Pick(size_t count) { return std::uniform_int_distribution<size_t>(0, count - 1)(m_Random); }

    std::string RandomText()
    {
        std::string text(Pick(64), '\0');
        for (char& c : text)
            c = static_cast<char>(Pick(256));
        return text;
    }

    void Mutate(std::string& text)
    {
        const size_t at = text.empty() ? 0 : Pick(text.size() + 1);
        switch (Pick(5)) {
        case 0: // flip a byte
            if (!text.empty())
                text[Pick(text.size())] = static_cast<char>(Pick(256));
            break;
        case 1: // insert a piece
            text.insert(at, kPieces[Pick(sizeof kPieces / sizeof kPieces[0])]);
            break;
        case 2: // cut a run
            text.erase(at, Pick(8));
            break;
        case 3: // repeat a run
            text.insert(at, text.substr(at, Pick(16)));
            break;
        default: // truncate
            text.resize(at);
            break;
        }
    }

    std::mt19937 m_Random;
    size_t m_MaxEdits;
};

constexpr int kTextCount = 3000;

} // namespace

TEST(ConverterFuzz, EveryConverterConvertsOrRefuses)
{
    VbPropertyConverterFactory::EnsureFactoriesAreInitialized();
    std::vector<std::unique_ptr<VbPropertyConverter>> converters;
    for (unsigned char key = 1; key <= 13; ++key)
        converters.push_back(VbPropertyConverterFactory::Construct(key));

    TextMutator mutator(20240611u, 4);
    int converted = 0;
    for (int i = 0; i < kTextCount; ++i) {
        const std::string text = mutator.Next();
        for (size_t k = 0; k < converters.size(); ++k) {
            boost::any value;
            try {
                if (converters[k]->FromString(text, value)) {
                    ++converted;
                    // What converted has a text form again.
                    converters[k]->ToString(value);
                }
            } catch (const std::exception& e) {
                ADD_FAILURE() << "key " << k + 1 << " raised \"" << e.what() << "\" for " << testing::PrintToString(text);
            }
        }
    }
    EXPECT_GT(converted, kTextCount) << "the mutations should keep many texts convertible";
}

TEST(ConverterFuzz, ColorMapLoadSucceedsOrLeavesTheMapAlone)
{
    // Few edits per text, so that a fair share still loads.
    TextMutator mutator(7919u, 2);
    const VbColorMap original("Original", 0, 256);
    const shr::GString originalText = original.ToString();
    int loaded = 0;
    for (int i = 0; i < kTextCount; ++i) {
        std::string text = mutator.Next();
        // Start most texts at the header, as a stored map does.
        const size_t header = text.find("ColorMap");
        if (header != std::string::npos && i % 4 != 0)
            text.erase(0, header);
        VbColorMap map = original;
        std::istringstream in(text);
        try {
            map.Load("no-such-colormap-file.map", in, false);
            ++loaded;
            std::ostringstream saved;
            map.Save(saved);
        } catch (const shr::Exception&) {
            EXPECT_EQ(map.ToString(), originalText) << "a failed load changed the map: " << testing::PrintToString(text);
        } catch (const std::exception& e) {
            ADD_FAILURE() << "raised \"" << e.what() << "\" for " << testing::PrintToString(text);
        }
    }
    EXPECT_GT(loaded, 0);
}
