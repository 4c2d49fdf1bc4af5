// The gridder module in a running network: defaults from its input, the
// property rows and their rules, the button that starts a run, validation,
// abort and persistence through every version gate.
#include "core/data/MemoryBudget.h"
#include "core/data/VdPoints.h"
#include "core/data/VdUniformLattice.h"
#include "core/gridding/VoGridder3.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbModuleRegistry.h"
#include "core/network/VbPort.h"
#include "core/network/VoNetwork.h"
#include "core/properties/SimplePropertyCollection.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace core;

namespace {

// Offers whatever point set the test gives it.
class PointSource : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(PointSource)
public:
    static const VbModuleInfo s_ModuleInfo;
    PointSource() { AddOutput("Output Points", PortPoints); }
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void SetPoints(VdPoints* points) { GetOutput(0)->Data(points); }
};

SHR_IMPLEMENT_CREATABLE_TYPE(PointSource, VoModule)
const VbModuleInfo PointSource::s_ModuleInfo("Test Modules\\PointSource", PointSource::GetClassTypeId(), 0,
                                             PortPoints, "Offers a point set", -1);

class ErrorProxy : public UiProxy {
public:
    void ErrorMsg(const shr::Exception& error) override
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        errors.push_back(error.Message());
    }
    // Called on the update thread; the test thread polls `executing`.
    void ModuleStatusChanged(const VoModule* module, int status) override
    {
        if (module == watched && status == VoModule::ModuleExecuting)
            executing = true;
    }
    std::vector<std::string> Errors()
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        return errors;
    }
    void Clear()
    {
        std::lock_guard<std::mutex> lock(m_Mutex);
        errors.clear();
    }

    const VoModule* watched = nullptr;
    std::atomic<bool> executing{false};

private:
    std::mutex m_Mutex;
    std::vector<std::string> errors;
};

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
    IdInput = 2,
    IdComponent = 4,
    IdRecalculate = 6,
    IdXMin = 8,
    IdXMax = 9,
    IdXNum = 17,
    IdYNum = 18,
    IdXSpacing = 21,
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
    IdOptions = 70,
};

class GridderModuleTest : public ::testing::Test {
public:
    void SetUp() override
    {
        network().Init();
        network().DeleteAllNodes();
        RunPass();
        proxy = std::make_unique<ErrorProxy>();
        source = new PointSource;
        network().AddNode(source, true);
        gridder = new VoGridder3;
        network().AddNode(gridder, true);
    }
    void TearDown() override
    {
        network().WaitUntilDone(2000);
        network().DeleteAllNodes();
        proxy.reset();
    }
    static VoNetwork& network() { return VoNetwork::Instance(); }
    static void RunPass()
    {
        network().Update();
        network().WaitUntilDone(10000);
    }
    void Connect(VdPoints* points)
    {
        source->SetPoints(points);
        ASSERT_TRUE(network().ConnectNodes(*gridder, source, 0, true));
        gridder->UpdateProperties(list);
    }
    template <class T>
    void Edit(int id, T value)
    {
        list.AnyValue(id, boost::any(value), true);
        network().ModifyNode(*gridder, list, VbPropertyEvent(id, list.AnyValue(id)), true, false);
    }
    void Press(int id) { network().ModifyNode(*gridder, list, VbPropertyEvent(id, boost::any(true)), true, false); }
    // Presses "Begin Gridding" and runs the pass.
    void Grid()
    {
        proxy->Clear();
        Press(IdBeginGridding);
        RunPass();
    }
    VdUniformLattice* Output() const { return dynamic_cast<VdUniformLattice*>(gridder->GetOutput(0)->Data()); }
    std::vector<std::string> Errors() const { return proxy->Errors(); }

    std::unique_ptr<ErrorProxy> proxy;
    PointSource* source = nullptr;
    VoGridder3* gridder = nullptr;
    SimplePropertyCollection list;
};

class NetworkEnvironment : public ::testing::Environment {
public:
    void TearDown() override { VoNetwork::Instance().Release(); }
};

