// The test-lattice generator: values of its fields at known nodes, the
// parallel fill against a sequential one, validation, persistence and abort.
#include "SourceTestSupport.h"

#include "core/data/MemoryBudget.h"
#include "core/data/VdUniformLattice.h"
#include "core/processing/ExpressionLattice.h"
#include "core/processing/VoSampleLattice.h"
#include "shr/Archive.h"

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

using namespace core;
using namespace sourcetest;

namespace {

using Sample = VoSampleLattice;
constexpr int XMax = Sample::IdLimits + 2, YMin = Sample::IdLimits + 4, YMax = Sample::IdLimits + 5;
constexpr int XNum = Sample::IdResolution + 1, YNum = Sample::IdResolution + 2, ZNum = Sample::IdResolution + 3;

const VdUniformLattice* Output(const VoModule* module)
{
    return dynamic_cast<const VdUniformLattice*>(module->GetOutput(0)->Data());
}

std::string Text(unsigned int value) { return std::to_string(value); }

} // namespace

TEST_F(SourceModuleTest, SampleFunctionsAtKnownNodes)
{
    // The lattice spans -1..1 on each axis, so a node's position is its own
    // normalised coordinate: with n nodes, node i lies at -1 + 2i / (n - 1).
    struct Case {
        unsigned int function;
        unsigned int nodes;
        unsigned int ijk[3];
        double values[3];
        double tolerance; // 0: exact
    } cases[] = {
        {Sample::SphereDistance, 3, {0, 0, 0}, {std::sqrt(3.0) - 0.5}, 0},
        {Sample::SphereDistance, 3, {1, 1, 1}, {-0.5}, 0},
        {Sample::SphereDistance, 3, {2, 1, 1}, {0.5}, 0},
        // The first bump's peak, lifted a little by the third bump's flank.
        {Sample::GaussianBlobs, 21, {6, 7, 8}, {1.031}, 1e-3},
        {Sample::WaveField, 9, {6, 4, 5}, {1.5}, 1e-12},
        {Sample::WaveField, 9, {4, 4, 4}, {0.0}, 0},
        {Sample::Saddle, 5, {4, 3, 0}, {0.75}, 0},
        {Sample::Saddle, 5, {1, 1, 2}, {0.0}, 0},
        {Sample::Vortex, 3, {1, 1, 0}, {0.0, 0.0, 0.5}, 0},
        {Sample::Vortex, 3, {2, 1, 2}, {0.0, 1.0, 0.0}, 1e-4},
        {Sample::Vortex, 3, {1, 0, 1}, {1.0, 0.0, 0.0}, 1e-4},
        {Sample::FaultedLayers, 3, {1, 1, 1}, {6}, 0},
        {Sample::FaultedLayers, 3, {2, 1, 1}, {7}, 0},  // across the fault: dropped by its throw
        {Sample::FaultedLayers, 3, {0, 1, 1}, {5}, 0},
        {Sample::FaultedLayers, 3, {1, 1, 2}, {10}, 0},
        {Sample::FaultedLayers, 21, {11, 20, 10}, {6}, 0}, // u = 0.1 < 0.2 v: the footwall
        {Sample::FaultedLayers, 21, {11, 10, 10}, {7}, 0}, // u = 0.1 > 0.2 v: the hanging wall
    };
    auto* module = Add(new VoSampleLattice);
    Edit(module, {{Sample::IdOutType, "8"}, {Sample::IdLimits + 1, "-1"}, {XMax, "1"}, {YMin, "-1"}, {YMax, "1"},
                  {Sample::IdLimits + 7, "-1"}, {Sample::IdLimits + 8, "1"}});
    for (const Case& c : cases) {
        const std::string name = Sample::FunctionName(c.function);
        Edit(module, {{Sample::IdFunction, Text(c.function).c_str()}, {XNum, Text(c.nodes).c_str()},
                      {YNum, Text(c.nodes).c_str()}, {ZNum, Text(c.nodes).c_str()}});
        const VdUniformLattice* lattice = Output(module);
        ASSERT_NE(lattice, nullptr) << name << ": " << LastError();
        ASSERT_EQ(lattice->ComponentCount(), Sample::ComponentCount(c.function)) << name;
        const unsigned int node = lattice->Index(c.ijk[0], c.ijk[1], c.ijk[2]);
        for (unsigned int comp = 0; comp < lattice->ComponentCount(); ++comp) {
            const double value = ReadElement(lattice->DataPtr(node, comp), lattice->DataType());
            if (c.tolerance == 0)
                EXPECT_EQ(value, c.values[comp]) << name << " component " << comp;
            else
                EXPECT_NEAR(value, c.values[comp], c.tolerance) << name << " component " << comp;
        }
    }
}

