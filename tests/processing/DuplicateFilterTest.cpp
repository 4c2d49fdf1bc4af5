// The duplicate filter: which row stands for each set under every rule, how
// the tolerances draw the sets, blanks, and the module in a running network
// with its property keys and documents.
#include "LatticeSupport.h"
#include "NetworkFixture.h"

#include "core/data/VdPoints.h"
#include "core/gridding/CPointData.h"
#include "core/network/VbModuleRegistry.h"
#include "core/network/VbPort.h"
#include "core/processing/VoDuplicateFilter.h"
#include "core/properties/VbPropertyRegistry.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <vector>

using namespace core;

namespace {

const double B = CDatum::BLANK_VAL;

struct RowSpec {
    uint32_t id;
    double x, y, z;
    std::vector<double> values;
};

CPointData MakeTable(const std::vector<RowSpec>& rows, size_t components)
{
    CPointData table(components);
    for (const RowSpec& spec : rows) {
        std::vector<double> values = spec.values;
        values.resize(components, B);
        table.push_back(testsupport::PointRow(spec.x, spec.y, spec.z, values, spec.id));
    }
    return table;
}

using testsupport::RowIds;
const auto& Ids = RowIds;

CPointData Filter(CPointData table, uint32_t rule, double tx, double ty, double tz)
{
    VoDuplicateFilter filter;
    filter.SetRule(rule);
    filter.Tolerance(0, tx);
    filter.Tolerance(1, ty);
    filter.Tolerance(2, tz);
    EXPECT_TRUE(filter.FilterDuplicates(table));
    return table;
}

// One set of three (IDs 1, 2, 3, each extreme on a different axis) and two
// rows alone. Component 1 is blank in one member, component 2 in all.
CPointData SampleTable()
{
    return MakeTable({{0, 1.0, 0.0, 0.0, {5, 50, 500}},
                      {1, 0.00, 0.06, 0.03, {1, 10, B}},
                      {2, 0.02, 0.00, 0.09, {3, B, B}},
                      {3, 0.04, 0.03, 0.00, {2, 30, B}},
                      {4, 5.0, 5.0, 5.0, {7, 70, 700}}},
                     3);
}

const uint32_t A = CDatum::ARTIFICIAL_ID;

} // namespace

TEST(DuplicateFilter, EachRuleChoosesItsRow)
{
    using F = VoDuplicateFilter;
    struct Case {
        uint32_t rule;
        std::vector<uint32_t> ids; // sorted order; the set's row first
    } cases[] = {
        {F::RuleAll, {0, 1, 2, 3, 4}}, // untouched, not even sorted
        {F::RuleNone, {0, 4}},
        {F::RuleFirst, {1, 0, 4}},
        {F::RuleLast, {3, 0, 4}},
        {F::RuleMinimumX, {1, 0, 4}},
        {F::RuleMaximumX, {3, 0, 4}},
        {F::RuleMedianX, {2, 0, 4}},
        {F::RuleMinimumY, {2, 0, 4}},
        {F::RuleMaximumY, {1, 0, 4}},
        {F::RuleMedianY, {3, 0, 4}},
        {F::RuleMinimumZ, {3, 0, 4}},
        {F::RuleMaximumZ, {2, 0, 4}},
        {F::RuleMedianZ, {1, 0, 4}},
    };
    for (const Case& c : cases) {
        const CPointData out = Filter(SampleTable(), c.rule, 0.1, 0.1, 0.1);
        EXPECT_EQ(Ids(out), c.ids) << VoDuplicateFilter::RuleStrings()[c.rule];
        // A chosen row is copied whole: its position and values come along.
        const CPointData sample = SampleTable();
        for (const CPointDatum& row : sample)
            if (c.rule != F::RuleAll && row.ID() == out[0].ID()) {
                EXPECT_TRUE(static_cast<const CDatum&>(out[0]) == row);
                EXPECT_EQ(out[0].Z(), row.Z());
            }
    }
    const CPointData random = Filter(SampleTable(), F::RuleRandom, 0.1, 0.1, 0.1);
    ASSERT_EQ(random.size(), 3u);
    EXPECT_TRUE(random[0].ID() >= 1 && random[0].ID() <= 3) << random[0].ID();

    VoDuplicateFilter unknown;
    unknown.SetRule(F::RuleCount);
    CPointData table = SampleTable();
    EXPECT_EQ(testsupport::RaisedBy([&] { unknown.FilterDuplicates(table); }).message, "Invalid duplicate rule.");
}

