// Property converters, their factory, the typed records that use them and the
// registry of public property names. Random texts reach the converters through
// the property fuzz target.
#include "core/properties/VbAnyProperty.h"
#include "core/properties/VbColorMapPair.h"
#include "core/properties/VbHeaderProperty.h"
#include "core/properties/VbPropertyConverter.h"
#include "core/properties/VbPropertyConverterFactory.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbRect.h"
#include "core/properties/VbTypedProperty.h"
#include "shr/Point.h"
#include "shr/Vec3.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <locale>
#include <memory>
#include <string>
#include <vector>

using namespace core;
using testsupport::RaisedText;

namespace {

const char* const kTypeError = "Core: Invalid property type conversion requested.";

std::unique_ptr<VbPropertyConverter> Converter(unsigned char key)
{
    VbPropertyConverterFactory::EnsureFactoriesAreInitialized();
    std::unique_ptr<VbPropertyConverter> converter = VbPropertyConverterFactory::Construct(key);
    EXPECT_TRUE(converter) << "no converter for key " << int(key);
    return converter;
}

// Groups digits by threes with ',' while it is installed as the global locale.
struct GroupingPunct : std::numpunct<char> {
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
};

} // namespace

TEST(PropertyConverter, FactoryServesKeysOneToThirteenAndValuesGoToText)
{
    VbPropertyConverterFactory::EnsureFactoriesAreInitialized();
    VbPropertyConverterFactory::EnsureFactoriesAreInitialized(); // a second call adds nothing
    EXPECT_EQ(VbPropertyConverterFactory::size(), 13u);
    for (unsigned char key : {0, 14, 255})
        EXPECT_EQ(VbPropertyConverterFactory::Construct(key), nullptr);
    struct Row {
        unsigned char key;
        boost::any value;
        const char* text;
    } rows[] = {
        {1, 3.5, ""},
        {2, false, "false"},
        {3, shr::Color4b(255, 128, 0, 7), "255 128 0 7"},
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
    // Any other value type is the type error.
    for (unsigned key = 2; key <= 13; ++key)
        for (const boost::any& wrong : {boost::any(), boost::any(short(1))})
            EXPECT_EQ(RaisedText([&] { Converter(static_cast<unsigned char>(key))->ToString(wrong); }), kTypeError)
                << "key " << key;
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
        {1, "anything", true, untouched}, // any: always true, nothing changes
        {2, " Yes ", true, true},
        {2, "maybe", false, untouched},
        // Colour: four numbers each clamped to 255, else a colour name.
        {3, "255 0 256 300", true, shr::Color4b(255, 0, 255, 255)},
        {3, "  1\t2\n3 4 trailing", true, shr::Color4b(1, 2, 3, 4)},
        {3, "-1 0 -0 99999999999999999999", true, shr::Color4b(255, 0, 0, 255)},
        {3, "Dark Slate Gray", true, shr::Color4b(47, 79, 79, 255)},
        {3, "1 2 3", false, untouched},
        {3, "", false, untouched},
        {3, "no such colour", false, untouched},
        {5, " -3.5e2 ", true, -350.0},
        {5, "1e999", false, untouched},
        {5, "1.5x", false, untouched},
        // Integers: plain text, whole and in range.
        {6, "0x1F", true, 31},
        {6, "2147483648", false, untouched},
        {7, "-9223372036854775808", true, int64_t(INT64_MIN)},
        {11, "-1", false, untouched},
        {12, "4294967296", false, untouched}, // read as unsigned int, then widened
        // Point and rectangle: their numbers and nothing else.
        {8, "  1 2.5 -3  ", true, shr::Point3<double>(1, 2.5, -3)},
        {8, "1 2 3 4", false, untouched},
        {8, "1 2 x", false, untouched},
        {9, "1 2 3 4", true, VbRect(1, 2, 3, 4)},
        {9, "1 2 3 4.5", false, untouched},
        {9, "1 2 3 99999999999", false, untouched},
        {10, "", true, shr::GString()},
        // Vector: three numbers at float precision; trailing text is ignored.
        {13, "0.1 0.2 0.3 extra", true, shr::Vec3d(0.1f, 0.2f, 0.3f)},
        {13, "1 2", false, untouched},
    };
    for (const Row& row : rows) {
        const auto converter = Converter(row.key);
        boost::any value = untouched;
        const std::string what = "key " + std::to_string(row.key) + ": " + row.text;
        EXPECT_EQ(converter->FromString(row.text, value), row.ok) << what;
        ASSERT_EQ(value.type(), row.expected.type()) << what;
        if (row.expected.type() != untouched.type()) {
            EXPECT_EQ(converter->ToString(value), converter->ToString(row.expected)) << what;
        }
    }
    // Ten digits of a vector go out again, not the float's shortest text.
    boost::any vector;
    ASSERT_TRUE(Converter(13)->FromString(Converter(13)->ToString(shr::Vec3d(0.1, 1.0 / 3.0, 123456.789012)), vector));
    EXPECT_EQ(Converter(13)->ToString(vector), "0.1000000015 0.3333333433 123456.7891");
}