const ::testing::Environment* const g_Environment = ::testing::AddGlobalTestEnvironment(new NetworkEnvironment);

} // namespace

TEST(GridderRegistry, ModuleAndKeysAreRegistered)
{
    const VbModuleInfo* info = VbModuleRegistry::Instance().Construct("Gridder");
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->UiPath(), "Computational\\Gridder");
    EXPECT_EQ(info->Type(), VoGridder3::GetClassTypeId());
    EXPECT_STREQ(VoGridder3::GetClassTypeId()->ClassName(), "VoGridder3");
    EXPECT_EQ(info->HelpString(), "Converts a point set to a uniform lattice");
    EXPECT_EQ(info->ResourceId(), 5);
    const std::pair<const char*, int> keys[] = {{"Gridder3DoIt", 69}, {"Gridder3XMax", 9}, {"Gridder3ZNum", 19},
                                                {"Gridder3SearchThirdSemiAxisZ", 44}, {"Gridder3PolyPower", 68},
                                                {"Gridder3AnisoSecondSemiAxisX", 57}};
    for (const auto& key : keys)
        EXPECT_EQ(VbPropertyRegistry::Instance().Get(key.first).id, key.second) << key.first;
}

TEST_F(GridderModuleTest, DefaultsComeFromTheFirstInput)
{
    struct Case {
        unsigned count;
        uint32_t searchType;
        int32_t maxCount;
    } cases[] = {{30, VoGridder3::SearchAllData, 30}, {50, VoGridder3::SearchAllData, 50},
                 {51, VoGridder3::SearchAllData, 50}, {500, VoGridder3::SearchAllData, 50},
                 {501, VoGridder3::SearchSimple, 50}};
    for (const Case& c : cases) {
        auto* module = new VoGridder3;
        auto* src = new PointSource;
        network().AddNode(src, true);
        src->SetPoints(LinePoints(c.count));
        network().AddNode(module, true);
        ASSERT_TRUE(network().ConnectNodes(*module, src, 0, true));
        const VoGridder3::GriddingOptions& o = module->Options();
        EXPECT_EQ(o.searchType, c.searchType) << c.count;
        EXPECT_EQ(o.maxCount, c.maxCount) << c.count;
        EXPECT_EQ(o.minCount, 1);
        EXPECT_FALSE(module->DefaultsPending());
        EXPECT_EQ(o.limits, shr::Box3d(0, 0, 0, 1, 1, 1));
        EXPECT_DOUBLE_EQ(o.radius, std::sqrt(3.0));
        EXPECT_EQ(o.searchAxes[1], shr::Vec3d(0, 1, 0));
        EXPECT_EQ(o.anisotropyAxes[2], shr::Vec3d(0, 0, std::sqrt(3.0)));
        network().DeleteNode(module, true);
        network().DeleteNode(src, true);
    }
}

TEST_F(GridderModuleTest, FlatInputIsPaddedAndDefaultsComeOnlyOnce)
{
    Connect(LinePoints(10, 1, 2.0)); // all in the plane z = 2
    const double pad = 1.0 / 49.0; // the largest side is 1
    EXPECT_DOUBLE_EQ(gridder->Options().limits.min.z, 2.0 - pad);
    EXPECT_DOUBLE_EQ(gridder->Options().limits.max.z, 2.0 + pad);
    EXPECT_NEAR(gridder->Options().searchAxes[2].z, 2 * pad, 1e-15);

    source->SetPoints(LinePoints(1)); // a single point: pad 1
    ASSERT_TRUE(network().ConnectNodes(*gridder, source, 0, true));
    EXPECT_DOUBLE_EQ(gridder->Options().limits.max.z, 2.0 + pad) << "a second input keeps the settings";
    Press(IdRecalculate);
    EXPECT_EQ(gridder->Options().limits, shr::Box3d(-0.5, -0.5, -0.75, 1.5, 1.5, 1.25));
}

