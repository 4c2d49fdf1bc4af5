// The plain property list: rows made by the add calls, reads and writes by id
// with their type rules, errors, enumeration order and copies.
#include "core/network/VbModuleId.h"
#include "core/properties/SimplePropertyCollection.h"
#include "core/properties/VbAnyProperty.h"
#include "core/properties/VbHeaderProperty.h"
#include "core/properties/VbTypedProperty.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

using namespace core;
using testsupport::RaisedText;

namespace {

const VbModuleId kModule(7);
const char* const kIdError = "ZtCommand: Invalid property id requested.";
const char* const kListTypeError = "ZtCommand: Invalid property type conversion requested.";
const char* const kRecordTypeError = "Core: Invalid property type conversion requested.";

const VbProperty& RecordOf(const SimplePropertyCollection& list, int id)
{
    for (const auto& record : list)
        if (record->Id() == id)
            return *record;
    throw std::runtime_error("no row " + std::to_string(id));
}

std::vector<int> Ids(const SimplePropertyCollection& list)
{
    std::list<std::pair<int, boost::any>> values = {{1000, 1}};
    list.EnumerateValues(values);
    std::vector<int> ids;
    for (const auto& value : values)
        ids.push_back(value.first);
    return ids;
}

// One row of every kind, at ids 1 to 15.
void AddEveryKind(SimplePropertyCollection& list)
{
    const char* items[] = {"A", "B"};
    list.AddHeader(kModule, 1, "Contour (id:7)", "General", "comment", "help");
    list.AddStatic(kModule, 2, "Input", "help", "Nothing");
    list.AddCheck(kModule, "K", 3, "Check", "help", true);
    list.AddCombo(kModule, "K", 4, "Combo", "help", 1u, 2, items, 0);
    list.AddCombo(kModule, "K", 5, "Combo", "help", 1u, std::vector<shr::GString>{"A", "B"}, 0);
    list.AddCombo(kModule, "K", 6, "Combo", "help", 0u, "A", "B", "C", nullptr);
    list.AddStringCombo(kModule, "K", 7, "Combo", "help", "B", {"A", "B"}, 0);
    list.AddEdit(kModule, "K", 8, "Edit", "help", "text");
    list.AddButton("K", 9, "Go");
    list.AddInt(kModule, "K", 10, "Int", "help", -4, ValCheckMinMax, -10, 10, 1);
    list.AddUnsigned(kModule, "K", 11, "Unsigned", "help", 4u, ValCheckMinMax, 0, 10, 1);
    list.AddDouble(kModule, "K", 12, "Double", "help", 2.5, ValCheckNone, 0, 0, 0);
    list.AddFilename(kModule, "K", 13, "File", "help", "/tmp/a.dat", false, VbPropList::PointFiles);
    list.AddColor(kModule, "K", 14, "Colour", "help", shr::Color4b(1, 2, 3, 4));
    list.AddColorMap(kModule, "K", 15, "Map", "help", VbColorMap("Grey", 0, 256), nullptr, false);
}

} // namespace

TEST(SimplePropertyCollection, EachAddMakesItsRecordClassAndAddingAgainRefreshes)
{
    SimplePropertyCollection list;
    AddEveryKind(list);
    // The converter key of each row: 1 any/header, 2 bool, 3 colour, 4 map, 5 double,
    // 6 int, 10 string, 11 unsigned.
    const unsigned char keys[] = {1, 10, 2, 11, 11, 11, 10, 10, 2, 6, 11, 5, 10, 3, 4};
    ASSERT_EQ(list.size(), std::size(keys));
    for (int id = 1; id <= 15; ++id) {
        const VbProperty& record = RecordOf(list, id);
        EXPECT_EQ(record.Key(), keys[id - 1]) << "row " << id;
        EXPECT_TRUE(record.Enable() && record.Visible() && record.Field() == 0) << "row " << id;
    }
    EXPECT_EQ(RecordOf(list, 1).Group(), "General") << "only headers take a group";
    EXPECT_EQ(RecordOf(list, 3).Group(), "");
    EXPECT_TRUE(boost::any_cast<bool>(list.AnyValue(9))) << "a button row holds true";
    EXPECT_EQ(list.StringValue(14), "1 2 3 4");

    VbColorMap map;
    list.SetHistogram(15, {1, 2, 3});
    EXPECT_EQ(boost::any_cast<VbColorMapPair>(list.AnyValue(15)).second, (std::vector<unsigned int>{1, 2, 3}));
    list.GetValue(15, map);
    EXPECT_STREQ(map.GetName(), "Grey") << "the histogram leaves the map alone";

    // Adding again refreshes in place, keeping the flags and a header's group.
    list.Enabled(11, false);
    list.AddUnsigned(kModule, "K", 11, "Unsigned", "help", 9u, ValCheckMinMax, 0, 10, 1);
    list.AddHeader(kModule, 1, "Renamed", "Other", "new", "");
    EXPECT_EQ(list.size(), 15u);
    EXPECT_EQ(list.StringValue(11), "9");
    EXPECT_FALSE(list.Enabled(11)) << "a refresh keeps the flags";
    EXPECT_EQ(boost::any_cast<VbHeaderProperty::ValueType>(list.AnyValue(1)),
              VbHeaderProperty::ValueType("Renamed", "new"));
    EXPECT_EQ(list.Group(1), "General") << "an existing header keeps its group";
    EXPECT_EQ(RaisedText([&] { list.AddDouble(kModule, "K", 11, "", "", 1.0, ValCheckNone, 0, 0, 0); }),
              kRecordTypeError)
        << "a refresh with another type is refused by the record";
}

