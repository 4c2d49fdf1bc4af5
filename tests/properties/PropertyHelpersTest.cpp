// Names, point labels, text and label formats, and the texts of the property
// helpers, with their persistence.
#include "core/properties/LabelStorage.h"
#include "core/properties/NamedItem.h"
#include "core/properties/PropertyUtility.h"
#include "core/properties/TextFormat.h"
#include "core/properties/VbLabelFormat.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/Vec2.h"
#include "shr/Vec3.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

using namespace core;

namespace {

std::string RaisedText(const std::function<void()>& action)
{
    try {
        action();
    } catch (const shr::Exception& e) {
        return e.Component() + ": " + e.Message();
    }
    return "nothing raised";
}

// Stores `object` at `version` and returns the bytes after the 8-byte header.
template <class T>
std::vector<unsigned char> Stored(T object, int version = shr::Archive::CurrentVersion)
{
    std::vector<unsigned char> bytes;
    {
        shr::Archive archive(bytes, "test", version);
        object.Serialize(archive);
        archive.Close();
    }
    return bytes;
}

template <class T>
void LoadInto(T& object, const std::vector<unsigned char>& bytes)
{
    shr::Archive archive(bytes.data(), bytes.size(), "test");
    object.Serialize(archive);
}

class Named : public NamedItem {
public:
    Named(const shr::GString& name, bool required) : NamedItem(name, required) {}
    using NamedItem::Name;
};

} // namespace

TEST(NamedItem, RequiredNameIsNeverEmpty)
{
    EXPECT_EQ(RaisedText([] { Named("", true); }), "Core: Name must be non-empty.");
    Named required("Log", true);
    EXPECT_EQ(RaisedText([&] { required.Name(""); }), "Core: Name must be non-empty.");
    EXPECT_EQ(required.Name(), "Log") << "a refused rename keeps the old name";
    required.Name("Gamma");
    EXPECT_EQ(required.Name(), "Gamma");

    Named optional("", false);
    optional.Name("x");
    optional.Name("");
    EXPECT_EQ(optional.Name(), "");
}

TEST(LabelStorage, OneLabelPerIndexInIndexOrder)
{
    LabelStorage labels;
    labels.AddLabel({7, "seven"});
    labels.AddLabel({2, "two"});
    labels.AddLabel({7, "again"});
    EXPECT_EQ(RaisedText([&] { labels.AddLabel({3, ""}); }), "Core: Cannot add empty label.");
    ASSERT_EQ(labels.size(), 2u);
    EXPECT_EQ(labels.begin()->first, 2u);
    EXPECT_EQ(labels.rbegin()->second, "seven") << "the first label of an index stays";
    ASSERT_NE(labels.FindLabel(2), labels.end());
    EXPECT_EQ(labels.FindLabel(2)->second, "two");
    EXPECT_EQ(labels.FindLabel(3), labels.end());

    LabelStorage copy = labels;
    copy.clear();
    EXPECT_TRUE(copy.empty());
    EXPECT_EQ(labels.size(), 2u);
}

TEST(LabelStorage, SerializesCountThenIndexAndText)
{
    LabelStorage labels;
    labels.AddLabel({258, "b"});
    labels.AddLabel({1, "a"});
    const std::vector<unsigned char> bytes = Stored(labels);
    const std::vector<unsigned char> body(bytes.begin() + 8, bytes.end());
    const std::vector<unsigned char> expected = {2, 0, 0, 0,                // count
                                                 1, 0, 0, 0, 1, 0, 0, 0, 'a', // index 1, "a"
                                                 2, 1, 0, 0, 1, 0, 0, 0, 'b'}; // index 258, "b"
    EXPECT_EQ(body, expected);

    LabelStorage loaded;
    loaded.AddLabel({99, "old"});
    LoadInto(loaded, bytes);
    ASSERT_EQ(loaded.size(), 2u);
    EXPECT_EQ(loaded.FindLabel(258)->second, "b");
    EXPECT_EQ(loaded.FindLabel(99), loaded.end());

    // A truncated archive, or one claiming more labels than it holds, is an
    // error and the labels stay as they were.
    for (size_t cut : {size_t(10), bytes.size() - 1}) {
        const std::vector<unsigned char> truncated(bytes.begin(), bytes.begin() + cut);
        EXPECT_THROW(LoadInto(loaded, truncated), shr::Exception) << cut;
        EXPECT_EQ(loaded.size(), 2u);
    }
    std::vector<unsigned char> huge = bytes;
    huge[8] = 0xFF;
    huge[11] = 0x7F;
    EXPECT_THROW(LoadInto(loaded, huge), shr::Exception);
    EXPECT_EQ(loaded.size(), 2u);
}