TEST(SampleLatticeFill, ParallelFillEqualsSequentialFill)
{
    // Odd sizes so blocks split unevenly; the last lattice takes more than one slab.
    std::vector<std::pair<unsigned int, std::vector<unsigned int>>> cases;
    for (unsigned int function = 0; function < Sample::FunctionCount; ++function)
        cases.push_back({function, {23, 19, 17}});
    cases.push_back({Sample::Saddle, {71, 67, 61}});
    for (const auto& c : cases) {
        const unsigned int components = Sample::ComponentCount(c.first);
        VdUniformLattice parallel(shr::Double, c.second.data(), nullptr, components);
        VdUniformLattice sequential(shr::Double, c.second.data(), nullptr, components);
        for (VdUniformLattice* lattice : {&parallel, &sequential})
            lattice->SetUVWBounds(shr::Box3d(-3, 10, 0.5, 7, 12, 4));
        ASSERT_TRUE(Sample::Fill(c.first, parallel, true, nullptr));
        ASSERT_TRUE(Sample::Fill(c.first, sequential, false, nullptr));
        EXPECT_EQ(std::memcmp(parallel.DataPtr(), sequential.DataPtr(), parallel.DataTotalSize()), 0)
            << Sample::FunctionName(c.first) << " " << c.second[0];
    }
}

TEST_F(SourceModuleTest, SampleLatticeRejectsBadSettingsAndKeepsNoOutput)
{
    struct Case {
        std::vector<std::pair<int, const char*>> edits;
        const char* error;
    } cases[] = {
        {{{XNum, "1"}}, "The X resolution must be >= 2 and <= 1024"},
        {{{ZNum, "1025"}}, "The Z resolution must be >= 2 and <= 1024"},
        {{{YMax, "0"}}, "The minimum Y limit must be less than the maximum."},
        {{{XMax, "-2"}}, "The minimum X limit must be less than the maximum."},
    };
    for (const Case& c : cases) {
        network().DeleteAllNodes();
        proxy->Clear();
        auto* module = Add(new VoSampleLattice);
        Edit(module, {{XNum, "4"}});
        ASSERT_NE(Output(module), nullptr) << LastError();
        Edit(module, c.edits);
        EXPECT_EQ(LastError(), c.error);
        EXPECT_EQ(module->GetStatus(), VoModule::ModuleFailed);
        EXPECT_EQ(Output(module), nullptr) << c.error;
    }
}

// Lattices beyond the budget are refused before anything is allocated: the
// library's "Insufficient memory" error, whatever the rows allowed.
TEST_F(SourceModuleTest, LatticesBeyondTheMemoryBudgetAreRefused)
{
    const std::pair<const char*, uint64_t> texts[] = {
        {"4096", 4096}, {"64k", 65536}, {"3M", 3u << 20}, {"2G", 2ull << 30}, {"1T", 1ull << 40},
        {"", 0}, {"0", 0}, {"12MB", 0}, {"-5", 0}, {"1.5G", 0}, {"99999999999999999999", 0},
    };
    for (const auto& t : texts) {
        uint64_t bytes = 0;
        EXPECT_EQ(core::MemoryBudget::Parse(t.first, bytes), t.second != 0) << t.first;
        EXPECT_EQ(bytes, t.second) << t.first;
    }
    core::MemoryBudget::SetBytes(1 << 20);
    auto* sample = Add(new VoSampleLattice);
    Edit(sample, {{Sample::IdOutType, "8"}, {XNum, "64"}, {YNum, "64"}, {ZNum, "33"}}); // 1.06 MB of doubles
    EXPECT_EQ(LastError(), "Insufficient memory to perform operation");
    EXPECT_EQ(Output(sample), nullptr);
    Edit(sample, {{ZNum, "32"}}); // exactly the budget
    EXPECT_NE(Output(sample), nullptr) << LastError();
    core::MemoryBudget::SetBytes(0);
}

TEST_F(SourceModuleTest, SampleLatticeRoundTripsAndRefusesABadFunction)
{
    VoSampleLattice stored;
    VoSampleLattice::Settings& s = stored.GetSettings();
    s.function = Sample::Vortex;
    s.outType = shr::Int32;
    s.limits = shr::Box3d(-5, 0, 1, 5, 2, 3);
    s.nodes[1] = 77;
    testsupport::ExpectRoundTrip(stored);
    testsupport::ExpectDamageRefused<VoSampleLattice>(
        {{"function", [](VoSampleLattice& m) { m.GetSettings().function = Sample::FunctionCount; }}});
}

TEST_F(SourceModuleTest, SampleLatticeStopsWhenThePassIsAborted)
{
    auto* module = Add(new VoSampleLattice);
    std::unique_ptr<LabelledList> rows = Rows(*module);
    for (int id : {XNum, YNum, ZNum}) {
        rows->StringValue(id, "256");
        Send(*module, *rows, id);
    }
    if (!AbortWhileExecuting(*module))
        GTEST_SKIP() << "the lattice was complete before the abort arrived";
    EXPECT_EQ(module->GetStatus(), VoModule::ModuleAborted);
    EXPECT_EQ(Output(module), nullptr);
}