TEST(SimplePropertyCollection, SignedAndUnsignedRows)
{
    SimplePropertyCollection list;
    list.AddInt(kModule, "K", 1, "Int", "", -3, ValCheckNone, 0, 0, 1);
    list.AddUnsigned(kModule, "K", 2, "Unsigned", "", 7u, ValCheckNone, 0, 0, 1);
    list.AddDouble(kModule, "K", 3, "Double", "", 0.1, ValCheckNone, 0, 0, 0);

    int i = 0;
    unsigned int u = 0;
    float f = 0;
    list.GetValue(2, i);
    list.GetValue(1, u);
    list.GetValue(3, f);
    EXPECT_EQ(i, 7) << "an unsigned row reads as int";
    EXPECT_EQ(u, static_cast<unsigned int>(-3)) << "an int row reads as unsigned";
    EXPECT_EQ(f, 0.1f);

    struct Row {
        std::function<void()> set;
        int id;
        const std::type_info& type;
        const char* text;
    } rows[] = {
        {[&] { list.SetNum(2, 5); }, 2, typeid(unsigned int), "5"}, // non-negative int on unsigned
        {[&] { list.SetNum(1, 6u); }, 1, typeid(int), "6"},         // unsigned on int
        {[&] { list.SetNum(1, -8); }, 1, typeid(int), "-8"},
        {[&] { list.SetNum(3, 1.25); }, 3, typeid(double), "1.25"},
        {[&] { list.SetCombo(2, 3u); }, 2, typeid(unsigned int), "3"},
    };
    for (const Row& row : rows) {
        row.set();
        EXPECT_EQ(list.AnyValue(row.id).type(), row.type) << row.text;
        EXPECT_EQ(list.StringValue(row.id), row.text);
    }
    EXPECT_EQ(RaisedText([&] { list.SetNum(2, -1); }), kRecordTypeError);
    EXPECT_EQ(list.StringValue(2), "3") << "the refused value leaves the row alone";
    EXPECT_EQ(RaisedText([&] { list.SetNum(3, 1); }), kRecordTypeError);
    EXPECT_EQ(RaisedText([&] { list.SetNum(1, 1.0); }), kRecordTypeError);
}

TEST(SimplePropertyCollection, UnknownIdsAndWrongTypesRaise)
{
    SimplePropertyCollection list;
    AddEveryKind(list);
    shr::Color4b colour;
    VbColorMap map;
    double d;
    bool b;
    int i;
    const std::function<void()> byUnknownId[] = {
        [&] { list.Group(99); },          [&] { list.StringValue(99, "1"); }, [&] { list.Remove(99); },
        [&] { list.GetValue(99, d); },    [&] { list.Enabled(99, false); },  [&] { list.SetNum(99, 1u); },
        [&] { list.SetHistogram(99, {}); }, [&] { list.SetHeaderComment(99, "c"); },
    };
    for (const auto& call : byUnknownId)
        EXPECT_EQ(RaisedText(call), kIdError);
    const std::function<void()> wrongType[] = {
        [&] { list.GetValue(12, b); }, [&] { list.GetValue(10, colour); }, [&] { list.GetValue(14, map); },
        [&] { list.GetValue(12, i); }, [&] { list.SetHistogram(14, {}); }, [&] { list.AnyValue(12, 1, true); },
    };
    for (const auto& call : wrongType)
        EXPECT_EQ(RaisedText(call), kListTypeError);
    EXPECT_EQ(RaisedText([&] { list.InsertProperty(std::make_shared<VbIntProperty>(10, 1)); }),
              "Core: Failed to insert property.");
    EXPECT_EQ(Ids(list).size(), 15u);
}

