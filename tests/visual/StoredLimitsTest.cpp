// A document holds no setting its row would refuse: a value the row took is
// replaced in the stored form by one beyond the row's limits, and loading
// refuses it.
#include "NetworkFixture.h"

#include "core/properties/VbPropertyRegistry.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

class StoredLimits : public testsupport::NetworkFixture {
protected:
    static core::VoModule* Make(const char* className)
    {
        return static_cast<core::VoModule*>(
            static_cast<shr::CTypedObject*>(shr::CTypeInfo::FromName(className)->CreateInstance()));
    }
};

TEST_F(StoredLimits, ValuesBeyondTheirRowsAreRefused)
{
    const double nan = std::nan("");
    const struct Case {
        const char* className;
        const char* key;
        double marker; // set through the row, stored as a double or, with `asFloat`, a float
        bool asFloat;
        double bad;
    } cases[] = {
        {"VoVolRender", "VolRenderOpacity", 0.4375, false, 1.5},
        {"VoHeightField", "HeightFieldScale", 0.4375, false, -40.0},
        {"VoHeightField", "HeightFieldOpacity", 0.4375, false, nan},
        {"VoHeightField", "HeightFieldOverlayQuality", 0.4375, false, 2.0},
        {"VoScatterPlot", "ScatterPlotLineWidth", 3.25, true, 1e6},
        {"VoScatterPlot", "ScatterPlotLabelSize", 13.375, false, 0.0},
        {"VoScatterPlot", "ScatterPlotLeaderLineWidth", 3.25, true, -1.0},
        {"VoBoundingBox", "BoundingBoxLineWidth", 3.25, true, nan},
        {"VoBoundingBox", "BoundingBoxLabelSize", 13.375, false, 1e9},
        {"VoAxes", "AxesThickness", 3.25, false, 1e9},
        {"VoAxes", "AxesGridLineWidth", 3.25, false, -2.0},
        {"VoAxes", "AxesXAxisLabelInc", 0.4375, false, 0.0},
        {"VoAxes", "AxesYAxisPlane", 12.5, false, 720.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.key);
        core::VoModule* module = Add(Make(c.className));
        const std::string marker = std::to_string(c.marker);
        Edit(module, {{core::VbPropertyRegistry::Instance().Get(c.key).id, marker.c_str()}});
        std::vector<unsigned char> bytes = testsupport::Store(*module);
        const std::unique_ptr<core::VoModule> target(Make(c.className));
        ASSERT_NO_THROW(testsupport::Load(*target, bytes));
        if (c.asFloat)
            testsupport::ReplaceUnique(bytes, float(c.marker), float(c.bad));
        else
            testsupport::ReplaceUnique(bytes, c.marker, c.bad);
        EXPECT_THROW(testsupport::Load(*target, bytes), shr::Exception);
        network().DeleteAllNodes();
    }
}

} // namespace
