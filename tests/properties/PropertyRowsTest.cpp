// The shared blocks of rows: limits, resolution, header comments and label
// formats, seen both as values in a plain list and as the calls a host's list
// receives (keys, labels, limits, layout).
#include "core/network/VbModuleId.h"
#include "core/properties/PropertyUtility.h"
#include "core/properties/SimplePropertyCollection.h"
#include "core/properties/VbHeaderProperty.h"
#include "core/properties/VbLabelFormat.h"
#include "core/properties/VbPropertyEvent.h"
#include "shr/Exception.h"
#include "shr/StringUtil.h"
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

const VbModuleId kModule(3);

// A plain list that also writes down what only a host's list would use.
class RecordingList : public SimplePropertyCollection {
public:
    using SimplePropertyCollection::Enabled;

    void Indent() override { log.push_back("Indent"); }
    void Outdent() override { log.push_back("Outdent"); }
    void Expand(int id, bool expand) override { log.push_back(shr::ToString("Expand %d %d", id, expand)); }
    void SetInsertionPos(int id, int other, int flag) override
    {
        log.push_back(shr::ToString("Insert %d %d %d", id, other, flag));
    }
    void Remove(int id) override
    {
        log.push_back(shr::ToString("Remove %d", id));
        SimplePropertyCollection::Remove(id);
    }
    void Enabled(int id, bool enabled) override
    {
        log.push_back(shr::ToString("Enabled %d %d", id, enabled));
        SimplePropertyCollection::Enabled(id, enabled);
    }

    // The comment of a header row.
    std::string Comment(int id) const
    {
        return boost::any_cast<VbHeaderProperty::ValueType>(AnyValue(id)).second;
    }

    std::vector<std::string> log;

protected:
    using SimplePropertyCollection::AddComboImpl;

    void AddHeaderImpl(const VbModuleId& module, int id, const shr::GString& text, const shr::GString& group,
                       const shr::GString& comment, const shr::GString& help) override
    {
        log.push_back(shr::ToString("Header %d %s|%s|%s|%s", id, text.c_str(), group.c_str(), comment.c_str(),
                                    help.c_str()));
        SimplePropertyCollection::AddHeaderImpl(module, id, text, group, comment, help);
    }
    void AddDoubleImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                       const char* help, double value, ValCheck check, double min, double max, double step,
                       const char* format, bool flag) override
    {
        log.push_back(shr::ToString("Double %d %s|%s|%s %g check %d", id, key.c_str(), label, help, value, check));
        SimplePropertyCollection::AddDoubleImpl(module, key, id, label, help, value, check, min, max, step, format,
                                                flag);
    }
    void AddUnsignedImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                         const char* help, unsigned int value, ValCheck check, unsigned int min,
                         unsigned int max, unsigned int step, const char* format, bool flag) override
    {
        log.push_back(shr::ToString("Unsigned %d %s|%s|%s %u check %d %u..%u step %u", id, key.c_str(), label, help,
                                    value, check, min, max, step));
        SimplePropertyCollection::AddUnsignedImpl(module, key, id, label, help, value, check, min, max, step,
                                                  format, flag);
    }
    void AddComboImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                      const char* help, unsigned int value, size_t count, const char** items,
                      unsigned int flags) override
    {
        std::string text = shr::ToString("Combo %d %s|%s|%s %u", id, key.c_str(), label, help, value);
        for (size_t i = 0; i < count; ++i)
            text += std::string(" ") + items[i];
        log.push_back(text);
        SimplePropertyCollection::AddComboImpl(module, key, id, label, help, value, count, items, flags);
    }
    void AddEditImpl(const VbModuleId& module, const shr::GString& key, int id, const char* label,
                     const char* help, const shr::GString& value, bool flag) override
    {
        log.push_back(shr::ToString("Edit %d %s|%s|%s %s", id, key.c_str(), label, help, value.c_str()));
        SimplePropertyCollection::AddEditImpl(module, key, id, label, help, value, flag);
    }
};

std::string RaisedText(const std::function<void()>& action)
{
    try {
        action();
    } catch (const shr::Exception& e) {
        return e.Component() + ": " + e.Message();
    }
    return "nothing raised";
}

const char* const kTypeHelp =
    "Fixed=d.ddd, Exponential=d.dddE+ddd, General=Fixed or Exponential, whichever is most compact.";
const char* const kDigitsHelp = "If Type is Fixed or Exponential, digits to the right of the decimal point.  "
                                "If Type is General, the number of significant digits.";

} // namespace

TEST(PropertyUtility, UpdateCommentWritesTheHeaderComment)
{
    RecordingList list;
    list.AddHeader(kModule, 5, "Range", "", "", "");
    PropertyUtility::UpdateComment(5, list, shr::Vec3d(1, 2.5, -3));
    EXPECT_EQ(list.Comment(5), "(1, 2.5, -3)");
    PropertyUtility::UpdateComment(5, list, shr::Vec2d(2, 1));
    EXPECT_EQ(list.Comment(5), "Not available");
    PropertyUtility::UpdateComment(5, list, std::numeric_limits<double>::quiet_NaN(), 1.0);
    EXPECT_EQ(list.Comment(5), "Not available");
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
    EXPECT_EQ(list.log[8], "Header 13 Y Limits|||The coordinate limits on the Y-axis");
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
    unsigned int ny = 0;
    list.GetValue(22, ny);
    EXPECT_EQ(ny, 30u);
}

TEST(VbLabelFormat, GetPropertiesAddsItsRowsAndPreview)
{
    RecordingList list;
    VbLabelFormat format(VbLabelFormat::Fixed, 3);
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
    std::string label;
    for (const std::string& line : list.log)
        if (line.rfind("Unsigned 12 ", 0) == 0)
            label = line.substr(0, line.find('|', line.find('|') + 1));
    EXPECT_EQ(label, "Unsigned 12 LegendLabelFormatNumDigits|Significant digits");
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

TEST(VbLabelFormat, DigitsNeedTheKeyPrefixAndEnableTouchesOnlyTheHeader)
{
    RecordingList list;
    VbLabelFormat format(VbLabelFormat::General, 4);
    try {
        format.UpdateDigits(kModule, 1, list);
        ADD_FAILURE() << "no key prefix, no digits row";
    } catch (const shr::Exception& e) {
        EXPECT_EQ(e.Code(), 2);
    }
    EXPECT_TRUE(list.empty());

    format.GetProperties(kModule, list, "Contour", 1);
    list.log.clear();
    format.EnableProperties(list, 1, false);
    EXPECT_EQ(list.log, std::vector<std::string>{"Enabled 1 0"});
    EXPECT_FALSE(list.Enabled(1));
    EXPECT_TRUE(list.Enabled(2));
}
