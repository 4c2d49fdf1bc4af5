// The lattice-colouring base: component bookkeeping, colour-map limits from
// the data, and the stored form shared by every module built on it.
#include "NetworkFixture.h"

#include "core/data/VdUniformLattice.h"
#include "core/network/VbModuleInfo.h"
#include "core/visual/VoLatticeModule.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

using core::VoLatticeModule;

// Opens the protected interface of the base.
class ProbeModule : public VoLatticeModule {
    SHR_DECLARE_CREATABLE_TYPE(ProbeModule)
public:
    static const core::VbModuleInfo s_ModuleInfo;
    const core::VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void Serialize(shr::Archive& archive) override { SerializeImpl(archive); }

    using VoLatticeModule::InputComponentSafe;
    using VoLatticeModule::InterpolateColor;
    using VoLatticeModule::UpdateColorMapDataLimits;
};

SHR_IMPLEMENT_CREATABLE_TYPE(ProbeModule, core::VoLatticeModule)
const core::VbModuleInfo ProbeModule::s_ModuleInfo("Test Modules\\LatticeModuleProbe", ProbeModule::GetClassTypeId(),
                                                   14, 16, "Opens the lattice module base", -1);

// Two float components on 2 x 2 x 1 nodes: C1 = 1..4, C2 = -8, 0, NaN, 2.
core::VdUniformLattice MakeLattice()
{
    const unsigned int dims[3] = {2, 2, 1};
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> values = {1, -8, 2, 0, 3, nan, 4, 2};
    return core::VdUniformLattice(shr::Float, dims, values.data(), 2);
}

TEST(LatticeModuleTest, ColorMapTakesTheComponentLimitsAndClipsTheComponent)
{
    const core::VdUniformLattice lattice = MakeLattice();
    ProbeModule module;
    module.InputComponentSafe(5);
    module.UpdateColorMapDataLimits(&lattice);
    EXPECT_EQ(module.InputComponent(), 2u);
    const core::VbColorMap& map = module.GetColorMap();
    EXPECT_EQ(map.GetDataMin(), -8.0);
    EXPECT_EQ(map.GetDataMax(), 2.0);
    // The window follows the data: its ends take the map's end colours.
    EXPECT_EQ(module.InterpolateColor(-8.0), shr::Color4b(0, 0, 0));
    EXPECT_EQ(module.InterpolateColor(2.0), shr::Color4b(255, 255, 255));

    module.UpdateColorMapDataLimits(nullptr);
    EXPECT_EQ(map.GetDataMin(), -8.0);
}

TEST(LatticeModuleTest, RoundTripsComponentMapAndLegend)
{
    ProbeModule stored;
    stored.InputComponentSafe(2);
    stored.GetColorMap().SetScalingLimits(-1.0, 5.0);
    stored.GetLegend().Show(true);
    stored.GetLegend().m_Title = "Grade";
    const std::vector<unsigned char> bytes = testsupport::Store(stored);
    ProbeModule loaded;
    testsupport::Load(loaded, bytes);
    EXPECT_EQ(testsupport::Store(loaded), bytes);
    EXPECT_EQ(loaded.GetLegend().GetColorMap(), &loaded.GetColorMap());

    ProbeModule target;
    EXPECT_THROW(testsupport::Load(target, bytes, 3), shr::Exception);
    EXPECT_FALSE(target.GetLegend().Visible()) << "the legend is taken whole";
}

} // namespace
