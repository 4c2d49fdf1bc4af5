// The filter module in a running network: its output against the engine's,
// the defaults it takes from the input, its rows and their refusals, each
// filter's own parameters, the stored form through its version gate, and
// abort.
#include "LatticeFilterTestSupport.h"
#include "SourceTestSupport.h"

#include "core/processing/VoLatticeFilter.h"
#include "core/properties/VbPropertyRegistry.h"
#include "shr/Mat4d.h"

#include <gtest/gtest.h>


namespace {

using namespace filtertest;
using core::VoLatticeFilter;
using core::VoModule;
using F = CLatticeFilter;
using M = VoLatticeFilter;

class LatticeFilterModule : public sourcetest::SourceModuleTest {
protected:
    // A filter fed by a lattice source holding `input`.
    VoLatticeFilter* Filter(std::unique_ptr<VdUniformLattice> input)
    {
        return Feed(input.release(), new VoLatticeFilter);
    }
    static const VdUniformLattice* Output(const VoModule& module)
    {
        return dynamic_cast<const VdUniformLattice*>(module.GetOutput(0)->Data());
    }
    // Sends one row's new text and expects the module to refuse it.
    void Refuse(VoLatticeFilter& module, int id, const char* text)
    {
        list.RemoveAll();
        module.UpdateProperties(list);
        ASSERT_TRUE(list.StringValue(id, text));
        EXPECT_THROW(module.PropertyEvent(list, core::VbPropertyEvent(id, list.AnyValue(id))), shr::Exception)
            << id << " " << text;
    }
};

std::vector<double> Ramp(size_t count, unsigned int components = 1)
{
    std::vector<double> values;
    for (size_t n = 0; n < count * components; ++n)
        values.push_back(double((n * 37) % 23));
    return values;
}

TEST_F(LatticeFilterModule, FiltersTheInputIntoALatticeOfItsShapeBoundsAndTransform)
{
    const unsigned int dims[3] = {6, 5, 4};
    std::vector<double> values = Ramp(120);
    values[17] = B;
    auto input = ValueLattice(dims, values, 1, shr::Float);
    input->SetUVWBounds(shr::Box3d(10, 20, -30, 15, 28, -24));
    input->SetUserTransform(shr::Mat4d::MakeTranslation(1000, 2000, 0));
    const auto reference = Filtered([&] {
        F::Params p = Settings(*input, F::Median);
        p.edgeHandling = F::EdgeMirror;
        return p;
    }());
    const VdUniformLattice& in = *input;
    VoLatticeFilter* module = Filter(std::move(input));
    Edit(module, {{M::IdFilter, "10"}, {M::IdEdge, "3"}});
    ASSERT_EQ(module->GetStatus(), VoModule::ModuleOk) << LastError();
    const VdUniformLattice* out = Output(*module);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out->DataType(), shr::Float);
    EXPECT_EQ(out->GetUVWBounds(), in.GetUVWBounds());
    EXPECT_EQ(out->GetUserTransform(), in.GetUserTransform());
    EXPECT_EQ(ComponentValues(*out), ComponentValues(*reference));
}

// A flat input is filtered in its plane without the user's help: with blank
// edges a 3D window would blank every node of a single image.
TEST_F(LatticeFilterModule, AFlatInputIsFilteredInItsPlane)
{
    struct Case {
        unsigned int dims[3];
        uint32_t orientation;
    } cases[] = {{{5, 4, 1}, F::XYPlanes}, {{5, 1, 4}, F::XZPlanes}, {{1, 5, 4}, F::YZPlanes}, {{3, 3, 3}, F::Volume}};
    for (const Case& c : cases) {
        network().DeleteAllNodes();
        VoLatticeFilter* module = Filter(ValueLattice(c.dims, Ramp(c.dims[0] * c.dims[1] * c.dims[2])));
        Edit(module, {{M::IdEdge, "0"}});
        EXPECT_EQ(module->GetOrientation(), c.orientation);
        ASSERT_NE(Output(*module), nullptr);
        const std::vector<double> out = ComponentValues(*Output(*module));
        EXPECT_LT(std::count(out.begin(), out.end(), B), long(out.size())) << c.orientation;
    }
}