TEST(PropertyConverter, IntegerTextFollowsTheGlobalGrouping)
{
    const std::locale previous = std::locale::global(std::locale(std::locale::classic(), new GroupingPunct));
    struct Row {
        unsigned char key;
        boost::any value;
        const char* text;
    } rows[] = {{6, -1234567, "-1,234,567"}, {7, int64_t(10000000000), "10,000,000,000"}, {11, 1234u, "1,234"}};
    for (const Row& row : rows) {
        EXPECT_EQ(Converter(row.key)->ToString(row.value), row.text) << "key " << int(row.key);
        boost::any value = row.value;
        EXPECT_FALSE(Converter(row.key)->FromString(row.text, value)) << "grouped text does not come back";
    }
    EXPECT_EQ(Converter(5)->ToString(1234567.0), "1234567") << "doubles are printf text and stay ungrouped";
    std::locale::global(previous);
}

TEST(PropertyConverter, ColorMapByCatalogueNameOrStoredText)
{
    const auto converter = Converter(4);
    boost::any value;
    ASSERT_TRUE(converter->FromString("  rainbow ", value)) << "a catalogue name needs no body";
    EXPECT_STREQ(boost::any_cast<const VbColorMapPair&>(value).first.GetName(), "Rainbow");
    ASSERT_TRUE(converter->FromString("GrayScale:this body is ignored", value));
    EXPECT_STREQ(boost::any_cast<const VbColorMapPair&>(value).first.GetName(), "GrayScale");
    ASSERT_TRUE(converter->FromString("Mine:ColorMap 2 0 2 0\n0 10 20 30\n1 200 210 220\n", value));
    const VbColorMap mine = boost::any_cast<const VbColorMapPair&>(value).first;
    EXPECT_EQ(mine[1].color, shr::Color4b(200, 210, 220));
    // The text form reads back to the same map, its trailing white space trimmed.
    const shr::GString text = converter->ToString(VbColorMapPair(mine, {5, 6}));
    EXPECT_EQ(text.substr(0, 5), "Mine:");
    EXPECT_NE(text.back(), '\n');
    ASSERT_TRUE(converter->FromString(text, value));
    EXPECT_EQ(converter->ToString(value), text);
    // Failures leave the value empty.
    for (const char* bad : {"NoSuchMap", "NoSuchMap:ColorMap 3 0 2 0\n0 0 0 0\n1 1 1 1\n", "NoSuchMap:not a map", ""}) {
        value = VbColorMapPair(mine, {});
        EXPECT_FALSE(converter->FromString(bad, value)) << bad;
        EXPECT_TRUE(value.empty()) << bad;
    }
}

