// Names, point labels, text and label formats, and the property helpers: their
// texts, their stored forms, and the rows they list as a host's list receives
// them (keys, labels, limits, layout).
#include "core/network/VbModuleId.h"
#include "core/properties/LabelStorage.h"
#include "core/properties/NamedItem.h"
#include "core/properties/PropertyUtility.h"
#include "core/properties/TextFormat.h"
#include "core/properties/VbLabelFormat.h"
#include "core/properties/VbPropertyEvent.h"
#include "shr/Vec2.h"
#include "tests/support/RecordingList.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <string>
#include <vector>

using namespace core;
using testsupport::Load;
using testsupport::RaisedText;
using testsupport::RecordingList;
using testsupport::Store;
using Bytes = std::vector<unsigned char>;

namespace {

const VbModuleId kModule(3);
const char* const kTypeHelp =
    "Fixed=d.ddd, Exponential=d.dddE+ddd, General=Fixed or Exponential, whichever is most compact.";
const char* const kDigitsHelp = "If Type is Fixed or Exponential, digits to the right of the decimal point.  "
                                "If Type is General, the number of significant digits.";

class Named : public NamedItem {
public:
    Named(const shr::GString& name, bool required) : NamedItem(name, required) {}
    using NamedItem::Name;
};

// The bytes after the 8-byte document header.
Bytes Body(const Bytes& bytes)
{
    return Bytes(bytes.begin() + 8, bytes.end());
}

} // namespace

TEST(NamedItem, RequiredNameIsNeverEmpty)
{
    EXPECT_EQ(RaisedText([] { Named("", true); }), "Core: Name must be non-empty.");
    Named required("Log", true);
    EXPECT_EQ(RaisedText([&] { required.Name(""); }), "Core: Name must be non-empty.");
    EXPECT_EQ(required.Name(), "Log") << "a refused rename keeps the old name";
    Named optional("", false);
    optional.Name("x");
    optional.Name("");
    EXPECT_EQ(optional.Name(), "");
}

TEST(LabelStorage, OneLabelPerIndexStoredAsCountThenIndexAndText)
{
    LabelStorage labels;
    labels.AddLabel({258, "b"});
    labels.AddLabel({1, "a"});
    labels.AddLabel({258, "again"});
    EXPECT_EQ(RaisedText([&] { labels.AddLabel({3, ""}); }), "Core: Cannot add empty label.");
    ASSERT_EQ(labels.size(), 2u);
    EXPECT_EQ(labels.FindLabel(258)->second, "b") << "the first label of an index stays";
    EXPECT_EQ(labels.FindLabel(3), labels.end());

    const Bytes bytes = Store(labels);
    const Bytes expected = {2, 0, 0, 0,                   // count
                            1, 0, 0, 0, 1, 0, 0, 0, 'a',  // index 1, "a"
                            2, 1, 0, 0, 1, 0, 0, 0, 'b'}; // index 258, "b"
    EXPECT_EQ(Body(bytes), expected);
    LabelStorage loaded;
    loaded.AddLabel({99, "old"});
    Load(loaded, bytes);
    ASSERT_EQ(loaded.size(), 2u);
    EXPECT_EQ(loaded.FindLabel(258)->second, "b");
    EXPECT_EQ(loaded.FindLabel(99), loaded.end());

    // A truncated archive, or one claiming more labels than it holds, is an
    // error and the labels stay as they were.
    for (size_t cut : {bytes.size() - 10, size_t(1)})
        EXPECT_THROW(Load(loaded, bytes, cut), shr::Exception) << cut;
    Bytes huge = bytes;
    huge[8] = 0xFF;
    huge[11] = 0x7F;
    EXPECT_NE(RaisedText([&] { Load(loaded, huge); }).find("corrupt: a count of 2130706687 items"), std::string::npos);
    EXPECT_EQ(loaded.size(), 2u);
}

