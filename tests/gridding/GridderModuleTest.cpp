// The gridder module in a running network: defaults from its input, the
// property rows and their rules, the button that starts a run, validation,
// abort and persistence through every version gate.
#include "NetworkFixture.h"

#include "core/data/MemoryBudget.h"
#include "core/data/VdPoints.h"
#include "core/data/VdUniformLattice.h"
#include "core/gridding/VoGridder3.h"
#include "core/properties/VbPropertyEvent.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

using namespace core;
using testsupport::DataSource;

namespace {

// `count` points along a line through the unit cube, value = x, in `components` components.
VdPoints* LinePoints(unsigned count, unsigned components = 1, double z = -1.0)
{
    std::vector<double> coords, values;
    for (unsigned p = 0; p < count; ++p) {
        const double t = count > 1 ? double(p) / (count - 1) : 0.5;
        coords.insert(coords.end(), {t, 1.0 - t, z < 0 ? t * t : z});
        for (unsigned c = 0; c < components; ++c)
            values.push_back(t + c);
    }
    return new VdPoints(shr::Double, shr::Double, count, coords.data(), values.data(), components);
}

enum : int {
    IdComponent = 4,
    IdRecalculate = 6,
    IdXMax = 9,
    IdXNum = 17,
    IdYNum = 18,
    IdZNum = 19,
    IdSearchType = 25,
    IdSearchMin = 26,
    IdSearchMax = 27,
    IdRadius = 28,
    IdSearchYLength = 31,
    IdSearchFirstAxisX = 34,
    IdMethod = 46,
    IdAniso = 47,
    IdAnisoSecondAxisX = 57,
    IdMetric = 64,
    IdPolyOrder = 67,
    IdBeginGridding = 69,
};

class GridderModuleTest : public testsupport::NetworkFixture {
public:
    void SetUp() override
    {
        NetworkFixture::SetUp();
        source = Add(new DataSource(nullptr, PortPoints));
        gridder = Add(new VoGridder3);
    }
    // Offers `points` and (re)links the gridder to them.
    void Connect(VdPoints* points)
    {
        source->GetOutput(0)->Data(points);
        Link(gridder, source);
        gridder->UpdateProperties(list);
    }
    template <class T>
    void Set(int id, T value)
    {
        list.AnyValue(id, boost::any(value), true);
        Send(*gridder, list, id);
    }
    void Press(int id) { network().ModifyNode(*gridder, list, VbPropertyEvent(id, boost::any(true)), true, false); }
    // Presses "Begin Gridding" and runs the pass.
    void Grid()
    {
        proxy.Clear();
        Press(IdBeginGridding);
        RunPass();
    }
    VdUniformLattice* Output() const { return dynamic_cast<VdUniformLattice*>(gridder->GetOutput(0)->Data()); }

    testsupport::ErrorProxy proxy;
    DataSource* source = nullptr;
    VoGridder3* gridder = nullptr;
};

} // namespace

TEST_F(GridderModuleTest, DefaultsComeFromTheFirstInput)
{
    const std::pair<unsigned, uint32_t> cases[] = {{30, VoGridder3::SearchAllData},  {50, VoGridder3::SearchAllData},
                                                   {51, VoGridder3::SearchAllData},  {500, VoGridder3::SearchAllData},
                                                   {501, VoGridder3::SearchSimple}};
    for (const auto& c : cases) {
        auto* module = Add(new VoGridder3);
        Link(module, Add(new DataSource(LinePoints(c.first), PortPoints)));
        const VoGridder3::GriddingOptions& o = module->Options();
        EXPECT_EQ(o.searchType, c.second) << c.first;
        EXPECT_EQ(o.maxCount, std::min(int32_t(c.first), 50)) << c.first;
        EXPECT_EQ(o.limits, shr::Box3d(0, 0, 0, 1, 1, 1));
        EXPECT_DOUBLE_EQ(o.radius, std::sqrt(3.0)) << "the diagonal";
        EXPECT_EQ(o.anisotropyAxes[2], shr::Vec3d(0, 0, std::sqrt(3.0)));
    }
}

