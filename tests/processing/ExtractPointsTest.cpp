// Point extraction through the network: lattice nodes and depths along wells
// to points, blanks and defaults, the component rows and the stored form.
#include "NetworkFixture.h"
#include "../wells/WellTestSupport.h"

#include "core/data/VdPoints.h"
#include "core/data/VdUniformLattice.h"
#include "core/network/VbPort.h"
#include "core/processing/VoExtractPoints.h"
#include "core/properties/SimplePropertyCollection.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/wells/VdWellData.h"
#include "shr/Archive.h"
#include "shr/Mat4d.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace core;

namespace {

constexpr double kNull = WellLog::DefaultNullValue;
constexpr double kBlank = -1e300, B = kBlank;

// 3 x 2 x 1 nodes over (0, 0, 0)..(2, 1, 0) moved by (100, 200, 300); two
// Int16 components, 10 n and -n at node n; node 1 blank in component 1,
// node 4 blank in both.
VdUniformLattice* MakeLattice()
{
    const unsigned int dims[3] = {3, 2, 1};
    std::vector<int16_t> values;
    for (int16_t n = 0; n < 6; ++n)
        values.insert(values.end(), {int16_t(10 * n), int16_t(-n)});
    auto* lattice = new VdUniformLattice(shr::Int16, dims, values.data(), 2);
    lattice->SetUVWBounds(shr::Box3d(0, 0, 0, 2, 1, 0));
    lattice->SetUserTransform(shr::Mat4d::MakeTranslation(100, 200, 300));
    lattice->SetBlank(1, 0);
    lattice->SetBlank(4, 0);
    lattice->SetBlank(4, 1);
    return lattice;
}

const auto Log = welltest::MakeLog;

// Well A runs straight down from the origin to MD 200 with a gamma log (a gap
// at 150 and a sample at 250, below the path) and a one-sample resistivity
// log; well B is 10 long at x = 100 with no logs. Lifted by 1000 in the scene.
VdWellData* MakeWells()
{
    auto* data = new VdWellData;
    auto a = std::make_shared<Well>("A");
    for (double md : {0.0, 100.0, 200.0})
        a->AddPathPoint(WellPathPoint(0, 0, -md, md));
    a->AddLog(Log("GR", {LogEntry(50, 1), LogEntry(100, 2), LogEntry(150, kNull), LogEntry(250, 4)}));
    a->AddLog(Log("RT", {LogEntry(25, 7)}));
    auto b = std::make_shared<Well>("B");
    b->AddPathPoint(WellPathPoint(100, 0, 0, 0));
    b->AddPathPoint(WellPathPoint(100, 0, -10, 10));
    b->AddLog(Log("NPHI", {}));
    data->AddWell(b);
    data->AddWell(a);
    data->SetUserTransform(shr::Mat4d::MakeTranslation(0, 0, 1000));
    return data;
}

class ExtractPointsModule : public testsupport::DataNetworkTest {
protected:
    // Every value, point by point, with kBlank for a blank.
    static std::vector<double> Values(const VdPoints& points)
    {
        std::vector<double> values;
        for (unsigned int p = 0; p < points.VertexCount(); ++p)
            for (unsigned int c = 0; c < points.ComponentCount(); ++c)
                values.push_back(points.IsBlank(p, c) ? kBlank : *static_cast<const double*>(points.DataPtr(p, c)));
        return values;
    }
    static shr::Vec3d Position(const VdPoints& points, unsigned int p)
    {
        const double* xyz = static_cast<const double*>(points.GetCoordPtr()) + 3 * p;
        return shr::Vec3d(xyz[0], xyz[1], xyz[2]);
    }
};

TEST_F(ExtractPointsModule, LatticeNodesWithBlanksAndDefaults)
{
    VoExtractPoints* module = Feed(MakeLattice(), new VoExtractPoints);
    Edit(module, {{VoExtractPoints::IdOutComponents, "3"},
                  {VoExtractPoints::IdFirstComponent, "Component 2"},
                  {VoExtractPoints::IdFirstComponent + 1, "1"}});
    const VdPoints* points = Output<VdPoints>(module);
    ASSERT_TRUE(points);
    EXPECT_FALSE(points->HasUserTransform());
    EXPECT_EQ(points->GetCoordType(), shr::Double);
    EXPECT_EQ(points->DataType(), shr::Double);
    EXPECT_EQ(Position(*points, 5), shr::Vec3d(102, 201, 300)) << "positions carry the lattice's transform";
    // Node 4 is blank in every component and still has its point.
    EXPECT_EQ(Values(*points), (std::vector<double>{0, 0, B, -1, B, B, -2, 20, B, -3, 30, B, B, B, B, -5, 50, B}));

    Edit(module, {{VoExtractPoints::IdUseDefault, "true"}, {VoExtractPoints::IdDefaultValue, "-99"}});
    EXPECT_EQ(Values(*Output<VdPoints>(module)), (std::vector<double>{0, 0, -99, -1, -99, -99, -2, 20, -99, -3, 30, -99, -99,
                                                            -99, -99, -5, 50, -99}));
    EXPECT_FALSE(Output<VdPoints>(module)->HasBlanks());
}

TEST_F(ExtractPointsModule, DepthsAlongWells)
{
    VoExtractPoints* module = Feed(MakeWells(), new VoExtractPoints);
    EXPECT_EQ(module->CollectComponents(), (std::vector<shr::GString>{"GR", "NPHI", "RT"}));
    Edit(module, {{VoExtractPoints::IdOutComponents, "2"},
                  {VoExtractPoints::IdFirstComponent, "GR"},
                  {VoExtractPoints::IdFirstComponent + 1, "rt"}});
    const VdPoints* points = Output<VdPoints>(module);
    ASSERT_TRUE(points);
    // A: path points 0, 100, 200 and samples at 25 (RT) and 50 (GR); the GR
    // sample at 250 lies below the path and ends the well. B: its two points.
    EXPECT_EQ(Values(*points), (std::vector<double>{B, B, B, 7, 1, B, 2, B, B, B, B, B, B, B}));
    const double depths[] = {0, 25, 50, 100, 200};
    for (unsigned int p = 0; p < 5; ++p)
        EXPECT_EQ(Position(*points, p), shr::Vec3d(0, 0, 1000 - depths[p])) << p;
    EXPECT_EQ(Position(*points, 6), shr::Vec3d(100, 0, 990));
}

TEST_F(ExtractPointsModule, RowsKeysAndStoredForm)
{
    VoExtractPoints* module = Feed(MakeLattice(), new VoExtractPoints);
    Edit(module, {{VoExtractPoints::IdOutComponents, "2"}, {VoExtractPoints::IdFirstComponent + 1, "Component 2"}});
    EXPECT_TRUE(list.IsProp(VoExtractPoints::IdFirstComponent + 1));
    EXPECT_FALSE(list.IsProp(VoExtractPoints::IdFirstComponent + 2));
    EXPECT_FALSE(list.Enabled(VoExtractPoints::IdDefaultValue)) << "the default needs its check";
    list.SetNum(VoExtractPoints::IdOutComponents, 21u);
    EXPECT_THROW(Send(*module, list, VoExtractPoints::IdOutComponents), shr::Exception);

    EXPECT_EQ(VbPropertyRegistry::Instance().Get("ExtractPointsComp20").id, 26);

    // The stored form of a module outside the network, which has no links to store.
    VoExtractPoints alone;
    SimplePropertyCollection rows;
    alone.UpdateProperties(rows);
    for (const auto& row : {std::make_pair(int(VoExtractPoints::IdOutComponents), "2"),
                            std::make_pair(VoExtractPoints::IdFirstComponent + 1, "Component 2")}) {
        rows.StringValue(row.first, row.second);
        alone.PropertyEvent(rows, VbPropertyEvent(row.first, rows.AnyValue(row.first)));
    }
    std::vector<unsigned char> bytes = testsupport::ExpectRoundTrip(alone);
    // A document asking for 21 components is refused and changes nothing.
    const size_t countAt = bytes.size() - 1 - (4 + 20 * 4 + 11) - 8 - 4;
    ASSERT_EQ(bytes[countAt], 2);
    bytes[countAt] = 21;
    VoExtractPoints fresh, untouched;
    EXPECT_THROW(testsupport::Load(fresh, bytes), shr::Exception);
    EXPECT_EQ(testsupport::Store(fresh), testsupport::Store(untouched)) << "left as it was";
}

} // namespace
