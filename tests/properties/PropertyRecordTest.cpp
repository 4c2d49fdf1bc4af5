// Property records: the type guard, the text form through the converters, and
// copies.
#include "core/properties/VbAnyProperty.h"
#include "core/properties/VbHeaderProperty.h"
#include "core/properties/VbTypedProperty.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace core;

namespace {

// Runs `action` and returns the exception it raised; fails the test if none.
shr::Exception Raised(const std::function<void()>& action)
{
    try {
        action();
    } catch (const shr::Exception& e) {
        return e;
    }
    ADD_FAILURE() << "no shr::Exception raised";
    return shr::Exception("", "", 0, 0, "");
}

void ExpectTypeError(const std::function<void()>& action, const std::string& what)
{
    const shr::Exception e = Raised(action);
    EXPECT_EQ(e.Component(), "Core") << what;
    EXPECT_EQ(e.Message(), "Invalid property type conversion requested.") << what;
}

} // namespace

TEST(PropertyRecord, TypedRecordsRefuseOtherTypesAndKeepTheirValue)
{
    VbBoolProperty boolean(1, true);
    VbIntProperty integer(2, 7);
    VbUnsignedProperty whole(3, 7u);
    VbDoubleProperty real(4, 2.5);
    VbStringProperty text(5, shr::GString("abc"));

    struct Row {
        VbProperty* record;
        boost::any wrong;
        const char* what;
    } rows[] = {
        {&boolean, boost::any(1), "bool given int"},
        {&integer, boost::any(7u), "int given unsigned"},
        {&whole, boost::any(7), "unsigned given int"},
        {&real, boost::any(2.5f), "double given float"},
        {&text, boost::any(std::string("abc")), "GString given std::string"},
        {&text, boost::any("abc"), "GString given const char*"},
        {&boolean, boost::any(), "bool given nothing"},
    };
    for (Row& row : rows) {
        const boost::any before = row.record->AnyValue();
        ExpectTypeError([&] { row.record->AnyValue(row.wrong); }, row.what);
        EXPECT_EQ(row.record->AnyValue().type(), before.type()) << row.what;
    }
    EXPECT_TRUE(boolean.Value());
    EXPECT_EQ(integer.Value(), 7);
    EXPECT_EQ(whole.Value(), 7u);

    integer.AnyValue(-3);
    whole.AnyValue(4000000000u);
    EXPECT_EQ(integer.Value(), -3);
    EXPECT_EQ(whole.Value(), 4000000000u);
}

TEST(PropertyRecord, ConstructorsGoThroughTheTypeGuard)
{
    ExpectTypeError([] { VbBoolProperty(1, 1); }, "bool record from int");
    ExpectTypeError([] { VbUnsignedProperty(1, -1); }, "unsigned record from int");
    ExpectTypeError([] { VbColorProperty(1, boost::any()); }, "colour record from nothing");
    ExpectTypeError([] { VbHeaderProperty(1, 3.0); }, "header from double");
}

TEST(PropertyRecord, KeysAndTextForms)
{
    VbColorMap map("Test", 0, 256);
    struct Row {
        std::shared_ptr<VbProperty> record;
        unsigned char key;
        const char* text;
    } rows[] = {
        {std::make_shared<VbAnyProperty>(1, 3.5), 1, ""},
        {std::make_shared<VbHeaderProperty>(2, VbHeaderProperty::ValueType("Header", "comment")), 1, ""},
        {std::make_shared<VbBoolProperty>(3, false), 2, "false"},
        {std::make_shared<VbColorProperty>(4, shr::Color4b(1, 2, 3, 4)), 3, "1 2 3 4"},
        {std::make_shared<VbDoubleProperty>(6, 0.1), 5, "0.1"},
        {std::make_shared<VbIntProperty>(7, -12), 6, "-12"},
        {std::make_shared<VbPointProperty>(8, shr::Point3<double>(1, 2.5, -3)), 8, "1 2.5 -3"},
        {std::make_shared<VbStringProperty>(9, shr::GString("a b")), 10, "a b"},
        {std::make_shared<VbUnsignedProperty>(10, 12u), 11, "12"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.record->Key(), row.key) << row.text;
        EXPECT_EQ(row.record->StringValue(), row.text) << int(row.key);
    }
    VbColorMapProperty colorMap(5, VbColorMapPair(map, {1, 2, 3}));
    EXPECT_EQ(colorMap.Key(), 4);
    EXPECT_EQ(colorMap.StringValue().substr(0, 16), "Test:ColorMap 2 ");
}

TEST(PropertyRecord, TextSetsTheValueOrReturnsFalseAndKeepsIt)
{
    VbIntProperty integer(1, 5);
    EXPECT_TRUE(integer.StringValue(" 42 "));
    EXPECT_EQ(integer.Value(), 42);
    EXPECT_FALSE(integer.StringValue("4.2"));
    EXPECT_EQ(integer.Value(), 42);

    VbUnsignedProperty whole(2, 5u);
    EXPECT_FALSE(whole.StringValue("-1"));
    EXPECT_EQ(whole.Value(), 5u);

    VbColorProperty color(3, shr::Color4b::Black);
    EXPECT_TRUE(color.StringValue("255 0 0 300"));
    EXPECT_EQ(color.Value(), shr::Color4b(255, 0, 0, 255));

    // The header has no text form and refuses text.
    VbHeaderProperty header(4, VbHeaderProperty::ValueType("Title", "note"));
    EXPECT_FALSE(header.StringValue("Other"));
    EXPECT_EQ(boost::any_cast<VbHeaderProperty::ValueType>(header.AnyValue()).first, "Title");
    header.AnyValue(shr::GString("just a string"));
    EXPECT_EQ(header.StringValue(), "");

    // Any text is accepted by an any-record and changes nothing.
    VbAnyProperty anything(5, std::vector<int>{1, 2});
    EXPECT_TRUE(anything.StringValue("whatever"));
    EXPECT_EQ(boost::any_cast<std::vector<int>>(anything.AnyValue()).size(), 2u);
    anything.AnyValue(shr::GString("any type goes"));
    EXPECT_EQ(anything.AnyValue().type(), typeid(shr::GString));

    // A colour-map text that does not convert empties the value, as the
    // converter does; the typed read then raises rather than crashing.
    VbColorMapProperty colorMap(6, VbColorMapPair(VbColorMap(), {}));
    EXPECT_FALSE(colorMap.StringValue("NoSuchMapName:"));
    EXPECT_TRUE(colorMap.AnyValue().empty());
    ExpectTypeError([&] { colorMap.Value(); }, "emptied colour-map record");
    ExpectTypeError([&] { colorMap.StringValue(); }, "text of an emptied colour-map record");
}

TEST(PropertyRecord, CopiesAreIndependent)
{
    VbStringProperty original(9, shr::GString("first"), 2, false, true);
    original.Group("General");
    original.UserData(17);
    VbStringProperty copy(original);
    EXPECT_EQ(copy.Id(), 9);
    EXPECT_EQ(copy.Field(), 2);
    EXPECT_FALSE(copy.Enable());
    EXPECT_TRUE(copy.Visible());
    EXPECT_EQ(copy.Group(), "General");
    EXPECT_EQ(boost::any_cast<int>(copy.UserData()), 17);

    copy.AnyValue(shr::GString("second"));
    copy.UserData(18);
    copy.Group("Other");
    EXPECT_EQ(original.Value(), "first");
    EXPECT_EQ(boost::any_cast<int>(original.UserData()), 17);
    EXPECT_EQ(original.Group(), "General");
}