TEST_F(GridderModuleTest, FlatInputIsPaddedDefaultsComeOnceAndRecalculateCanBeUndone)
{
    Connect(LinePoints(10, 1, 2.0)); // all in the plane z = 2
    const double pad = 1.0 / 49.0;   // the largest side is 1
    EXPECT_DOUBLE_EQ(gridder->Options().limits.min.z, 2.0 - pad);
    EXPECT_DOUBLE_EQ(gridder->Options().limits.max.z, 2.0 + pad);
    EXPECT_NEAR(gridder->Options().searchAxes[2].z, 2 * pad, 1e-15);

    Connect(LinePoints(1)); // a single point: pad 1
    EXPECT_DOUBLE_EQ(gridder->Options().limits.max.z, 2.0 + pad) << "a second input keeps the settings";
    Set(IdXMax, 5.0);
    gridder->UpdateProperties(list); // the host stores the options before the button
    Press(IdRecalculate);
    EXPECT_EQ(gridder->Options().limits, shr::Box3d(-0.5, -0.5, -0.75, 1.5, 1.5, 1.25));
    network().ModifyNode(*gridder, list, VbPropertyEvent(IdRecalculate, boost::any()), true, true);
    EXPECT_EQ(gridder->Options().limits.max.x, 5.0) << "undone from the stored options";
}

TEST_F(GridderModuleTest, RowsFollowTheSearchTypeAndTheMethod)
{
    Connect(LinePoints(10));
    struct Case {
        int id;
        unsigned value;
        std::vector<int> present, absent;
    } cases[] = {
        {IdSearchType, VoGridder3::SearchSimple, {IdSearchMin, IdSearchMax, IdRadius}, {29, 30}},
        {IdSearchType, VoGridder3::SearchAnisotropic, {29, 30, IdSearchYLength}, {IdRadius, 33}},
        {IdSearchType, VoGridder3::SearchGeneral, {33, IdSearchFirstAxisX, 44}, {30}},
        {IdMethod, VoGridder3::MethodDataMetric, {IdMetric}, {IdAniso, 65}},
        {IdMethod, VoGridder3::MethodInverseDistance, {IdAniso, 65, 66}, {IdMetric, 48}},
        {IdAniso, VoGridder3::Anisotropic, {48, 49, 51}, {52}},
        {IdAniso, VoGridder3::GeneralAnisotropy, {52, IdAnisoSecondAxisX, 63}, {49}},
        {IdSearchType, VoGridder3::SearchAllData, {}, {IdRadius}},
        // Local polynomial moves "all data" to a simple search.
        {IdMethod, VoGridder3::MethodLocalPolynomial, {IdPolyOrder, 68, IdRadius}, {IdAniso, 52, 65}},
    };
    for (const Case& c : cases) {
        Set(c.id, c.value);
        for (int id : c.present)
            EXPECT_TRUE(list.IsProp(id)) << c.id << "=" << c.value << " shows " << id;
        for (int id : c.absent)
            EXPECT_FALSE(list.IsProp(id)) << c.id << "=" << c.value << " hides " << id;
    }
    EXPECT_EQ(gridder->Options().searchType, VoGridder3::SearchSimple);
    unsigned shown = 0;
    list.GetValue(IdSearchType, shown);
    EXPECT_EQ(shown, unsigned(VoGridder3::SearchSimple));
}

TEST_F(GridderModuleTest, OnlyTheButtonRunsTheGridding)
{
    RunPass();
    EXPECT_EQ(gridder->GetStatus(), VoModule::ModuleIdle) << "no input";
    Connect(LinePoints(10));
    Set(IdXNum, 3u);
    Set(IdYNum, 2u);
    RunPass();
    EXPECT_EQ(gridder->GetStatus(), VoModule::ModuleIdle);
    EXPECT_EQ(Output(), nullptr);

    Grid();
    EXPECT_TRUE(proxy.Errors().empty());
    EXPECT_EQ(gridder->GetStatus(), VoModule::ModuleOk);
    VdUniformLattice* lattice = Output();
    ASSERT_NE(lattice, nullptr);
    EXPECT_EQ(lattice->GetDims()[1], 2u);
    EXPECT_EQ(lattice->GetDims()[2], 50u);
    EXPECT_EQ(lattice->GetUVWBounds(), shr::Box3d(0, 0, 0, 1, 1, 1));
    EXPECT_FALSE(gridder->RunRequested());

    Set(IdXNum, 4u);
    RunPass();
    EXPECT_EQ(Output(), lattice) << "a changed setting keeps the last lattice until the button";

    // The method's rows reach the run: the count of all data at node (0, 0, 0).
    Set(IdMethod, unsigned(VoGridder3::MethodDataMetric));
    Set(IdMetric, 15u);
    Grid();
    ASSERT_NE(Output(), nullptr);
    EXPECT_EQ(*static_cast<const double*>(Output()->DataPtr(0, 0, 0)), 10.0);

    // The limits of the resolution are inclusive, and equal counts are allowed.
    Set(IdXNum, 10000u);
    Set(IdZNum, 2u);
    Set(IdSearchMax, 1);
    Grid();
    ASSERT_NE(Output(), nullptr);
    EXPECT_EQ(Output()->GetDims()[0], 10000u);
}