TEST_F(LatticeFilterModule, TheAlphaOfAColourLatticeStaysOutOfTheFilter)
{
    const unsigned int dims[3] = {4, 4, 1};
    const auto input = ValueLattice(dims, Ramp(16, 4), 4, shr::UInt8);
    const std::vector<double> alpha = ComponentValues(*input, 3);
    VoLatticeFilter* module = Filter(ValueLattice(dims, Ramp(16, 4), 4, shr::UInt8));
    Edit(module, {{M::IdFilter, "12"}});
    EXPECT_EQ(module->GetComponents(), (std::vector<bool>{true, true, true, false}));
    ASSERT_NE(Output(*module), nullptr);
    EXPECT_EQ(ComponentValues(*Output(*module), 3), alpha);
    EXPECT_NE(ComponentValues(*Output(*module), 0), ComponentValues(*input, 0));

    // The user may put it back in; a new input of the same width keeps the choice.
    Edit(module, {{M::IdComponentFirst + 3, "true"}});
    EXPECT_NE(ComponentValues(*Output(*module), 3), alpha);
    const unsigned int other[3] = {3, 3, 1};
    source->SetLattice(ValueLattice(other, Ramp(9, 4), 4, shr::UInt8).release());
    module->OnInputChanged(0, true);
    EXPECT_TRUE(module->GetComponents()[3]);
}

TEST_F(LatticeFilterModule, RowsRefuseWhatNoFilterTakes)
{
    const unsigned int dims[3] = {3, 3, 3};
    VoLatticeFilter* module = Filter(ValueLattice(dims, Ramp(27)));
    Edit(module, {{M::IdKernelSize, "4"}});
    EXPECT_EQ(module->GetKernelSize(), 5u) << "an even size grows by one";
    EXPECT_EQ(list.StringValue(M::IdKernelSize), "5");
    Refuse(*module, M::IdKernelSize, "0");
    Refuse(*module, M::IdKernelSize, "101");
    Refuse(*module, M::IdFilter, "31");
    Refuse(*module, M::IdEdge, "6");
    Refuse(*module, M::IdBlank, "4");
    Refuse(*module, M::IdOrientation, "4");
    EXPECT_EQ(module->GetKernelSize(), 5u);
    EXPECT_EQ(module->GetFilter(), uint32_t(F::Average));
    EXPECT_EQ(module->GetEdgeHandling(), uint32_t(F::EdgeReplicate));

    // The fill rows are live only for "Fill".
    EXPECT_FALSE(list.Enabled(M::IdEdgeFill));
    Edit(module, {{M::IdEdge, "5"}, {M::IdBlank, "3"}});
    EXPECT_TRUE(list.Enabled(M::IdEdgeFill));
    EXPECT_TRUE(list.Enabled(M::IdBlankFill));

    // Component rows count from 1 and stop at the hundredth.
    const core::VbPropertyRegistry& keys = core::VbPropertyRegistry::Instance();
    EXPECT_EQ(keys.Get("LatticeFilterComp1").id, M::IdComponentFirst);
    EXPECT_EQ(keys.Get("LatticeFilterComp100").id, M::IdComponentLast);
    EXPECT_FALSE(keys.Has("LatticeFilterComp101"));
}

TEST_F(LatticeFilterModule, EachFilterKeepsItsOwnParameters)
{
    auto* module = Add(new VoLatticeFilter);
    auto rows = Rows(*module);
    EXPECT_EQ(rows->Comment(M::IdComponentsHeader), "(No data available)");
    EXPECT_FALSE(rows->IsProp(M::IdParam0)) << "the average has no parameters";

    Edit(module, {{M::IdFilter, "5"}, {M::IdParam0, "2.5"}});
    Edit(module, {{M::IdFilter, "7"}});
    EXPECT_EQ(list.StringValue(M::IdParam0), "0") << "unsharp mask: nothing saved yet";
    EXPECT_TRUE(list.IsProp(M::IdParam1));
    Edit(module, {{M::IdParam0, "1"}, {M::IdParam1, "0.8"}});
    Edit(module, {{M::IdFilter, "5"}});
    EXPECT_EQ(list.StringValue(M::IdParam0), "2.5");
    EXPECT_FALSE(list.IsProp(M::IdParam1));
    EXPECT_EQ(module->GetSavedParams(), (std::map<int, double>{{50, 2.5}, {70, 1.0}, {71, 0.8}}));
}