TEST(TextFormat, FieldsFollowTheDocumentVersion)
{
    // The constructor sets six fields and leaves the rest at their defaults.
    TextFormat changed(20.0, shr::Color4b::Blue, "Mono", TextFormat::Right, true, false);
    EXPECT_FALSE(changed.m_Flag3 || changed.m_Flag4);
    EXPECT_EQ(changed.m_Floats[3], 1.0f);
    changed.m_Flag3 = true;
    changed.m_Flag4 = true;
    changed.m_Floats[0] = 3.5f;

    struct Row {
        int version;
        size_t bytes; // after the header
        bool heightAndColor, justification, floats, lateFlags;
    } rows[] = {
        {103, 1 + 8, false, false, false, false},
        {104, 1 + 8 + 8 + 4, true, false, false, false},
        {119, 1 + 8 + 8 + 4 + 4, true, true, false, false},
        {120, 1 + 8 + 8 + 4 + 4 + 16 + 1, true, true, true, false},
        {128, 1 + 8 + 8 + 4 + 4 + 16 + 1 + 2, true, true, true, true},
        {130, 1 + 8 + 8 + 4 + 4 + 16 + 1 + 2, true, true, true, true},
    };
    for (const Row& row : rows) {
        const std::vector<unsigned char> bytes = Stored(changed, row.version);
        EXPECT_EQ(bytes.size() - 8, row.bytes) << row.version;
        TextFormat loaded;
        LoadInto(loaded, bytes);
        EXPECT_TRUE(loaded.m_Flag1) << row.version;
        EXPECT_EQ(loaded.m_Face, "Mono") << row.version;
        EXPECT_EQ(loaded.m_Height, row.heightAndColor ? 20.0 : 12.0) << row.version;
        EXPECT_EQ(loaded.m_Color, row.heightAndColor ? shr::Color4b::Blue : shr::Color4b::Black) << row.version;
        EXPECT_EQ(loaded.m_Justification, row.justification ? TextFormat::Right : TextFormat::Left) << row.version;
        EXPECT_EQ(loaded.m_Floats[0], row.floats ? 3.5f : 0.0f) << row.version;
        EXPECT_EQ(loaded.m_Flag4, row.floats) << row.version;
        EXPECT_EQ(loaded.m_Flag2, !row.lateFlags) << row.version;
        EXPECT_EQ(loaded.m_Flag3, row.lateFlags) << row.version;
    }

    const std::vector<unsigned char> bytes = Stored(changed);
    TextFormat target;
    EXPECT_THROW(LoadInto(target, std::vector<unsigned char>(bytes.begin(), bytes.end() - 1)), shr::Exception);
    EXPECT_EQ(target.m_Face, "Arial") << "a failed load leaves the format as it was";
}