TEST(TextFormat, FieldsFollowTheDocumentVersion)
{
    TextFormat changed(20.0, shr::Color4b::Blue, "Mono", TextFormat::Right, true, false);
    changed.m_Flag3 = changed.m_Flag4 = true;
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
    };
    for (const Row& row : rows) {
        const Bytes bytes = Store(changed, row.version);
        EXPECT_EQ(bytes.size() - 8, row.bytes) << row.version;
        TextFormat loaded;
        Load(loaded, bytes);
        EXPECT_TRUE(loaded.m_Flag1 && loaded.m_Face == "Mono") << row.version;
        EXPECT_EQ(loaded.m_Height, row.heightAndColor ? 20.0 : 12.0) << row.version;
        EXPECT_EQ(loaded.m_Color, row.heightAndColor ? shr::Color4b::Blue : shr::Color4b::Black) << row.version;
        EXPECT_EQ(loaded.m_Justification, row.justification ? TextFormat::Right : TextFormat::Left) << row.version;
        EXPECT_EQ(loaded.m_Floats[0], row.floats ? 3.5f : 0.0f) << row.version;
        EXPECT_EQ(loaded.m_Flag4, row.floats) << row.version;
        EXPECT_EQ(loaded.m_Flag2, !row.lateFlags) << row.version;
        EXPECT_EQ(loaded.m_Flag3, row.lateFlags) << row.version;
    }
    TextFormat target;
    EXPECT_THROW(Load(target, Store(changed), 1), shr::Exception);
    EXPECT_EQ(target.m_Face, "Arial") << "a failed load leaves the format as it was";
}

TEST(VbLabelFormat, FormatsByTypeAndDigits)
{
    struct Row {
        unsigned char type, digits;
        double value;
        const char *text, *vector, *preview;
    } rows[] = {
        {VbLabelFormat::Fixed, 3, 2.0 / 3.0, "<0.667>", "<1.000, -2.500, 0.667>", "<d.ddd>"},
        {VbLabelFormat::Exponential, 2, 12345.0, "<1.23E+04>", "<1.00E+00, -2.50E+00, 6.67E-01>", "<d.ddE+dd>"},
        {VbLabelFormat::General, 3, 0.0001234, "<0.000123>", "<1, -2.5, 0.667>", "<d.dd>"},
        {VbLabelFormat::General, 7, 1e20, "<1E+20>", "<1, -2.5, 0.6666667>", "<d.dddddd>"},
        {VbLabelFormat::Fixed, 0, 2.5, "<2>", "<1, -2, 1>", "<d>"},
    };
    const shr::Vec3d v(1.0, -2.5, 2.0 / 3.0);
    for (const Row& row : rows) {
        VbLabelFormat format(row.type, row.digits);
        format.Prefix("<");
        format.Postfix(">");
        EXPECT_EQ(format.Format(row.value), row.text);
        EXPECT_EQ(format.Format(v, true), row.vector);
        std::string unspaced = row.vector;
        unspaced.erase(std::remove(unspaced.begin(), unspaced.end(), ' '), unspaced.end());
        EXPECT_EQ(format.Format(v, false), unspaced);
        EXPECT_EQ(format.Preview(), row.preview);
    }
    VbLabelFormat format(3, 7);
    format.Prefix("Depth ");
    format.Postfix(" m");
    for (const std::function<void()>& call : std::vector<std::function<void()>>{
             [&] { format.Format(1.0); }, [&] { format.Format(v, true); }, [&] { format.Preview(); }})
        EXPECT_EQ(RaisedText(call), "Core: Format out of range.");
    EXPECT_EQ(format.Format(shr::GString("top")), "Depth top m") << "text needs no number format";
}

TEST(VbLabelFormat, SerializesMarkerTypeDigitsAndTexts)
{
    VbLabelFormat format(1, 4);
    format.Prefix("p");
    format.Postfix("q");
    format.KeyPrefix("ScatterPlot");
    const Bytes bytes = Store(format);
    EXPECT_EQ(Body(bytes), (Bytes{0xC3, 0x5A, 0xA5, 0x3C, 1, 4, 1, 0, 0, 0, 'p', 1, 0, 0, 0, 'q'}));
    VbLabelFormat loaded(0, 0);
    Load(loaded, bytes);
    EXPECT_EQ(loaded.Format(1.5), "p1.5000E+00q");
    EXPECT_EQ(loaded.KeyPrefix(), "") << "the key prefix is not persisted";
    VbLabelFormat untouched(2, 7);
    EXPECT_THROW(Load(untouched, bytes, 2), shr::Exception);
    EXPECT_EQ(untouched.GetType(), 2);
    EXPECT_EQ(untouched.Prefix(), "");
}