TEST(DuplicateFilter, StatisticRulesMakeANewRowFromTheValidValues)
{
    using F = VoDuplicateFilter;
    // Component 0 holds 1, 3, 2; component 1 holds 10, 30 and a blank
    // (so its median is of an even count); component 2 is blank throughout.
    struct Case {
        uint32_t rule;
        double w0, w1;
    } cases[] = {
        {F::RuleMinimum, 1, 10},  {F::RuleMaximum, 3, 30}, {F::RuleMedian, 2, 20},
        {F::RuleMidrange, 2, 20}, {F::RuleSum, 6, 40},     {F::RuleAverage, 2, 20},
    };
    for (const Case& c : cases) {
        const CPointData out = Filter(SampleTable(), c.rule, 0.1, 0.1, 0.1);
        const char* name = VoDuplicateFilter::RuleStrings()[c.rule].c_str();
        ASSERT_EQ(Ids(out), (std::vector<uint32_t>{A, 0, 4})) << name;
        EXPECT_DOUBLE_EQ(out[0].X(), 0.02) << name;
        EXPECT_DOUBLE_EQ(out[0].Y(), 0.03) << name;
        EXPECT_DOUBLE_EQ(out[0].Z(), 0.04) << name;
        EXPECT_EQ(out[0].W(0), c.w0) << name;
        EXPECT_EQ(out[0].W(1), c.w1) << name;
        EXPECT_TRUE(out[0].IsBlank(2)) << name;
        EXPECT_EQ(out[2].W(2), 700.0) << "rows alone are untouched";
    }
}

