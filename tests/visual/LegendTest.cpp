// The legend's labels, stored form and property rows.
#include "NetworkFixture.h"

#include "core/graphics/VbColorMap.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/VbModuleId.h"
#include "core/properties/SimplePropertyCollection.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/visual/VbLegend.h"
#include "core/visual/VoIsoSurface.h"
#include "core/visual/VoObliqueSlice.h"
#include "core/visual/VoOrthoSlice.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <boost/any.hpp>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

using core::VbLegend;

namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

// A label's position along the strip and its text; a position of NaN equals none.
using Label = std::pair<double, std::string>;

std::vector<Label> LabelsOf(const VbLegend& legend)
{
    std::vector<VbLegend::CLabel> labels;
    legend.GenerateLabels(labels);
    std::vector<Label> out;
    for (const auto& label : labels)
        out.emplace_back(label.pos, label.text);
    return out;
}

core::VbColorMap MapOver(double lo, double hi)
{
    core::VbColorMap map(nullptr, 0, 256);
    map.SetScalingLimits(lo, hi);
    return map;
}

TEST(Legend, AutomaticLabelsSpanTheWindowEvenly)
{
    struct Case {
        double lo, hi;
        unsigned int count;
        unsigned char type, digits;
        std::vector<Label> expected;
    } cases[] = {
        {0, 10, 5, 0, 1, {{0, "0.0"}, {0.25, "2.5"}, {0.5, "5.0"}, {0.75, "7.5"}, {1, "10.0"}}},
        {-1, 1, 3, 1, 2, {{0, "-1.00E+00"}, {0.5, "0.00E+00"}, {1, "1.00E+00"}}},
        {2, 4, 1, 2, 7, {{0, "2"}}}, // one label stands at the minimum
        {2, 4, 0, 2, 7, {}},
        {3, 3, 3, 0, 2, {{0, "3.00"}, {0, "3.00"}, {0, "3.00"}}}, // zero width: 0, not NaN
        {3, 3, 1, 0, 0, {{0, "3"}}},
        {10, 0, 3, 2, 3, {{0, "10"}, {0.5, "5"}, {1, "0"}}}, // a reversed window
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.lo) + ".." + std::to_string(c.hi) + " n=" + std::to_string(c.count));
        core::VbColorMap map = MapOver(c.lo, c.hi);
        VbLegend legend(&map);
        legend.m_NumLabels = c.count;
        legend.m_LabelFormat = core::VbLabelFormat(c.type, c.digits);
        EXPECT_EQ(LabelsOf(legend), c.expected);
    }
}

TEST(Legend, CustomLabelsReadValueTextPairsUntilOneIsMalformed)
{
    struct Case {
        const char* text;
        std::vector<Label> expected;
        double lo = 0, hi = 10;
    } cases[] = {
        {"0.0:Low 10:High", {{0, "Low"}, {1, "High"}}},
        {"5:\"Half way\" 2.5:Quarter", {{0.5, "Half way"}, {0.25, "Quarter"}}}, // quotes; order kept
        {"  7.5:  Upper", {{0.75, "Upper"}}},
        {"-1:Below 5:Mid 11:Above 10.000001:Over", {{0.5, "Mid"}}}, // outside the window: skipped
        {"nan:What 5:Mid", {{0.5, "Mid"}}},
        {"0:Low 5 Mid 10:High", {{0, "Low"}}},       // no colon ends the list
        {"0:Low 5 :Mid 10:High", {{0, "Low"}}},      // nor may anything stand before it
        {"0:Low 5:", {{0, "Low"}}},                  // a value without text
        {"0:Low 5:\"Mid 10:High", {{0, "Low"}}},     // an open quote
        {"0:Low High:10", {{0, "Low"}}},             // a text where a value belongs
        {"", {}},
        {"Low", {}},
        {"5:Only 6:Not", {{0, "Only"}}, 5, 5}, // a zero-width window: at 0, not NaN
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        core::VbColorMap map = MapOver(c.lo, c.hi);
        VbLegend legend(&map);
        legend.m_UseCustomLabels = true;
        legend.m_CustomLabels = c.text;
        legend.m_NumLabels = 1; // not the count of custom labels
        legend.m_LabelFormat.Prefix("not used "); // custom texts stand as written
        EXPECT_EQ(LabelsOf(legend), c.expected);
    }
}

TEST(Legend, WithoutAColorMapThereAreNoLabels)
{
    VbLegend legend;
    std::vector<VbLegend::CLabel> labels{{0.5, "stale"}};
    EXPECT_EQ(testsupport::RaisedBy([&] { legend.GenerateLabels(labels); }).message, "Invalid colormap.");
    core::VgRenderer renderer{core::SceneTransform()};
    legend.Execute(renderer); // hidden: nothing to draw, nothing to check
    legend.Show(true);
    EXPECT_THROW(legend.Execute(renderer), shr::Exception);
}