TEST_F(GridderModuleTest, RecalculateCanBeUndoneFromTheStoredOptions)
{
    Connect(LinePoints(10));
    Edit(IdXMax, 5.0);
    gridder->UpdateProperties(list); // the host stores the options before the button
    Press(IdRecalculate);
    EXPECT_EQ(gridder->Options().limits.max.x, 1.0);
    network().ModifyNode(*gridder, list, VbPropertyEvent(IdRecalculate, boost::any()), true, true);
    EXPECT_EQ(gridder->Options().limits.max.x, 5.0);
}

TEST_F(GridderModuleTest, ComponentIsShownOneBasedAndClampedToTheInput)
{
    Connect(LinePoints(10, 3));
    ASSERT_TRUE(list.IsProp(IdComponent));
    Edit(IdComponent, 3u);
    EXPECT_EQ(gridder->Options().component, 2u);
    source->SetPoints(LinePoints(10, 2));
    ASSERT_TRUE(network().ConnectNodes(*gridder, source, 0, true));
    EXPECT_EQ(gridder->Options().component, 1u);
    source->SetPoints(LinePoints(10, 1));
    ASSERT_TRUE(network().ConnectNodes(*gridder, source, 0, true));
    gridder->UpdateProperties(list);
    list.RemoveAll();
    gridder->UpdateProperties(list);
    EXPECT_FALSE(list.IsProp(IdComponent)) << "one component needs no choice";
    EXPECT_EQ(list.StringValue(IdInput), source->Name());
}

TEST_F(GridderModuleTest, SpacingAndResolutionFollowEachOther)
{
    Connect(LinePoints(10));
    Edit(IdXNum, 11u);
    EXPECT_DOUBLE_EQ(gridder->Options().spacing.x, 0.1);
    struct Case {
        double spacing;
        uint32_t resolution;
    } cases[] = {{0.3, 4}, {0.25, 5}, {2.0, 5}, {0.0, 5}};
    for (const Case& c : cases) {
        Edit(IdXSpacing, c.spacing);
        EXPECT_EQ(gridder->Options().resolution[0], c.resolution) << c.spacing;
    }
    unsigned shown = 0;
    list.GetValue(IdXNum, shown);
    EXPECT_EQ(shown, 5u);
}

TEST_F(GridderModuleTest, RowsFollowTheSearchTypeAndTheMethod)
{
    Connect(LinePoints(10));
    struct Case {
        int id;
        unsigned value;
        std::vector<int> present, absent;
    } cases[] = {
        {IdSearchType, VoGridder3::SearchAllData, {}, {IdSearchMin, IdRadius, 29}},
        {IdSearchType, VoGridder3::SearchSimple, {IdSearchMin, IdSearchMax, IdRadius}, {29, 30}},
        {IdSearchType, VoGridder3::SearchAnisotropic, {29, 30, IdSearchYLength}, {IdRadius, 33}},
        {IdSearchType, VoGridder3::SearchGeneral, {33, IdSearchFirstAxisX, 44}, {30}},
        {IdMethod, VoGridder3::MethodDataMetric, {IdMetric}, {IdAniso, 65}},
        {IdMethod, VoGridder3::MethodInverseDistance, {IdAniso, 65, 66}, {IdMetric, 48}},
        {IdAniso, VoGridder3::Anisotropic, {48, 49, 51}, {52}},
        {IdAniso, VoGridder3::GeneralAnisotropy, {52, IdAnisoSecondAxisX, 63}, {49}},
        {IdMethod, VoGridder3::MethodLocalPolynomial, {IdPolyOrder, 68}, {IdAniso, 52, 65}},
    };
    for (const Case& c : cases) {
        Edit(c.id, c.value);
        for (int id : c.present)
            EXPECT_TRUE(list.IsProp(id)) << c.id << "=" << c.value << " shows " << id;
        for (int id : c.absent)
            EXPECT_FALSE(list.IsProp(id)) << c.id << "=" << c.value << " hides " << id;
    }
}

