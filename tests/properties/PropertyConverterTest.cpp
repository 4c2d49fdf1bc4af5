// Property converters, their factory, and the registry of public property names.
#include "core/properties/VbColorMapPair.h"
#include "core/properties/VbPropertyConverter.h"
#include "core/properties/VbPropertyConverterFactory.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbRect.h"
#include "shr/Color4b.h"
#include "shr/Exception.h"
#include "shr/Point.h"
#include "shr/Vec3.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <functional>
#include <locale>
#include <memory>
#include <string>

using namespace core;

namespace {

std::unique_ptr<VbPropertyConverter> Converter(unsigned char key)
{
    VbPropertyConverterFactory::EnsureFactoriesAreInitialized();
    std::unique_ptr<VbPropertyConverter> converter = VbPropertyConverterFactory::Construct(key);
    EXPECT_TRUE(converter) << "no converter for key " << int(key);
    return converter;
}

// The message and label of the shr::Exception that `action` raises.
std::string RaisedText(const std::function<void()>& action)
{
    try {
        action();
    } catch (const shr::Exception& e) {
        return e.Component() + ": " + e.Message();
    }
    return "nothing raised";
}

// Groups digits by threes with ',' while it is installed as the global locale.
struct GroupingPunct : std::numpunct<char> {
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
};

class GlobalLocaleGuard {
public:
    explicit GlobalLocaleGuard(const std::locale& locale) : m_Previous(std::locale::global(locale)) {}
    ~GlobalLocaleGuard() { std::locale::global(m_Previous); }

private:
    std::locale m_Previous;
};

const char* const kSmallMapText = "Mine:ColorMap 2 0 2 0\n0 10 20 30\n1 200 210 220\n";

} // namespace

TEST(PropertyConverterFactory, ServesKeysOneToThirteen)
{
    VbPropertyConverterFactory::EnsureFactoriesAreInitialized();
    VbPropertyConverterFactory::EnsureFactoriesAreInitialized(); // a second call adds nothing
    EXPECT_EQ(VbPropertyConverterFactory::size(), 13u);
    for (unsigned key = 1; key <= 13; ++key)
        EXPECT_TRUE(VbPropertyConverterFactory::CanConstruct(static_cast<unsigned char>(key))) << key;
    for (unsigned char key : {0, 14, 255}) {
        EXPECT_FALSE(VbPropertyConverterFactory::CanConstruct(key));
        EXPECT_EQ(VbPropertyConverterFactory::Construct(key), nullptr);
    }
}