TEST(PropertyUtility, CommentsAndPositiveValues)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::pair<shr::GString, const char*> rows[] = {
        {PropertyUtility::CommentText(shr::Vec3d(1.5, -2, 1.0 / 3.0)), "(1.5, -2, 0.3333333333)"},
        {PropertyUtility::CommentText(-1.0, 2.0), "(-1, 2)"},
        {PropertyUtility::CommentText(2.0, 2.0), "(2, 2)"},
        {PropertyUtility::CommentText(3.0, 2.0), "Not available"},
        {PropertyUtility::CommentText(nan, 2.0), "Not available"},
        {PropertyUtility::CommentText(shr::Vec2d(0.25, 1e12)), "(0.25, 1e+12)"},
        {PropertyUtility::CommentText(std::make_tuple(40u, 30u, 1u)), "(40 x 30 x 1)"},
        {PropertyUtility::FormatPositiveValue(1e-20), "0"},
        {PropertyUtility::FormatPositiveValue(-5.0), "0"},
        {PropertyUtility::FormatPositiveValue(2.220446049250313e-16), "2.220446049e-16"},
        {PropertyUtility::FormatPositiveValue(12345.678901234), "12345.6789"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.first, row.second);
}

TEST(PropertyUtility, UpdateLimitsShowsInvalidAxesAsDisabledZeros)
{
    RecordingList list;
    PropertyUtility::UpdateLimits(kModule, 10, "Subset", list, std::make_tuple(-1.5, 5.0, 0.0),
                                  std::make_tuple(2.0, 1.0, std::nan("")), true);
    const std::vector<std::string> xBlock = {
        "Header 10 X Limits|||The coordinate limits on the X-axis",
        "Expand 10 0",
        "Indent",
        "Double 11 SubsetXMin|X min|The minimum X coordinate. -1.5 check 1",
        "Enabled 11 1",
        "Double 12 SubsetXMax|X max|The maximum X coordinate. 2 check 1",
        "Enabled 12 1",
        "Outdent",
    };
    ASSERT_EQ(list.log.size(), 24u);
    EXPECT_EQ(std::vector<std::string>(list.log.begin(), list.log.begin() + 8), xBlock);
    EXPECT_EQ(list.log[19], "Double 17 SubsetZMin|Z min|The minimum Z coordinate. 0 check 1");

    struct Axis {
        int header;
        const char* comment;
        double min, max;
        bool enabled;
    } axes[] = {{10, "(-1.5, 2)", -1.5, 2.0, true}, {13, "Not available", 0, 0, false},
                {16, "Not available", 0, 0, false}};
    for (const Axis& axis : axes) {
        EXPECT_EQ(list.Comment(axis.header), axis.comment) << axis.header;
        double min = -99, max = -99;
        list.GetValue(axis.header + 1, min);
        list.GetValue(axis.header + 2, max);
        EXPECT_EQ(min, axis.min) << axis.header;
        EXPECT_EQ(max, axis.max) << axis.header;
        EXPECT_EQ(list.Enabled(axis.header + 1), axis.enabled) << axis.header;
        EXPECT_EQ(list.Enabled(axis.header + 2), axis.enabled) << axis.header;
    }

    PropertyUtility::UpdateLimits(kModule, 10, "Subset", list, std::make_tuple(0.0, 0.0, 0.0),
                                  std::make_tuple(1.0, 1.0, 1.0), false);
    EXPECT_EQ(list.size(), 9u) << "a second call refreshes the same rows";
    for (int id : {11, 12, 14, 15, 17, 18})
        EXPECT_FALSE(list.Enabled(id)) << id;
    EXPECT_EQ(list.Comment(13), "(0, 1)");
}

TEST(PropertyUtility, UpdateResolutionAddsTheNodeCounts)
{
    RecordingList list;
    PropertyUtility::UpdateResolution(kModule, 20, "Gridder", list, std::make_tuple(40u, 30u, 1u), false);
    const std::vector<std::string> expected = {
        "Header 20 Resolution|||The number of nodes in the output lattice.",
        "Expand 20 0",
        "Indent",
        "Unsigned 21 GridderXNum|Nx|The number of nodes on the X-axis. 40 check 4 1..10000 step 1",
        "Enabled 21 0",
        "Unsigned 22 GridderYNum|Ny|The number of nodes on the Y-axis. 30 check 4 1..10000 step 1",
        "Enabled 22 0",
        "Unsigned 23 GridderZNum|Nz|The number of nodes on the Z-axis. 1 check 4 1..10000 step 1",
        "Enabled 23 0",
        "Outdent",
    };
    EXPECT_EQ(list.log, expected);
    EXPECT_EQ(list.Comment(20), "(40 x 30 x 1)");
}