TEST_F(GridderModuleTest, LocalPolynomialMovesAllDataToSimple)
{
    Connect(LinePoints(10));
    ASSERT_EQ(gridder->Options().searchType, VoGridder3::SearchAllData);
    Edit(IdMethod, unsigned(VoGridder3::MethodLocalPolynomial));
    EXPECT_EQ(gridder->Options().searchType, VoGridder3::SearchSimple);
    EXPECT_TRUE(list.IsProp(IdRadius));
    unsigned shown = 0;
    list.GetValue(IdSearchType, shown);
    EXPECT_EQ(shown, unsigned(VoGridder3::SearchSimple));
}

TEST_F(GridderModuleTest, OnlyTheButtonRunsTheGridding)
{
    RunPass();
    EXPECT_EQ(gridder->GetStatus(), VoModule::ModuleIdle) << "no input";
    Connect(LinePoints(10));
    Edit(IdXNum, 3u);
    Edit(IdYNum, 2u);
    RunPass();
    EXPECT_EQ(gridder->GetStatus(), VoModule::ModuleIdle);
    EXPECT_EQ(Output(), nullptr);

    Grid();
    EXPECT_TRUE(Errors().empty());
    EXPECT_EQ(gridder->GetStatus(), VoModule::ModuleOk);
    VdUniformLattice* lattice = Output();
    ASSERT_NE(lattice, nullptr);
    EXPECT_EQ(lattice->GetDims()[0], 3u);
    EXPECT_EQ(lattice->GetDims()[1], 2u);
    EXPECT_EQ(lattice->GetDims()[2], 50u);
    EXPECT_EQ(lattice->ComponentCount(), 1u);
    EXPECT_EQ(lattice->GetUVWBounds(), shr::Box3d(0, 0, 0, 1, 1, 1));
    EXPECT_FALSE(gridder->RunRequested());

    Edit(IdXNum, 4u);
    RunPass();
    EXPECT_EQ(Output(), lattice) << "a changed setting keeps the last lattice until the button";
}

TEST_F(GridderModuleTest, MethodsProduceTheirValues)
{
    Connect(LinePoints(11));
    Edit(IdXNum, 2u);
    Edit(IdYNum, 2u);
    Edit(unsigned(IdXNum + 2), 2u);
    struct Case {
        unsigned method;
        unsigned metric;
        double atOrigin; // node (0, 0, 0)
    } cases[] = {
        {VoGridder3::MethodDataMetric, 15, 11.0},   // count of all data
        {VoGridder3::MethodDataMetric, 4, 1.0},     // maximum value
        {VoGridder3::MethodDataMetric, 8, 0.5},     // mean value
    };
    for (const Case& c : cases) {
        Edit(IdMethod, c.method);
        Edit(IdMetric, c.metric);
        Grid();
        ASSERT_NE(Output(), nullptr) << c.metric;
        EXPECT_DOUBLE_EQ(*static_cast<const double*>(Output()->DataPtr(0, 0, 0)), c.atOrigin) << c.metric;
    }
    // Inverse distance at a node that holds a datum: (0, 1, 0), value 0.
    Edit(IdMethod, unsigned(VoGridder3::MethodInverseDistance));
    Grid();
    ASSERT_NE(Output(), nullptr);
    EXPECT_NEAR(*static_cast<const double*>(Output()->DataPtr(0, 1, 0)), 0.0, 1e-12);
}