TEST(VbLabelFormat, FormatsByTypeAndDigits)
{
    struct Row {
        unsigned char type, digits;
        double value;
        const char* text;
        const char* vector;
        const char* spacedVector;
        const char* preview;
    } rows[] = {
        {VbLabelFormat::Fixed, 3, 2.0 / 3.0, "<0.667>", "<1.000,-2.500,0.667>", "<1.000, -2.500, 0.667>", "<d.ddd>"},
        {VbLabelFormat::Exponential, 2, 12345.0, "<1.23E+04>", "<1.00E+00,-2.50E+00,6.67E-01>",
         "<1.00E+00, -2.50E+00, 6.67E-01>", "<d.ddE+dd>"},
        {VbLabelFormat::General, 3, 0.0001234, "<0.000123>", "<1,-2.5,0.667>", "<1, -2.5, 0.667>", "<d.dd>"},
        {VbLabelFormat::General, 7, 1e20, "<1E+20>", "<1,-2.5,0.6666667>", "<1, -2.5, 0.6666667>", "<d.dddddd>"},
        {VbLabelFormat::Fixed, 0, 2.5, "<2>", "<1,-2,1>", "<1, -2, 1>", "<d>"},
    };
    for (const Row& row : rows) {
        VbLabelFormat format(row.type, row.digits);
        format.Prefix("<");
        format.Postfix(">");
        EXPECT_EQ(format.Format(row.value), row.text);
        EXPECT_EQ(format.Format(shr::Vec3d(1.0, -2.5, 2.0 / 3.0), false), row.vector);
        EXPECT_EQ(format.Format(shr::Vec3d(1.0, -2.5, 2.0 / 3.0), true), row.spacedVector);
        EXPECT_EQ(format.Preview(), row.preview);
    }
    VbLabelFormat format(2, 7);
    format.Prefix("Depth ");
    format.Postfix(" m");
    EXPECT_EQ(format.Format(shr::GString("top")), "Depth top m");

    format.SetType(3);
    for (const std::function<void()>& call : std::vector<std::function<void()>>{
             [&] { format.Format(1.0); }, [&] { format.Format(shr::Vec3d(), true); }, [&] { format.Preview(); }})
        EXPECT_EQ(RaisedText(call), "Core: Format out of range.");
    EXPECT_EQ(format.Format(shr::GString("x")), "Depth x m") << "text needs no number format";
}

TEST(VbLabelFormat, SerializesMarkerTypeDigitsAndTexts)
{
    VbLabelFormat format(1, 4);
    format.Prefix("p");
    format.Postfix("q");
    format.KeyPrefix("ScatterPlot");
    const std::vector<unsigned char> bytes = Stored(format);
    const std::vector<unsigned char> expected = {0xC3, 0x5A, 0xA5, 0x3C, 1, 4, 1, 0, 0, 0, 'p', 1, 0, 0, 0, 'q'};
    EXPECT_EQ(std::vector<unsigned char>(bytes.begin() + 8, bytes.end()), expected);

    VbLabelFormat loaded(0, 0);
    LoadInto(loaded, bytes);
    EXPECT_EQ(loaded.GetType(), 1);
    EXPECT_EQ(loaded.Digits(), 4);
    EXPECT_EQ(loaded.Format(1.5), "p1.5000E+00q");
    EXPECT_EQ(loaded.KeyPrefix(), "") << "the key prefix is not persisted";

    VbLabelFormat untouched(2, 7);
    EXPECT_THROW(LoadInto(untouched, std::vector<unsigned char>(bytes.begin(), bytes.end() - 2)), shr::Exception);
    EXPECT_EQ(untouched.GetType(), 2);
    EXPECT_EQ(untouched.Prefix(), "");
}

TEST(PropertyUtility, CommentsAndPositiveValues)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Row {
        shr::GString text;
        const char* expected;
    } rows[] = {
        {PropertyUtility::CommentText(shr::Vec3d(1.5, -2, 1.0 / 3.0)), "(1.5, -2, 0.3333333333)"},
        {PropertyUtility::CommentText(-1.0, 2.0), "(-1, 2)"},
        {PropertyUtility::CommentText(2.0, 2.0), "(2, 2)"},
        {PropertyUtility::CommentText(3.0, 2.0), "Not available"},
        {PropertyUtility::CommentText(nan, 2.0), "Not available"},
        {PropertyUtility::CommentText(0.0, nan), "Not available"},
        {PropertyUtility::CommentText(shr::Vec2d(0.25, 1e12)), "(0.25, 1e+12)"},
        {PropertyUtility::CommentText(shr::Vec2d(1, 0)), "Not available"},
        {PropertyUtility::CommentText(std::make_tuple(40u, 30u, 1u)), "(40 x 30 x 1)"},
        {PropertyUtility::FormatPositiveValue(1e-20), "0"},
        {PropertyUtility::FormatPositiveValue(-5.0), "0"},
        {PropertyUtility::FormatPositiveValue(2.220446049250313e-16), "2.220446049e-16"},
        {PropertyUtility::FormatPositiveValue(12345.678901234), "12345.6789"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(row.text, row.expected);
}