TEST(DuplicateFilter, TolerancesDrawBoxesAroundTheFirstRowOfEachSet)
{
    using F = VoDuplicateFilter;
    struct Case {
        const char* what;
        std::vector<RowSpec> rows;
        double tx, ty, tz;
        uint32_t rule;
        std::vector<uint32_t> ids;
    } cases[] = {
        {"zero tolerances merge only equal positions",
         {{0, 1, 1, 1, {}}, {1, 1, 1, 1 + 1e-12, {}}, {2, 1, 1, 1, {}}},
         0, 0, 0, F::RuleLast, {2, 1}},
        {"distances are taken from the set's first row, not chained",
         {{0, 0.0, 0, 0, {}}, {1, 0.08, 0, 0, {}}, {2, 0.16, 0, 0, {}}},
         0.1, 0.1, 0.1, F::RuleLast, {1, 2}},
        {"a member already taken is skipped by later heads",
         {{0, 0.0, 0, 0, {}}, {1, 0.05, 0, 0, {}}, {2, 0.1, 0, 0, {}}},
         0.06, 0.06, 0.06, F::RuleNone, {2}},
        {"each axis has its own tolerance, inclusive",
         {{0, 0, 0, 0, {}}, {1, 0, 0.5, 0, {}}, {2, 0, 0, 0.75, {}}},
         0, 0.5, 0.5, F::RuleNone, {2}},
        {"a row beyond the X tolerance ends the walk, rows beyond it in Y do not",
         {{0, 0, 0, 0, {}}, {1, 0, 9, 0, {}}, {2, 0.2, 0, 0, {}}, {3, 0.05, 0, 0, {}}},
         0.1, 0.1, 0.1, F::RuleFirst, {0, 1, 2}},
        {"a set of two under Median X takes the lower X",
         {{5, 0.0, 0, 0, {}}, {2, 0.05, 0, 0, {}}},
         0.1, 0.1, 0.1, F::RuleMedianX, {5}},
        {"rows without a duplicate survive None",
         {{0, 0, 0, 0, {}}, {1, 3, 0, 0, {}}, {2, 0, 0, 0, {}}},
         0, 0, 0, F::RuleNone, {1}},
        {"a single row is left alone", {{7, 0, 0, 0, {}}}, 1, 1, 1, F::RuleNone, {7}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Ids(Filter(MakeTable(c.rows, 1), c.rule, c.tx, c.ty, c.tz)), c.ids) << c.what;
}

namespace {

// Points 0 and 2 coincide; 1 stands apart. Two components, point 2 blank in
// the second; labels on points 0 and 2.
VdPoints* NetworkPoints()
{
    const double coords[] = {1, 2, 3, 9, 9, 9, 1, 2, 3};
    const double values[] = {10, 100, 20, 200, 30, 0};
    auto* points = new VdPoints(shr::Double, shr::Double, 3, coords, values, 2);
    points->SetBlank(2, 1);
    points->AddLabel({0, "P0"});
    points->AddLabel({2, "P2"});
    return points;
}

const auto& Value = testsupport::ElementValue;

class DuplicateFilterModule : public testsupport::DataNetworkTest {};

} // namespace

TEST_F(DuplicateFilterModule, FiltersItsInputThroughTheNetwork)
{
    auto* filter = Feed(NetworkPoints(), new VoDuplicateFilter);
    struct Case {
        const char* rule;
        std::vector<double> first;     // component 0 of each output point
        std::vector<const char*> labels; // "" for none
        bool blank;                     // the merged point's component 1
    } cases[] = {
        {"0", {10, 20, 30}, {"P0", "", "P2"}, false},
        {"3", {30, 20}, {"P2", ""}, true},       // Last: the blank comes along
        {"19", {20, 20}, {"", ""}, false},       // Average: a new point, no label
        {"1", {20}, {""}, false},
    };
    for (const Case& c : cases) {
        Edit(filter, {{VoDuplicateFilter::RuleId, c.rule}, {VoDuplicateFilter::XToleranceId, "0.5"}});
        const auto* out = Output<VdPoints>(filter);
        ASSERT_NE(out, nullptr) << c.rule << ": " << LastError();
        ASSERT_EQ(out->VertexCount(), c.first.size()) << c.rule;
        ASSERT_EQ(out->ComponentCount(), 2u);
        for (unsigned int p = 0; p < c.first.size(); ++p) {
            EXPECT_EQ(Value(*out, p, 0), c.first[p]) << c.rule << " point " << p;
            const auto label = out->FindLabel(p);
            EXPECT_EQ(label == out->labels_end() ? "" : label->second, c.labels[p]) << c.rule << " point " << p;
        }
        if (c.first.size() == 2) {
            EXPECT_EQ(out->IsBlank(0, 1), c.blank) << c.rule;
            EXPECT_EQ(Value(*out, 0, 1), c.blank ? B : 100.0) << c.rule;
        }
    }
    EXPECT_EQ(filter->Tolerance(0), 0.5);
}

TEST_F(DuplicateFilterModule, DocumentsRoundTripThroughTheToleranceVersionGate)
{
    VoDuplicateFilter stored;
    stored.SetRule(VoDuplicateFilter::RuleMedianY);
    stored.Tolerance(0, 0.25);
    stored.Tolerance(1, 0.5);
    stored.Tolerance(2, 2.0);
    testsupport::ExpectRoundTrip(stored, {4, 20});

    // Before the gate a document held one tolerance, for every axis.
    std::vector<unsigned char> old;
    {
        shr::Archive archive(old, "", VoDuplicateFilter::PerAxisToleranceVersion - 1);
        VoDuplicateFilter module;
        module.VoModule::Serialize(archive);
        archive.SyncCheck();
        testsupport::Put(archive, uint32_t(VoDuplicateFilter::RuleSum), 0.75);
    }
    VoDuplicateFilter legacy;
    testsupport::Load(legacy, old);
    EXPECT_EQ(legacy.GetRule(), VoDuplicateFilter::RuleSum);
    for (int axis = 0; axis < 3; ++axis)
        EXPECT_EQ(legacy.Tolerance(axis), 0.75) << axis;
}