TEST(PropertyRecord, TypedRecordsGuardTheirTypeAndTakeTextThroughTheirConverter)
{
    VbBoolProperty boolean(1, true);
    VbIntProperty integer(2, 7);
    VbUnsignedProperty whole(3, 7u);
    VbDoubleProperty real(4, 2.5);
    VbStringProperty text(5, shr::GString("abc"));
    const std::pair<VbProperty*, boost::any> wrong[] = {
        {&boolean, 1}, {&integer, 7u}, {&whole, 7}, {&real, 2.5f}, {&text, std::string("abc")}, {&text, "abc"},
        {&boolean, boost::any()},
    };
    for (const auto& [record, value] : wrong) {
        EXPECT_EQ(RaisedText([&] { record->AnyValue(value); }), kTypeError) << value.type().name();
        EXPECT_NE(record->AnyValue().type(), value.type());
    }
    for (const std::function<void()>& make : std::vector<std::function<void()>>{
             [] { VbBoolProperty(1, 1); }, [] { VbUnsignedProperty(1, -1); }, [] { VbHeaderProperty(1, 3.0); }})
        EXPECT_EQ(RaisedText(make), kTypeError) << "constructors go through the guard";

    EXPECT_TRUE(integer.StringValue(" 42 "));
    EXPECT_FALSE(integer.StringValue("4.2"));
    EXPECT_EQ(integer.Value(), 42);
    EXPECT_FALSE(whole.StringValue("-1"));
    EXPECT_EQ(whole.Value(), 7u);
    EXPECT_EQ(VbPointProperty(8, shr::Point3<double>(1, 2.5, -3)).StringValue(), "1 2.5 -3");

    // A header has no text form and refuses text; it takes a plain string too.
    VbHeaderProperty header(4, VbHeaderProperty::ValueType("Title", "note"));
    EXPECT_FALSE(header.StringValue("Other"));
    header.AnyValue(shr::GString("just a string"));
    EXPECT_EQ(header.StringValue(), "");
    // An any-record takes any text and any value, and changes nothing for text.
    VbAnyProperty anything(5, std::vector<int>{1, 2});
    EXPECT_TRUE(anything.StringValue("whatever"));
    EXPECT_EQ(boost::any_cast<std::vector<int>>(anything.AnyValue()).size(), 2u);
    // A colour-map text that does not convert empties the value; the typed read raises.
    VbColorMapProperty colorMap(6, VbColorMapPair(VbColorMap(), {}));
    EXPECT_FALSE(colorMap.StringValue("NoSuchMapName:"));
    EXPECT_EQ(RaisedText([&] { colorMap.Value(); }), kTypeError);
}

// A key registered the way each module registers its own.
static const VbPropertyRegistrar s_StaticTestKey("TestStaticRegistration", 42, 5);

TEST(PropertyRegistry, SetGetHasAndTheirErrors)
{
    VbPropertyRegistry& registry = VbPropertyRegistry::Instance();
    EXPECT_TRUE(registry.Has("teststaticregistration")) << "static registration, case-insensitive look-up";
    EXPECT_EQ(registry.Get("TestStaticRegistration").id, 42);
    registry.Set("TestRegistryAlpha", 7, 11);
    EXPECT_EQ(registry.Get("TESTREGISTRYALPHA").converterKey, 11);
    EXPECT_EQ(registry.Get("TestRegistryAbsent").id, 0);
    EXPECT_FALSE(registry.Has("TestRegistryAbsent"));

    const size_t before = registry.size();
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[&] { registry.Set("TestRegistryBeta", 1, 0); }, "Core: Property converter key must be valid."},
        {[&] { registry.Set("TestRegistryBeta", 1, 14); }, "Core: Property converter key must be valid."},
        {[&] { registry.Set("", 1, 2); }, "Core: Item name must be non-empty."},
        {[&] { registry.Set("testregistryalpha", 8, 2); }, "Core: Item name must be unique."},
        {[&] { registry.Has(""); }, "Core: Item name must be non-empty."},
    };
    for (const auto& row : rows)
        EXPECT_EQ(RaisedText(row.first), row.second);
    EXPECT_EQ(registry.size(), before);
    EXPECT_EQ(registry.Get("TestRegistryAlpha").id, 7) << "a refused duplicate keeps the first entry";
}