TEST(SimplePropertyCollection, AnyValueCreatesTheRecordThatFitsOnlyWhenAsked)
{
    struct Row {
        boost::any value;
        unsigned char key;
    } rows[] = {
        {true, 2}, {1.5, 5}, {-2, 6}, {shr::GString("s"), 10}, {shr::Color4b::Black, 3},
        {VbColorMapPair(), 4}, {3u, 11}, {1.5f, 1}, {std::string("plain"), 1}, {boost::any(), 1},
    };
    for (const Row& row : rows) {
        SimplePropertyCollection list;
        list.AnyValue(5, row.value, false);
        EXPECT_TRUE(list.empty()) << row.value.type().name();
        list.AnyValue(5, row.value, true);
        list.AnyValue(5, row.value, true);
        ASSERT_EQ(list.size(), 1u) << "an existing row is set, not added";
        EXPECT_EQ(RecordOf(list, 5).Key(), row.key) << row.value.type().name();
    }
    SimplePropertyCollection list;
    list.AnyValue(6, 1.5f, true);
    EXPECT_EQ(RaisedText([&] { list.AnyValue(6, 1.5, false); }), kListTypeError)
        << "an unchecked record still keeps its type through the list";

    // Enumeration runs in id order; Remove takes one row, RemoveAll all.
    for (int id : {40, 3, 17, -2})
        list.AnyValue(id, id * 1.0, true);
    list.Remove(17);
    EXPECT_EQ(Ids(list), (std::vector<int>{-2, 3, 6, 40}));
    list.RemoveAll();
    EXPECT_TRUE(list.empty());
}

TEST(SimplePropertyCollection, CopyFromGivesAnIndependentListWithTheFlags)
{
    SimplePropertyCollection source;
    AddEveryKind(source);
    source.Visible(12, false);
    source.Enabled(3, false);
    source.CurrentField(14, 2);
    source.UserData(10, shr::GString("undo"));
    source.Group(8, "Page");

    SimplePropertyCollection copy;
    copy.AnyValue(100, 1, true);
    copy.CopyFrom(source);
    EXPECT_EQ(Ids(copy), Ids(source)) << "the copy's old rows are gone";
    EXPECT_FALSE(copy.Visible(12)) << "hidden rows stay hidden";
    EXPECT_FALSE(copy.Enabled(3));
    EXPECT_EQ(copy.CurrentField(14), 2);
    EXPECT_EQ(boost::any_cast<shr::GString>(copy.UserData(10)), "undo");
    EXPECT_EQ(copy.Group(8), "Page");
    EXPECT_EQ(RecordOf(copy, 1).Key(), 1) << "a header comes over as an unchecked record";

    copy.SetNum(12, 9.0);
    EXPECT_EQ(source.StringValue(12), "2.5") << "changing the copy leaves the source alone";
    copy.CopyFrom(copy);
    EXPECT_EQ(copy.size(), source.size()) << "a list can copy itself";
}

TEST(SimplePropertyCollection, HeaderCommentsAndFormattedTexts)
{
    SimplePropertyCollection list;
    list.AddHeader(kModule, 1, "Limits", "", "old", "");
    list.SetHeaderCommentFmt(1, "(%d, %.1f)", 3, 4.5);
    EXPECT_EQ(boost::any_cast<VbHeaderProperty::ValueType>(list.AnyValue(1)),
              VbHeaderProperty::ValueType("Limits", "(3, 4.5)"));

    list.AnyValue(2, shr::GString("plain"), true);
    list.SetHeaderComment(2, "comment");
    EXPECT_EQ(list.StringValue(2), "comment") << "a string row takes the comment whole";

    list.AddStaticFmt(kModule, 3, "Points", "help", "%u", 42u);
    EXPECT_EQ(list.StringValue(3), "42");
    list.SetStaticFmt(3, "%s and %s", "this", "that");
    EXPECT_EQ(list.StringValue(3), "this and that");
    list.SetStatic(3, nullptr);
    EXPECT_EQ(list.StringValue(3), "") << "null text is empty";
}