// A legend with every stored field away from its default.
VbLegend ChangedLegend()
{
    VbLegend legend;
    legend.Show(true);
    legend.m_Vertical = false;
    legend.m_UseCustomLabels = true;
    legend.m_ShowBackground = true;
    legend.m_Antialias = true;
    legend.m_XPos = 0.25f;
    legend.m_YPos = 0.75f;
    legend.m_Width = 12.5f;
    legend.m_Length = 300.0f;
    legend.m_Title = "Porosity";
    legend.m_CustomLabels = "0:Low 1:High";
    legend.m_FGColor = shr::Color4b(1, 2, 3, 4);
    legend.m_BGColor = shr::Color4b(5, 6, 7, 8);
    legend.m_Layout[0] = 4.0f;
    legend.m_Layout[3] = 9.5f;
    legend.m_FontName = "Courier";
    legend.m_TitleHeight = 14.0f;
    legend.m_LabelHeight = 10.0f;
    legend.m_NumLabels = 7;
    legend.m_LabelFormat = core::VbLabelFormat(1, 3);
    legend.m_LabelFormat.Postfix(" %");
    return legend;
}

using testsupport::Load;
using testsupport::Store;

TEST(Legend, RoundTripsEveryStoredField)
{
    VbLegend stored = ChangedLegend();
    const std::vector<unsigned char> bytes = testsupport::ExpectRoundTrip(stored, {1, 9});
    core::VbColorMap map;
    VbLegend loaded(&map);
    Load(loaded, bytes);
    EXPECT_EQ(loaded.GetColorMap(), &map); // the map is the owner's, not stored
}

// A damaged document may hold anything; what the rows would refuse or clamp is
// refused on loading (a label count of 67 million took minutes and gigabytes).
TEST(Legend, LoadingRefusesWhatTheRowsWouldNotTake)
{
    testsupport::ExpectDamageRefused<VbLegend>({
        {"label count", [](VbLegend& l) { l.m_NumLabels = 67108869; }},
        {"x position", [](VbLegend& l) { l.m_XPos = 2.0f; }},
        {"y position", [](VbLegend& l) { l.m_YPos = std::nanf(""); }},
        {"width", [](VbLegend& l) { l.m_Width = 0.0f; }},
        {"length", [](VbLegend& l) { l.m_Length = 1e9f; }},
        {"title height", [](VbLegend& l) { l.m_TitleHeight = -1.0f; }},
        {"spacing", [](VbLegend& l) { l.m_Layout[2] = std::numeric_limits<float>::infinity(); }},
        {"label format", [](VbLegend& l) { l.m_LabelFormat = core::VbLabelFormat(7, 3); }},
    }, [](VbLegend& l) { l = ChangedLegend(); });
}

TEST(Legend, DocumentsBefore109HeldThePositionInPixels)
{
    struct Case {
        int version;
        float x, y, expectedX, expectedY;
    } cases[] = {
        {108, 400.0f, 80.0f, 0.5f, 0.1f},
        {108, 1600.0f, -8.0f, 1.0f, 0.0f}, // clamped to the view
        {102, 0.0f, 800.0f, 0.0f, 1.0f},
        {109, 0.3f, 0.6f, 0.3f, 0.6f},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.version);
        VbLegend stored;
        stored.m_XPos = c.x;
        stored.m_YPos = c.y;
        const std::vector<unsigned char> bytes = Store(stored, c.version);
        VbLegend loaded;
        Load(loaded, bytes);
        EXPECT_FLOAT_EQ(loaded.m_XPos, c.expectedX);
        EXPECT_FLOAT_EQ(loaded.m_YPos, c.expectedY);
    }
}

// ---- property rows ---------------------------------------------------------

const int kBase = 40;

class LegendRowsTest : public ::testing::Test {
protected:
    void SetUp() override { legend.GetProperties(module, list, "RowsTest", kBase, "Color Legend", "Legend"); }

    // Edits a row the way a host does: the value into the list, then the event.
    template <class T>
    void Edit(int row, const T& value)
    {
        list.AnyValue(kBase + row, boost::any(value), false);
        legend.PropertyEvent(module, list, core::VbPropertyEvent(kBase + row, boost::any(value)), kBase);
    }
    template <class T>
    T Row(int row) const
    {
        T value{};
        list.GetValue(kBase + row, value);
        return value;
    }

    core::VbColorMap map{nullptr, 0, 256};
    VbLegend legend{&map};
    core::VbModuleId module{7};
    core::SimplePropertyCollection list;
};