TEST_F(GridderModuleTest, ValidationReportsTheFirstFailureAndLeavesNoOutput)
{
    const std::string internal = "Internal Error.";
    struct Case {
        const char* what;
        std::function<void(GridderModuleTest&)> set;
        std::string message;
    } cases[] = {
        {"X limits", [](GridderModuleTest& t) { t.Edit(IdXMax, 0.0); t.Edit(IdXNum, 1u); },
         "The minimum X limit must be less than the maximum."},
        {"resolution 1", [](GridderModuleTest& t) { t.Edit(IdYNum, 1u); t.Edit(IdRadius, 0.0); },
         "The Y resolution must be >= 2 and <= 10000"},
        {"resolution 10001", [](GridderModuleTest& t) { t.Edit(IdXNum, 10001u); },
         "The X resolution must be >= 2 and <= 10000"},
        {"radius", [](GridderModuleTest& t) { t.Edit(IdSearchType, 1u); t.Edit(IdRadius, 0.0); },
         "Search radius must be greater than 0"},
        {"length", [](GridderModuleTest& t) { t.Edit(IdSearchType, 2u); t.Edit(IdSearchYLength, -1.0); },
         "Y Length must be greater than 0"},
        {"search axes",
         [](GridderModuleTest& t) {
             t.Edit(IdSearchType, 3u);
             t.Edit(IdSearchFirstAxisX, 0.0);
             t.Edit(IdSearchFirstAxisX + 1, 1.0);
             t.Edit(IdSearchMin, 5);
             t.Edit(IdSearchMax, 4);
         },
         "Search ellipse axes are coplanar.  Specify three non-coplanar axes."},
        {"counts", [](GridderModuleTest& t) { t.Edit(IdSearchType, 1u); t.Edit(IdSearchMin, 5); t.Edit(IdSearchMax, 4); },
         "'Min Count' must be less than or equal to 'Max Count'"},
        {"min count 0", [](GridderModuleTest& t) { t.Edit(IdSearchType, 1u); t.Edit(IdSearchMin, 0); }, internal},
        {"anisotropy axes",
         [](GridderModuleTest& t) {
             t.Edit(IdAniso, 2u);
             t.Edit(IdAnisoSecondAxisX, 0.0);
             t.Edit(IdAnisoSecondAxisX + 1, 0.0);
             t.Edit(IdAnisoSecondAxisX + 2, 1e-20);
         },
         "Anisotropy ellipse axes are coplanar.  Specify three non-coplanar axes."},
        {"anisotropy length", [](GridderModuleTest& t) { t.Edit(IdAniso, 1u); t.Edit(50, 0.0); }, internal},
        {"negative power", [](GridderModuleTest& t) { t.Edit(65, -1.0); }, internal},
        {"order 4", [](GridderModuleTest& t) { t.Edit(IdMethod, 2u); t.Edit(IdPolyOrder, 4); }, internal},
        {"metric 21", [](GridderModuleTest& t) { t.Edit(IdMethod, 0u); t.Edit(IdMetric, 21u); }, internal},
        {"memory budget",
         [](GridderModuleTest& t) {
             core::MemoryBudget::SetBytes(4096);
             t.Edit(IdXNum, 1000u);
         },
         "Insufficient memory to perform operation"},
    };
    for (const Case& c : cases) {
        TearDown();
        SetUp();
        Connect(LinePoints(10));
        Edit(IdXNum, 2u);
        Edit(IdYNum, 2u);
        Grid();
        ASSERT_NE(Output(), nullptr) << c.what;
        c.set(*this);
        Grid();
        const std::vector<std::string> errors = Errors();
        ASSERT_EQ(errors.size(), 1u) << c.what;
        EXPECT_EQ(errors[0].substr(0, c.message.size()), c.message) << c.what;
        EXPECT_EQ(gridder->GetStatus(), VoModule::ModuleFailed) << c.what;
        EXPECT_EQ(Output(), nullptr) << c.what;
        EXPECT_FALSE(gridder->RunRequested()) << c.what;
        core::MemoryBudget::SetBytes(0);
    }
}

TEST_F(GridderModuleTest, ResolutionLimitsAreInclusive)
{
    Connect(LinePoints(4));
    Edit(IdXNum, 10000u);
    Edit(IdYNum, 2u);
    Edit(unsigned(IdXNum + 2), 2u);
    Grid();
    EXPECT_TRUE(Errors().empty());
    ASSERT_NE(Output(), nullptr);
    EXPECT_EQ(Output()->GetDims()[0], 10000u);
}