TEST_F(GridderModuleTest, ValidationReportsTheFirstFailureAndLeavesNoOutput)
{
    using Rows = std::vector<std::pair<int, boost::any>>;
    const int kBudget = -1; // not a row: the memory budget in bytes
    const int kInput = -2;  // not a row: new input points
    const std::string internal = "Internal Error.", noData = "The input point set contains no associated data.";
    VdPoints* blank = LinePoints(2);
    blank->SetBlank(0, 0);
    blank->SetBlank(1, 0);
    const std::pair<Rows, std::string> cases[] = {
        {{{IdXMax, 0.0}, {IdXNum, 1u}}, "The minimum X limit must be less than the maximum."},
        {{{IdXNum, 10001u}}, "The X resolution must be >= 2 and <= 10000"},
        {{{IdSearchType, 1u}, {IdRadius, 0.0}}, "Search radius must be greater than 0"},
        {{{IdSearchType, 2u}, {IdSearchYLength, -1.0}}, "Y Length must be greater than 0"},
        {{{IdSearchType, 3u}, {IdSearchFirstAxisX, 0.0}, {IdSearchFirstAxisX + 1, 1.0}, {IdSearchMin, 5},
          {IdSearchMax, 4}},
         "Search ellipse axes are coplanar.  Specify three non-coplanar axes."},
        {{{IdSearchType, 1u}, {IdSearchMin, 5}, {IdSearchMax, 4}},
         "'Min Count' must be less than or equal to 'Max Count'"},
        {{{IdSearchType, 1u}, {IdSearchMin, 0}}, internal},
        {{{IdAniso, 2u}, {IdAnisoSecondAxisX, 0.0}, {IdAnisoSecondAxisX + 1, 0.0}, {IdAnisoSecondAxisX + 2, 1e-20}},
         "Anisotropy ellipse axes are coplanar.  Specify three non-coplanar axes."},
        {{{IdMethod, 0u}, {IdMetric, 21u}}, internal},
        {{{kBudget, size_t(4096)}, {IdXNum, 1000u}}, "Insufficient memory to perform operation"},
        {{{kInput, new VdPoints()}}, "The input point set is empty."},
        {{{kInput, LinePoints(2, 0)}}, noData},
        {{{kInput, blank}}, noData},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.second);
        TearDown();
        SetUp();
        Connect(LinePoints(10));
        Set(IdXNum, 2u);
        Set(IdYNum, 2u);
        Grid();
        ASSERT_NE(Output(), nullptr);
        for (const auto& row : c.first) {
            if (row.first == kBudget) {
                core::MemoryBudget::SetBytes(boost::any_cast<size_t>(row.second));
                continue;
            }
            if (row.first == kInput) {
                Connect(boost::any_cast<VdPoints*>(row.second));
                continue;
            }
            Set(row.first, row.second);
        }
        Grid();
        core::MemoryBudget::SetBytes(0);
        const std::vector<std::string> errors = proxy.Errors();
        ASSERT_EQ(errors.size(), 1u);
        EXPECT_EQ(errors[0].substr(0, c.second.size()), c.second);
        EXPECT_EQ(gridder->GetStatus(), VoModule::ModuleFailed);
        EXPECT_EQ(Output(), nullptr);
        EXPECT_FALSE(gridder->RunRequested());
    }
}

TEST_F(GridderModuleTest, AbortLeavesNoOutput)
{
    Connect(LinePoints(400));
    for (int id : {IdXNum, IdYNum, IdZNum})
        Set(id, 200u); // far more work than the test waits for
    Press(IdBeginGridding);
    ASSERT_TRUE(AbortWhileExecuting(*gridder, proxy));
    EXPECT_EQ(gridder->GetStatus(), VoModule::ModuleAborted);
    EXPECT_EQ(Output(), nullptr);
}