TEST_F(LegendRowsTest, EditsAreTakenWithinLimits)
{
    struct Case {
        const char* what;
        std::function<void()> edit;
        std::function<bool()> holds;
    } cases[] = {
        {"horizontal", [&] { Edit(VbLegend::OrientationRow, 0u); }, [&] { return !legend.m_Vertical; }},
        {"x above 1",
         [&] { Edit(VbLegend::XPosRow, 1.5); },
         [&] { return legend.m_XPos == 1.0f && Row<double>(VbLegend::XPosRow) == 1.0; }},
        {"y below 0",
         [&] { Edit(VbLegend::YPosRow, -0.2); },
         [&] { return legend.m_YPos == 0.0f && Row<double>(VbLegend::YPosRow) == 0.0; }},
        {"y NaN",
         [&] { Edit(VbLegend::YPosRow, kNaN); },
         [&] { return legend.m_YPos == 0.0f && Row<double>(VbLegend::YPosRow) == 0.0; }}, // as before
        {"width negative",
         [&] { Edit(VbLegend::WidthRow, -3.0); },
         [&] { return legend.m_Width == 20.0f && Row<double>(VbLegend::WidthRow) == 20.0; }},
        {"length zero", [&] { Edit(VbLegend::LengthRow, 0.0); }, [&] { return legend.m_Length == 200.0f; }},
        {"label height NaN", [&] { Edit(VbLegend::LabelHeightRow, kNaN); },
         [&] { return legend.m_LabelHeight == 8.0f; }},
        {"title height huge",
         [&] { Edit(VbLegend::TitleHeightRow, 5000.0); },
         [&] { return legend.m_TitleHeight == 1000.0f && Row<double>(VbLegend::TitleHeightRow) == 1000.0; }},
        {"labels above 100",
         [&] { Edit(VbLegend::NumLabelsRow, 150u); },
         [&] { return legend.m_NumLabels == 100u && Row<unsigned int>(VbLegend::NumLabelsRow) == 100u; }},
        {"no labels", [&] { Edit(VbLegend::NumLabelsRow, 0u); }, [&] { return legend.m_NumLabels == 0u; }},
        {"empty font",
         [&] { Edit(VbLegend::FontRow, shr::GString()); },
         [&] { return legend.m_FontName == "Arial" && Row<shr::GString>(VbLegend::FontRow) == "Arial"; }},
        {"format digits",
         [&] { Edit(VbLegend::LabelFormatRow + 2, 3u); },
         [&] { return legend.m_LabelFormat.Digits() == 3; }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        c.edit();
        EXPECT_TRUE(c.holds());
    }
    // Rows of other groups are none of the legend's business.
    VbLegend before = legend;
    list.AnyValue(kBase - 1, boost::any(true), true);
    legend.PropertyEvent(module, list, core::VbPropertyEvent(kBase - 1, boost::any(true)), kBase);
    EXPECT_EQ(Store(legend), Store(before));
}

TEST_F(LegendRowsTest, RowsWithoutEffectAreGreyedOut)
{
    const auto enabled = [&](int row) { return list.Enabled(kBase + row); };
    EXPECT_TRUE(enabled(VbLegend::NumLabelsRow));
    EXPECT_FALSE(enabled(VbLegend::CustomLabelsRow));
    EXPECT_FALSE(enabled(VbLegend::BGColorRow));

    Edit(VbLegend::UseCustomLabelsRow, true);
    Edit(VbLegend::ShowBackgroundRow, true);
    EXPECT_FALSE(enabled(VbLegend::NumLabelsRow));
    EXPECT_FALSE(enabled(VbLegend::LabelFormatRow));
    EXPECT_TRUE(enabled(VbLegend::CustomLabelsRow));
    EXPECT_TRUE(enabled(VbLegend::BGColorRow));

    legend.Enabled(list, kBase, false);
    for (int row = 0; row < VbLegend::RowCount; ++row)
        EXPECT_TRUE(!list.IsProp(kBase + row) || !enabled(row)) << row;
    legend.Enabled(list, kBase, true);
    EXPECT_TRUE(enabled(VbLegend::TitleRow));
    EXPECT_FALSE(enabled(VbLegend::NumLabelsRow));
}

// Each module with a legend registers its 21 keys, as the isosurface does.
TEST(Legend, EveryModuleWithALegendRegistersItsKeys)
{
    const auto& registry = core::VbPropertyRegistry::Instance();
    const std::pair<const char*, int> modules[] = {
        {"IsoSurface", core::VoIsoSurface::IdLegend},
        {"OrthoSlice", core::VoOrthoSlice::IdLegend},
        {"ObliqueSlice", core::VoObliqueSlice::IdLegend},
    };
    for (const auto& module : modules) {
        SCOPED_TRACE(module.first);
        const std::string prefix = std::string(module.first) + "Legend";
        int count = 0;
        for (const auto& entry : registry)
            count += entry.first.compare(0, prefix.size(), prefix) == 0;
        EXPECT_EQ(count, 21);
        EXPECT_EQ(registry.Get(prefix + "Enable").id, module.second + VbLegend::EnableRow);
        EXPECT_EQ(registry.Get(prefix + "BGColor").id, module.second + VbLegend::BGColorRow);
    }
}

} // namespace