TEST_F(GridderModuleTest, InputProblemsAreReported)
{
    const double coords[] = {0, 0, 0, 1, 1, 1};
    const double values[] = {1, 2};
    auto* blank = new VdPoints(shr::Double, shr::Double, 2, coords, values, 1);
    blank->SetBlank(0, 0);
    blank->SetBlank(1, 0);
    struct Case {
        VdPoints* points;
        std::string message;
    } cases[] = {
        {new VdPoints(), "The input point set is empty."},
        {new VdPoints(shr::Double, shr::Double, 2, coords, nullptr, 0),
         "The input point set contains no associated data."},
        {blank, "The input point set contains no associated data."},
    };
    for (const Case& c : cases) {
        TearDown();
        SetUp();
        source->SetPoints(c.points);
        ASSERT_TRUE(network().ConnectNodes(*gridder, source, 0, true));
        Grid();
        ASSERT_EQ(Errors().size(), 1u) << c.message;
        EXPECT_EQ(Errors()[0], c.message);
        EXPECT_EQ(Output(), nullptr);
    }
}

TEST_F(GridderModuleTest, AbortLeavesNoOutput)
{
    Connect(LinePoints(400));
    for (int id = IdXNum; id < IdXNum + 3; ++id)
        Edit(id, 200u); // far more work than the test waits for
    Press(IdBeginGridding);
    proxy->watched = gridder;
    network().Update();
    for (int poll = 0; poll < 20000 && !proxy->executing; ++poll)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    ASSERT_TRUE(proxy->executing);
    network().AbortIfBusy(true);
    network().WaitUntilDone(10000);
    EXPECT_EQ(gridder->GetStatus(), VoModule::ModuleAborted);
    EXPECT_EQ(Output(), nullptr);
}

namespace {

using Damage = void (*)(VoGridder3::GriddingOptions&, shr::Vec3i&);

// The fields of the gridder's part of a document as an older version wrote
// them, with a component of 2 and 7 nodes in X; `damage` changes them first.
void WriteOldDocument(std::vector<unsigned char>& bytes, int version, Damage damage = nullptr)
{
    VoGridder3 module;
    shr::Archive archive(bytes, "", version);
    module.VoModule::Serialize(archive);
    archive.SyncCheck();
    VoGridder3::GriddingOptions o;
    uint32_t component = 2;
    if (version >= 112)
        archive.Transfer(component);
    bool pending = false;
    archive.Transfer(pending);
    archive.Transfer(o.reserved);
    archive.Transfer(o.limits);
    shr::Vec3i resolution(7, 50, 50);
    if (damage)
        damage(o, resolution);
    archive.Transfer(resolution);
    archive.Transfer(o.searchType);
    archive.Transfer(o.minCount);
    archive.Transfer(o.maxCount);
    archive.Transfer(o.radius);
    for (int i = 0; i < 12; ++i)
        archive.Transfer(o.radius);
    archive.Transfer(o.method);
    archive.Transfer(o.anisotropyType);
    for (int i = 0; i < 12; ++i)
        archive.Transfer(o.radius);
    archive.Transfer(o.metric);
    archive.Transfer(o.distancePower);
    archive.Transfer(o.distanceSmooth);
    archive.Transfer(o.polynomialPower);
    archive.Transfer(o.polynomialOrder);
    bool run = false;
    archive.Transfer(run);
    if (version >= 102) {
        const unsigned dims[3] = {2, 2, 2};
        shr::CTypedObject* lattice = new VdUniformLattice(shr::Double, dims, nullptr, 1);
        archive.TransferObject(lattice);
        delete lattice;
    }
    archive.Close();
}

} // namespace