// ---- the stored form --------------------------------------------------------------------------

// The module's stored form without its links.
std::vector<unsigned char> StoreAlone(VoModule& module)
{
    std::vector<unsigned char> bytes;
    shr::Archive archive(bytes, "");
    bool links = false;
    archive.ConnectionsFlag = &links;
    module.Serialize(archive);
    return bytes;
}

TEST_F(LatticeFilterModule, StoredFormThroughTheVersionGate)
{
    const unsigned int dims[3] = {3, 3, 3};
    VoLatticeFilter* stored = Filter(ValueLattice(dims, Ramp(27, 2), 2));
    RunPass();
    Edit(stored, {{M::IdFilter, "21"}, {M::IdParam0, "0.4"}, {M::IdEdge, "3"}, {M::IdBlank, "3"},
                  {M::IdKernelSize, "7"}, {M::IdEdgeFill, "-2"}, {M::IdBlankFill, "9.5"}, {M::IdOrientation, "1"},
                  {M::IdComponentFirst + 1, "false"}});
    const std::vector<unsigned char> current = StoreAlone(*stored);
    const auto expectSettings = [](const VoLatticeFilter& loaded, uint32_t orientation, std::vector<bool> flags) {
        EXPECT_EQ(loaded.GetFilter(), 21u);
        EXPECT_EQ(loaded.GetParam(0), 0.4);
        EXPECT_EQ(loaded.GetEdgeHandling(), 3u);
        EXPECT_EQ(loaded.GetBlankHandling(), 3u);
        EXPECT_EQ(loaded.GetKernelSize(), 7u);
        EXPECT_EQ(loaded.GetEdgeFill(), -2.0);
        EXPECT_EQ(loaded.GetBlankFill(), 9.5);
        EXPECT_EQ(loaded.GetOrientation(), orientation);
        EXPECT_EQ(loaded.GetComponents(), flags);
        EXPECT_EQ(loaded.GetSavedParams(), (std::map<int, double>{{210, 0.4}})) << "loading saves the parameters";
    };
    VoLatticeFilter loaded;
    EXPECT_EQ(testsupport::Load(loaded, current), 0u);
    expectSettings(loaded, F::XZPlanes, {true, false});

    // Before the gate: no orientation, reserved word or flags (4 + 4 + 4 + 2 bytes).
    const size_t header = testsupport::Header(shr::Archive::CurrentVersion).size();
    std::vector<unsigned char> old = testsupport::Header(M::OrientationVersion - 1);
    old.insert(old.end(), current.begin() + long(header), current.end() - 14);
    VoLatticeFilter legacy;
    EXPECT_EQ(testsupport::Load(legacy, old), 0u);
    expectSettings(legacy, F::Volume, {});

    // A cut-off document, or one whose filter number (126 bytes from the end)
    // is out of range, changes none of the filter's settings.
    std::vector<unsigned char> corrupt = current;
    corrupt[current.size() - 126] = 40;
    for (const auto& bad : {std::vector<unsigned char>(current.begin(), current.end() - 1), corrupt}) {
        VoLatticeFilter target;
        EXPECT_THROW(testsupport::Load(target, bad), shr::Exception);
        EXPECT_EQ(target.GetFilter(), uint32_t(F::Average));
        EXPECT_TRUE(target.GetSavedParams().empty());
    }
}

TEST_F(LatticeFilterModule, StopsWhenThePassIsAborted)
{
    const unsigned int dims[3] = {160, 160, 160};
    VoLatticeFilter* module = Filter(ValueLattice(dims, std::vector<double>(160 * 160 * 160, 1.0), 1, shr::Float));
    auto rows = Rows(*module);
    for (const auto& [id, text] : {std::pair<int, const char*>{M::IdFilter, "10"}, {M::IdKernelSize, "5"}}) {
        rows->StringValue(id, text);
        Send(*module, *rows, id);
    }
    if (!AbortWhileExecuting(*module))
        GTEST_SKIP() << "the filter was done before the abort arrived";
    EXPECT_EQ(module->GetStatus(), VoModule::ModuleAborted);
    EXPECT_EQ(Output(*module), nullptr);
    network().DeleteAllNodes();
    RunPass(); // brings the abort flag down for what follows
}

} // namespace