namespace {

using Damage = void (*)(VoGridder3::GriddingOptions&, shr::Vec3i&);

// The fields of the gridder's part of a document as an older version wrote
// them, with a component of 2 and 7 nodes in X; `damage` changes them first.
std::vector<unsigned char> OldDocument(int version, Damage damage = nullptr)
{
    std::vector<unsigned char> bytes;
    VoGridder3 module;
    shr::Archive archive(bytes, "", version);
    module.VoModule::Serialize(archive);
    archive.SyncCheck();
    VoGridder3::GriddingOptions o;
    uint32_t component = 2;
    if (version >= 112)
        archive.Transfer(component);
    const bool flag = false; // defaults pending, then (after the options) the run flag
    shr::Vec3i resolution(7, 50, 50);
    if (damage)
        damage(o, resolution);
    testsupport::Put(archive, flag, o.reserved, o.limits, resolution, o.searchType, o.minCount, o.maxCount);
    for (int i = 0; i < 13; ++i) // the radius and the search axes
        archive.Transfer(o.radius);
    testsupport::Put(archive, o.method, o.anisotropyType);
    for (int i = 0; i < 12; ++i) // the anisotropy lengths and axes
        archive.Transfer(o.radius);
    testsupport::Put(archive, o.metric, o.distancePower, o.distanceSmooth, o.polynomialPower, o.polynomialOrder,
                     flag);
    if (version >= 102) {
        const unsigned dims[3] = {2, 2, 2};
        shr::CTypedObject* lattice = new VdUniformLattice(shr::Double, dims, nullptr, 1);
        archive.TransferObject(lattice);
        delete lattice;
    }
    archive.Close();
    return bytes;
}

} // namespace

// Every version loads; a document may hold anything, but what the rows would
// not take is refused, so that a damaged resolution or count never becomes a
// grid or a search.
TEST(GridderDocument, EveryVersionLoadsAndValuesBeyondTheRowsLimitsAreRefused)
{
    const std::pair<int, uint32_t> versions[] = {{101, 0}, {102, 0}, {111, 0}, {112, 2}, {130, 2}};
    for (const auto& c : versions) {
        VoGridder3 loaded;
        testsupport::Load(loaded, OldDocument(c.first));
        EXPECT_EQ(loaded.Options().component, c.second) << c.first;
        EXPECT_EQ(loaded.Options().resolution[0], 7u) << c.first;
        EXPECT_EQ(loaded.GetOutput(0)->Data() != nullptr, c.first >= 102) << c.first;
        EXPECT_EQ(loaded.IsCachingOutput(), c.first >= 102) << c.first;
    }
    const Damage damages[] = {
        [](VoGridder3::GriddingOptions&, shr::Vec3i& r) { r.y = 1; },
        [](VoGridder3::GriddingOptions& o, shr::Vec3i&) { o.maxCount = 1 << 30; },
        [](VoGridder3::GriddingOptions& o, shr::Vec3i&) { o.anisotropyType = 7; },
        [](VoGridder3::GriddingOptions& o, shr::Vec3i&) { o.polynomialOrder = -1; },
    };
    for (size_t n = 0; n < std::size(damages); ++n) {
        VoGridder3 loaded;
        EXPECT_THROW(testsupport::Load(loaded, OldDocument(shr::Archive::CurrentVersion, damages[n])), shr::Exception)
            << "damage " << n;
        EXPECT_EQ(loaded.Options().resolution[0], VoGridder3().Options().resolution[0]) << "damage " << n;
        EXPECT_TRUE(loaded.DefaultsPending()) << "damage " << n;
        EXPECT_EQ(loaded.Options().component, VoGridder3().Options().component) << "damage " << n;
    }
}

TEST_F(GridderModuleTest, AStoredGridderLoadsWithItsLattice)
{
    Connect(LinePoints(10, 2));
    Set(IdComponent, 2u);
    Set(IdXNum, 3u);
    Set(IdMethod, 0u);
    Grid();
    ASSERT_NE(Output(), nullptr);
    network().DeleteNode(source, true); // the document holds the gridder alone

    const std::vector<unsigned char> bytes = testsupport::Store(*gridder);
    VoGridder3 loaded;
    testsupport::Load(loaded, bytes);
    EXPECT_EQ(loaded.Options().component, 1u);
    EXPECT_EQ(loaded.Options().method, 0u);
    EXPECT_EQ(loaded.Options().limits, gridder->Options().limits);
    EXPECT_EQ(loaded.Options().spacing, shr::Vec3d(1, 1, 1)) << "spacing is not stored";
    auto* lattice = dynamic_cast<VdUniformLattice*>(loaded.GetOutput(0)->Data());
    ASSERT_NE(lattice, nullptr);
    EXPECT_EQ(lattice->GetDims()[0], 3u);
}