TEST(PropertyConverter, ValuesToText)
{
    struct Row {
        unsigned char key;
        boost::any value;
        const char* text;
    } rows[] = {
        {1, 3.5, ""},
        {2, true, "true"},
        {2, false, "false"},
        {3, shr::Color4b(255, 128, 0, 7), "255 128 0 7"},
        {5, 1.0, "1"},
        {5, 1.0 / 3.0, "0.3333333333"},
        {5, -2.5e-300, "-2.5e-300"},
        {6, INT_MIN, "-2147483648"},
        {7, int64_t(INT64_MIN), "-9223372036854775808"},
        {8, shr::Point3<double>(1, -2.5, 1234567.891), "1 -2.5 1.23457e+06"},
        {9, VbRect(-1, 2, 300, 4000), "-1 2 300 4000"},
        {10, shr::GString(" spaced  text "), " spaced  text "},
        {11, 4294967295u, "4294967295"},
        {12, 5000000000ul, "5000000000"},
        {13, shr::Vec3d(0.1, 1.0 / 3.0, -1e10), "0.1 0.3333333333 -1e+10"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Converter(row.key)->ToString(row.value), row.text) << "key " << int(row.key);
}

TEST(PropertyConverter, WrongValueTypeIsTheTypeError)
{
    for (unsigned key = 2; key <= 13; ++key) {
        const auto converter = Converter(static_cast<unsigned char>(key));
        for (const boost::any& wrong : {boost::any(), boost::any(shr::Color4b()), boost::any(short(1))}) {
            if (key == 3 && wrong.type() == typeid(shr::Color4b))
                continue;
            EXPECT_EQ(RaisedText([&] { converter->ToString(wrong); }),
                      "Core: Invalid property type conversion requested.")
                << "key " << key;
        }
    }
}

TEST(PropertyConverter, TextToValues)
{
    const boost::any untouched = std::string("untouched");
    struct Row {
        unsigned char key;
        const char* text;
        bool ok;
        boost::any expected; // compared through its text form
    } rows[] = {
        // Any: always true, nothing changes.
        {1, "anything", true, untouched},
        // Bool: the words of the shared library.
        {2, " Yes ", true, true},
        {2, "off", true, false},
        {2, "maybe", false, untouched},
        // Colour: four numbers each clamped to 255, else a colour name.
        {3, "255 0 0 300", true, shr::Color4b(255, 0, 0, 255)},
        {3, "  1\t2\n3 4 trailing", true, shr::Color4b(1, 2, 3, 4)},
        {3, "-1 0 -0 99999999999999999999", true, shr::Color4b(255, 0, 0, 255)},
        {3, "red", true, shr::Color4b(255, 0, 0, 255)},
        {3, "Dark Slate Gray", true, shr::Color4b(47, 79, 79, 255)},
        {3, "1 2 3", false, untouched},
        {3, "", false, untouched},
        {3, "no such colour", false, untouched},
        // Double.
        {5, " -3.5e2 ", true, -350.0},
        {5, "1e999", false, untouched},
        {5, "1.5x", false, untouched},
        // Integers: plain text, whole and in range.
        {6, "0x1F", true, 31},
        {6, "2147483648", false, untouched},
        {7, "-9223372036854775808", true, int64_t(INT64_MIN)},
        {11, "4294967295", true, 4294967295u},
        {11, "-1", false, untouched},
        {12, "4294967295", true, 4294967295ul},
        {12, "4294967296", false, untouched}, // read as unsigned int, then widened
        // Point: three numbers and nothing else.
        {8, "  1 2.5 -3  ", true, shr::Point3<double>(1, 2.5, -3)},
        {8, "1 2 3 4", false, untouched},
        {8, "1 2", false, untouched},
        {8, "1 2 x", false, untouched},
        // Rectangle: four integers and nothing else.
        {9, "1 2 3 4", true, VbRect(1, 2, 3, 4)},
        {9, "1 2 3 4 5", false, untouched},
        {9, "1 2 3 4.5", false, untouched},
        {9, "1 2 3 99999999999", false, untouched},
        // String: the text itself.
        {10, "", true, shr::GString()},
        // Vector: three numbers at float precision; trailing text is ignored.
        {13, "0.1 0.2 0.3 extra", true, shr::Vec3d(0.1f, 0.2f, 0.3f)},
        {13, "1 2", false, untouched},
        {13, "", false, untouched},
    };
    for (const Row& row : rows) {
        const auto converter = Converter(row.key);
        boost::any value = untouched;
        EXPECT_EQ(converter->FromString(row.text, value), row.ok) << "key " << int(row.key) << ": " << row.text;
        if (row.expected.type() == untouched.type()) {
            EXPECT_EQ(value.type(), untouched.type()) << "key " << int(row.key) << ": " << row.text;
            continue;
        }
        ASSERT_EQ(value.type(), row.expected.type()) << "key " << int(row.key) << ": " << row.text;
        EXPECT_EQ(converter->ToString(value), converter->ToString(row.expected))
            << "key " << int(row.key) << ": " << row.text;
    }
}

TEST(PropertyConverter, VectorComesBackAtFloatPrecision)
{
    const auto converter = Converter(13);
    const shr::Vec3d original(0.1, 1.0 / 3.0, 123456.789012);
    boost::any value;
    ASSERT_TRUE(converter->FromString(converter->ToString(original), value));
    const shr::Vec3d back = boost::any_cast<shr::Vec3d>(value);
    EXPECT_EQ(back, shr::Vec3d(0.1f, float(1.0 / 3.0), 123456.789012f));
    EXPECT_NE(back, original);
    // Ten digits go out again, not the float's shortest text.
    EXPECT_EQ(converter->ToString(value), "0.1000000015 0.3333333433 123456.7891");
}

TEST(PropertyConverter, IntegerTextFollowsTheGlobalGrouping)
{
    const GlobalLocaleGuard guard(std::locale(std::locale::classic(), new GroupingPunct));
    struct Row {
        unsigned char key;
        boost::any value;
        const char* text;
    } rows[] = {
        {6, -1234567, "-1,234,567"},
        {7, int64_t(10000000000), "10,000,000,000"},
        {11, 1234u, "1,234"},
        {12, 999ul, "999"},
    };
    for (const Row& row : rows) {
        const auto converter = Converter(row.key);
        EXPECT_EQ(converter->ToString(row.value), row.text) << "key " << int(row.key);
        // Reading takes plain digits only: grouped text does not come back.
        boost::any value = row.value;
        EXPECT_EQ(converter->FromString(row.text, value), std::string(row.text).find(',') == std::string::npos)
            << "key " << int(row.key);
    }
    // Doubles are printf text and stay ungrouped.
    EXPECT_EQ(Converter(5)->ToString(1234567.0), "1234567");
}

TEST(PropertyConverter, ColorMapByCatalogueNameOrStoredText)
{
    const auto converter = Converter(4);
    boost::any value;

    ASSERT_TRUE(converter->FromString("  rainbow ", value)) << "a catalogue name needs no body";
    const VbColorMapPair& rainbow = boost::any_cast<const VbColorMapPair&>(value);
    EXPECT_STREQ(rainbow.first.GetName(), "Rainbow");
    EXPECT_TRUE(rainbow.second.empty());

    ASSERT_TRUE(converter->FromString("GrayScale:this body is ignored", value));
    EXPECT_STREQ(boost::any_cast<const VbColorMapPair&>(value).first.GetName(), "GrayScale");

    ASSERT_TRUE(converter->FromString(kSmallMapText, value));
    const VbColorMap mine = boost::any_cast<const VbColorMapPair&>(value).first;
    EXPECT_STREQ(mine.GetName(), "Mine");
    ASSERT_EQ(mine.GetColorCount(), 2u);
    EXPECT_EQ(mine[1].color, shr::Color4b(200, 210, 220));

    // The text form reads back to the same map.
    const shr::GString text = converter->ToString(VbColorMapPair(mine, {5, 6}));
    EXPECT_EQ(text.substr(0, 5), "Mine:");
    EXPECT_NE(text.back(), '\n') << "trailing white space is trimmed";
    boost::any again;
    ASSERT_TRUE(converter->FromString(text, again));
    EXPECT_EQ(converter->ToString(again), text);

    // Failures leave the value empty.
    for (const char* bad : {"NoSuchMap", "NoSuchMap:", "NoSuchMap:ColorMap 3 0 2 0\n0 0 0 0\n1 1 1 1\n",
                            "NoSuchMap:ColorMap 2 0 2 0\n0.5 0 0 0\n1 1 1 1\n", "NoSuchMap:not a map", ""}) {
        value = VbColorMapPair(mine, {});
        EXPECT_FALSE(converter->FromString(bad, value)) << bad;
        EXPECT_TRUE(value.empty()) << bad;
    }
}

// A key registered the way each module registers its own.
static const VbPropertyRegistrar s_StaticTestKey("TestStaticRegistration", 42, 5);

TEST(PropertyRegistry, SetGetHasAndTheirErrors)
{
    VbPropertyRegistry& registry = VbPropertyRegistry::Instance();
    EXPECT_TRUE(registry.Has("teststaticregistration")) << "static registration, case-insensitive look-up";
    EXPECT_EQ(registry.Get("TestStaticRegistration").id, 42);
    EXPECT_EQ(registry.Get("TestStaticRegistration").converterKey, 5);

    registry.Set("TestRegistryAlpha", 7, 11);
    const PropertyRegistryPair alpha = registry.Get("TESTREGISTRYALPHA");
    EXPECT_EQ(alpha.id, 7);
    EXPECT_EQ(alpha.converterKey, 11);
    const PropertyRegistryPair none = registry.Get("TestRegistryAbsent");
    EXPECT_EQ(none.id, 0);
    EXPECT_EQ(none.converterKey, 0);
    EXPECT_FALSE(registry.Has("TestRegistryAbsent"));

    const size_t before = registry.size();
    struct Row {
        std::function<void()> action;
        const char* text;
    } rows[] = {
        {[&] { registry.Set("TestRegistryBeta", 1, 0); }, "Core: Property converter key must be valid."},
        {[&] { registry.Set("TestRegistryBeta", 1, 14); }, "Core: Property converter key must be valid."},
        {[&] { registry.Set("", 1, 2); }, "Core: Item name must be non-empty."},
        {[&] { registry.Set("testregistryalpha", 8, 2); }, "Core: Item name must be unique."},
        {[&] { registry.Get(""); }, "Core: Item name must be non-empty."},
        {[&] { registry.Has(""); }, "Core: Item name must be non-empty."},
    };
    for (const Row& row : rows)
        EXPECT_EQ(RaisedText(row.action), row.text);
    EXPECT_EQ(registry.size(), before);
    EXPECT_EQ(registry.Get("TestRegistryAlpha").id, 7) << "a refused duplicate keeps the first entry";
}