TEST(VbLabelFormat, GetPropertiesAddsItsRowsAndPreview)
{
    RecordingList list;
    VbLabelFormat format(VbLabelFormat::Fixed, 3);
    EXPECT_EQ(testsupport::RaisedBy([&] { format.UpdateDigits(kModule, 31, list); }).code, 2)
        << "no key prefix, no digits row";
    EXPECT_TRUE(list.empty());
    format.Prefix("x=");
    format.GetProperties(kModule, list, "Axes", 30);
    const std::vector<std::string> expected = {
        "Header 30 Label Format|||",
        "Expand 30 0",
        "Indent",
        std::string("Combo 31 AxesLabelFormatType|Type|") + kTypeHelp + " 0 Fixed Exponential General",
        std::string("Unsigned 32 AxesLabelFormatNumDigits|Decimal digits|") + kDigitsHelp +
            " 3 check 4 0..15 step 1",
        "Edit 33 AxesLabelFormatPrefix|Prefix|Arbitrary text to insert before each label. x=",
        "Edit 34 AxesLabelFormatPostfix|Postfix|Arbitrary text to insert after each label. ",
        "Outdent",
    };
    EXPECT_EQ(list.log, expected);
    EXPECT_EQ(format.KeyPrefix(), "Axes");
    EXPECT_EQ(list.Comment(30), "x=d.ddd");

    list.log.clear();
    format.GetProperties(kModule, list, "Axes", 30);
    EXPECT_EQ(list.size(), 5u) << "listing again refreshes in place";
    EXPECT_EQ(list.log[4], "Remove 32") << "the digits row is rebuilt in its place";
    EXPECT_EQ(list.log[5], "Insert 30 31 1");
    EXPECT_EQ(list.log[7], "Insert -1 -1 0");

    // Disabling touches only the header.
    list.log.clear();
    format.EnableProperties(list, 30, false);
    EXPECT_EQ(list.log, std::vector<std::string>{"Enabled 30 0"});
    EXPECT_FALSE(list.Enabled(30));
    EXPECT_TRUE(list.Enabled(31));
}

TEST(VbLabelFormat, PropertyEventReadsTheChangedRow)
{
    RecordingList list;
    VbLabelFormat format(VbLabelFormat::Fixed, 3);
    format.GetProperties(kModule, list, "Legend", 10);
    struct Row {
        const char* what;
        std::function<void()> edit;
        int event;
        const char* preview;
        unsigned char type, digits;
    } rows[] = {
        {"type", [&] { list.SetCombo(11, 2u); }, 11, "d.dd", 2, 3},
        {"digits", [&] { list.SetNum(12, 5u); }, 12, "d.dddd", 2, 5},
        {"prefix", [&] { list.SetStatic(13, "<"); }, 13, "<d.dddd", 2, 5},
        {"postfix", [&] { list.SetStatic(14, " m"); }, 14, "<d.dddd m", 2, 5},
        {"exponential", [&] { list.SetCombo(11, 1u); }, 11, "<d.dddddE+dd m", 1, 5},
    };
    for (const Row& row : rows) {
        row.edit();
        format.PropertyEvent(kModule, list, VbPropertyEvent(row.event, boost::any()), 10);
        EXPECT_EQ(list.Comment(10), row.preview) << row.what;
        EXPECT_EQ(format.GetType(), row.type) << row.what;
        EXPECT_EQ(format.Digits(), row.digits) << row.what;
    }

    list.SetCombo(11, 2u);
    format.PropertyEvent(kModule, list, VbPropertyEvent(11, 0), 10);
    EXPECT_EQ(list.log.end()[-2].find("Unsigned 12 LegendLabelFormatNumDigits|Significant digits|"), 0u);
    EXPECT_EQ(list.size(), 5u);

    list.SetNum(12, 300u);
    format.PropertyEvent(kModule, list, VbPropertyEvent(12, 0), 10);
    EXPECT_EQ(format.Digits(), 255) << "digits beyond the row's limit are clamped to a byte";

    list.SetHeaderComment(10, "unchanged");
    for (int id : {10, 15, 9, -2147483647 - 1})
        format.PropertyEvent(kModule, list, VbPropertyEvent(id, 0), 10);
    EXPECT_EQ(list.Comment(10), "unchanged") << "ids outside the format are ignored";

    list.SetCombo(11, 7u);
    EXPECT_EQ(RaisedText([&] { format.PropertyEvent(kModule, list, VbPropertyEvent(11, 0), 10); }),
              "Core: Format out of range.");
    EXPECT_EQ(format.GetType(), 2) << "a type the format cannot show leaves it as it was";
}
