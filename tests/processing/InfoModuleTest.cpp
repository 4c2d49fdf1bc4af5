// The info module's rows for each kind of input, read as a host lists them.
#include "SourceTestSupport.h"
#include "../wells/WellTestSupport.h"

#include "core/data/VdPoints.h"
#include "core/data/VdUniformLattice.h"
#include "core/processing/VoInfo.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/wells/VdWellData.h"

using namespace core;
using namespace sourcetest;

namespace {

constexpr int XMinRow = VoInfo::IdLimits + 1, XMaxRow = VoInfo::IdLimits + 2, FirstComponent = VoInfo::IdComponents + 3;

// Three points over (1, 2, 3)..(4, 5, 9); component 1 from 1 to 5, component 2 all blank.
VdPoints* MakePoints()
{
    const float coords[9] = {1, 2, 3, 4, 5, 6, 2, 3, 9};
    const double data[6] = {1, 0, 5, 0, 3, 0};
    auto* points = new VdPoints(shr::Float, shr::Double, 3, coords, data, 2);
    for (unsigned int p = 0; p < 3; ++p)
        points->SetBlank(p, 1);
    return points;
}

class InfoModuleTest : public SourceModuleTest {
protected:
    VoInfo* AddInfo(VoModule* source)
    {
        auto* info = Add(new VoInfo);
        if (source)
            Link(info, source, 0);
        RunPass();
        return info;
    }
};

} // namespace

TEST_F(InfoModuleTest, PointRows)
{
    auto* source = Add(new testsupport::DataSource(MakePoints(), PortPoints));
    source->Name("Wells");
    VoInfo* info = AddInfo(source);
    std::unique_ptr<LabelledList> rows = Rows(*info);
    const std::pair<int, const char*> expected[] = {
        {VoInfo::IdInput, "Wells"},
        {VoInfo::IdDatasetType, "Point set"},
        {VoInfo::IdPointCount, "3"},
        {VoInfo::IdCoordinateType, "32-bit float"},
        {VoInfo::IdComponents + 1, "64-bit float"},
        {VoInfo::IdComponents + 2, "2"},
        {FirstComponent, "(1, 5)"},
        {FirstComponent + 1, "No data"},
    };
    for (const auto& row : expected)
        EXPECT_EQ(rows->Text(row.first), row.second) << row.first;
    EXPECT_EQ(rows->labels[FirstComponent + 1], "Component 2 limits");
    EXPECT_EQ(rows->Number(XMinRow), 1.0);
    EXPECT_EQ(rows->Number(XMaxRow), 4.0);
    EXPECT_FALSE(rows->Enabled(XMinRow)) << "the limits are for reading only";
    EXPECT_TRUE(rows->IsProp(VoInfo::IdShowData));
    EXPECT_FALSE(rows->IsProp(VoInfo::IdSpacing));

    Send(*info, *rows, VoInfo::IdShowData);
    ASSERT_EQ(host().views.size(), 1u);
    EXPECT_EQ(host().views[0].first, source->GetOutput(0)->Data());
}

TEST_F(InfoModuleTest, LatticeRows)
{
    const unsigned int dims[3] = {3, 2, 1};
    auto* lattice = new VdUniformLattice(shr::Int16, dims, nullptr, 1);
    lattice->SetUVWBounds(shr::Box3d(0, 0, 0, 1, 1, 0));
    VoInfo* info = AddInfo(Add(new testsupport::DataSource(lattice, PortUniformLattice)));
    std::unique_ptr<LabelledList> rows = Rows(*info);
    EXPECT_EQ(rows->Text(VoInfo::IdDatasetType), "Uniform lattice");
    EXPECT_EQ(rows->Text(VoInfo::IdSpacing), "(0.5 x 1 x 0)");
    EXPECT_EQ(rows->labels[VoInfo::IdSpacing], "Spacing");
    EXPECT_TRUE(rows->IsProp(VoInfo::IdGeometry));
    EXPECT_EQ(rows->Number(XMaxRow), 1.0);
    EXPECT_FALSE(rows->Enabled(XMaxRow));
    EXPECT_EQ(core::VbPropertyRegistry::Instance().Get("InfoXMax").id, XMaxRow);
    EXPECT_EQ(core::VbPropertyRegistry::Instance().Get("InfoZMin").id, VoInfo::IdLimits + 7);
    EXPECT_EQ(rows->Text(FirstComponent), "(0, 0)");
    EXPECT_FALSE(rows->IsProp(VoInfo::IdPointCount));
}

TEST_F(InfoModuleTest, WellRows)
{
    auto* wells = new VdWellData;
    auto a = std::make_shared<Well>("A-1");
    a->Top(shr::Point3<double>(500100.25, 7000200.5, 841.125));
    a->AddLog(welltest::MakeLog("GR", {LogEntry(40, 80.5), LogEntry(10, 12), LogEntry(20, WellLog::DefaultNullValue)}));
    auto b = std::make_shared<Well>("B-2");
    b->AddLog(welltest::MakeLog("empty", {}));
    wells->AddWell(b);
    wells->AddWell(a);
    VoInfo* info = AddInfo(Add(new testsupport::DataSource(wells, PortWellData)));
    std::unique_ptr<LabelledList> rows = Rows(*info);
    const int first = VoInfo::IdFirstWellRow;
    const std::pair<int, const char*> expected[] = {
        {VoInfo::IdDatasetType, "Well data"},
        {VoInfo::IdWellCount, "2"},
        {first + 1, "(500100.25, 7000200.5, 841.125)"},
        {first + 2, "1"},
        {first + 4, "(10, 40)"},
        {first + 5, "12, 80.5"},
        {first + 7, "Not set"},
        {first + 8, "1"},
        {first + 10, "Not available"},
        {first + 11, "Not Available"},
    };
    for (const auto& row : expected)
        EXPECT_EQ(rows->Text(row.first), row.second) << row.first;
    EXPECT_EQ(rows->labels[first + 4], "MD range");
    EXPECT_EQ(rows->labels[first + 11], "Data range");
    EXPECT_TRUE(rows->IsProp(VoInfo::IdGeometry));
    EXPECT_FALSE(rows->IsProp(first + 12));
    EXPECT_FALSE(rows->IsProp(VoInfo::IdShowData)) << "wells have no worksheet";
}