TEST_F(GridderModuleTest, DocumentsRoundTripThroughEveryVersionGate)
{
    struct Case {
        int version;
        uint32_t component;
        bool lattice;
    } cases[] = {{101, 0, false}, {102, 0, true}, {111, 0, true}, {112, 2, true}, {130, 2, true}};
    for (const Case& c : cases) {
        std::vector<unsigned char> bytes;
        WriteOldDocument(bytes, c.version);
        VoGridder3 loaded;
        shr::Archive archive(bytes.data(), bytes.size());
        loaded.Serialize(archive);
        EXPECT_EQ(loaded.Options().component, c.component) << c.version;
        EXPECT_EQ(loaded.Options().resolution[0], 7u) << c.version;
        EXPECT_FALSE(loaded.DefaultsPending()) << c.version;
        EXPECT_EQ(loaded.GetOutput(0)->Data() != nullptr, c.lattice) << c.version;
        EXPECT_EQ(loaded.IsCachingOutput(), c.lattice) << c.version;
    }
}

// A document may hold anything: what the rows would not take is refused, so
// that a damaged resolution or count never becomes a grid or a search.
TEST_F(GridderModuleTest, DocumentsBeyondTheRowsLimitsAreRefused)
{
    const std::pair<const char*, Damage> cases[] = {
        {"resolution 1", [](VoGridder3::GriddingOptions&, shr::Vec3i& r) { r.y = 1; }},
        {"resolution", [](VoGridder3::GriddingOptions&, shr::Vec3i& r) { r.z = 1 << 30; }},
        {"search type", [](VoGridder3::GriddingOptions& o, shr::Vec3i&) { o.searchType = 4; }},
        {"minimum count", [](VoGridder3::GriddingOptions& o, shr::Vec3i&) { o.minCount = 0; }},
        {"maximum count", [](VoGridder3::GriddingOptions& o, shr::Vec3i&) { o.maxCount = 1 << 30; }},
        {"method", [](VoGridder3::GriddingOptions& o, shr::Vec3i&) { o.method = 3; }},
        {"anisotropy", [](VoGridder3::GriddingOptions& o, shr::Vec3i&) { o.anisotropyType = 7; }},
        {"metric", [](VoGridder3::GriddingOptions& o, shr::Vec3i&) { o.metric = 21; }},
        {"polynomial order", [](VoGridder3::GriddingOptions& o, shr::Vec3i&) { o.polynomialOrder = -1; }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        std::vector<unsigned char> bytes;
        WriteOldDocument(bytes, shr::Archive::CurrentVersion, c.second);
        VoGridder3 loaded;
        EXPECT_THROW(testsupport::Load(loaded, bytes), shr::Exception);
        EXPECT_EQ(loaded.Options().resolution[0], VoGridder3().Options().resolution[0]);
    }
}

TEST_F(GridderModuleTest, AStoredGridderLoadsWithItsLattice)
{
    Connect(LinePoints(10, 2));
    Edit(IdComponent, 2u);
    Edit(IdXNum, 3u);
    Edit(IdMethod, 0u);
    Grid();
    ASSERT_NE(Output(), nullptr);
    network().DeleteNode(source, true); // the document holds the gridder alone

    std::vector<unsigned char> bytes;
    {
        shr::Archive archive(bytes, "");
        gridder->Serialize(archive);
        archive.Close();
    }
    VoGridder3 loaded;
    shr::Archive archive(bytes.data(), bytes.size());
    loaded.Serialize(archive);
    EXPECT_EQ(loaded.Options().component, 1u);
    EXPECT_EQ(loaded.Options().method, 0u);
    EXPECT_EQ(loaded.Options().limits, gridder->Options().limits);
    EXPECT_EQ(loaded.Options().spacing, shr::Vec3d(1, 1, 1)) << "spacing is not stored";
    auto* lattice = dynamic_cast<VdUniformLattice*>(loaded.GetOutput(0)->Data());
    ASSERT_NE(lattice, nullptr);
    EXPECT_EQ(lattice->GetDims()[0], 3u);

    // A truncated document is an error and changes nothing.
    VoGridder3 fresh;
    EXPECT_THROW(testsupport::Load(fresh, bytes, 200), shr::Exception);
    EXPECT_TRUE(fresh.DefaultsPending());
    EXPECT_EQ(fresh.Options().resolution[0], 50u);
}
