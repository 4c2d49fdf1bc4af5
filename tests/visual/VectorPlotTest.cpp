// The vector plot in a network: the scale laws, zero and blank vectors, the
// nodes and points it samples, the symbols of each style, colouring by a
// scalar lattice, and the stored form through its version gate.
#include "NetworkFixture.h"
#include "VisualSupport.h"
#include "LatticeSupport.h"
#include "TestSupport.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdPoints.h"
#include "core/data/VdUniformLattice.h"
#include "core/visual/VoVectorPlot.h"
#include "render/Image.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

using core::VoModule;
using core::VoVectorPlot;
using shr::Color4b;
using shr::Vec3d;

using testsupport::Near;

class VectorPlotTest : public visualtest::ModuleFixture<testsupport::NetworkFixture> {
protected:
    // The plot, fed and settled by a first pass: what a test sets afterwards stays.
    VoVectorPlot* Plot(core::VdLattice* lattice)
    {
        VoVectorPlot* plot = Feed(lattice, new VoVectorPlot);
        RunPass();
        return plot;
    }
    // Runs the plot again.
    VoVectorPlot* Run(VoVectorPlot* plot)
    {
        Rerun(plot);
        EXPECT_EQ(plot->GetStatus(), VoModule::ModuleOk) << proxy.LastError();
        return plot;
    }

    testsupport::ErrorProxy proxy;
};

TEST_F(VectorPlotTest, ScaleLawsOnKnownMagnitudes)
{
    VoVectorPlot plot;
    plot.BaseLength(2.0);
    plot.ScaleFactors(0.5, 1.5); // lengths 1 and 3
    plot.MagnitudeLimits(1.0, 5.0);
    struct Case {
        uint32_t method;
        double magnitude, length;
    } cases[] = {
        {VoVectorPlot::Linear, 1.0, 1.0},      {VoVectorPlot::Linear, 3.0, 2.0},
        {VoVectorPlot::Linear, 5.0, 3.0},      {VoVectorPlot::SquareRoot, 1.0, 1.0},
        {VoVectorPlot::SquareRoot, 3.0, std::sqrt(5.0)}, {VoVectorPlot::SquareRoot, 5.0, 3.0},
        {VoVectorPlot::Logarithmic, 1.0, 1.0}, {VoVectorPlot::Logarithmic, 3.0, std::log10(505.0)},
        {VoVectorPlot::Logarithmic, 5.0, 3.0}, {7, 4.0, 1.0}, // an unknown method keeps the shortest
    };
    for (const Case& c : cases) {
        plot.SetScaleMethod(c.method);
        EXPECT_NEAR(plot.GetScaledLength(c.magnitude), c.length, 1e-12) << c.method << " at " << c.magnitude;
    }
    // Below the smallest magnitude the linear law goes to zero, never below.
    plot.ScaleFactors(0.0, 1.5);
    plot.SetScaleMethod(VoVectorPlot::Linear);
    EXPECT_EQ(plot.GetScaledLength(0.5), 0.0);
    // Equal limits: every vector has the shortest length.
    plot.MagnitudeLimits(2.0, 2.0);
    plot.ScaleFactors(0.75, 1.5);
    for (uint32_t method : {0u, 1u, 2u})
        EXPECT_EQ((plot.SetScaleMethod(method), plot.GetScaledLength(9.0)), 1.5);
}

// A zero vector keeps its base symbol only; a blank component counts as zero,
// shortening its vector; reverse orientation turns every vector round.
TEST_F(VectorPlotTest, ZeroBlankAndReversedVectors)
{
    auto* lattice = testsupport::VectorLattice(3, 1, 1, [](unsigned i, unsigned, unsigned) {
        return i == 0 ? Vec3d(0, 0, 0) : Vec3d(3, 4, 12);
    });
    lattice->SetBlank(2, 0, 0, 2);
    VoVectorPlot* plot = Plot(lattice);
    EXPECT_EQ(plot->MagnitudeMin(), 0.0);
    EXPECT_EQ(plot->MagnitudeMax(), 13.0);
    plot->Style(VoVectorPlot::Line);
    plot->BaseLength(1.0);
    plot->ScaleFactors(0.0, 1.0); // length = magnitude / 13
    for (bool reverse : {false, true}) {
        plot->ReverseOrientation(reverse);
        const auto& symbols = Run(plot)->Symbols();
        ASSERT_EQ(symbols.points.vertices.size(), 3u);
        ASSERT_EQ(symbols.lineCounts, (std::vector<int>{2, 2}));
        const double sign = reverse ? -1.0 : 1.0;
        EXPECT_TRUE(Near(symbols.lines.vertices[1], Vec3d(1, 0, 0) + Vec3d(3, 4, 12) * (sign / 13.0)));
        EXPECT_TRUE(Near(symbols.lines.vertices[3], Vec3d(2, 0, 0) + Vec3d(3, 4, 0) * (sign * 5.0 / 13.0 / 5.0)));
    }
}

TEST_F(VectorPlotTest, SamplesTheNodesOfThePlaneAndTheFrequency)
{
    VoVectorPlot* plot = Plot(testsupport::VectorLattice(5, 4, 3, [](unsigned, unsigned, unsigned) { return Vec3d(1, 0, 0); }));
    struct Case {
        uint32_t orientation, slice, frequency;
        size_t samples;
        int axis;      // the axis held at `at`, or -1
        double at;
    } cases[] = {
        {VoVectorPlot::AllNodes, 0, 1, 60, -1, 0},
        {VoVectorPlot::AllNodes, 0, 2, 12, -1, 0},
        {VoVectorPlot::AllNodes, 0, 10, 1, 0, 0}, // one sample at the origin of every axis
        {VoVectorPlot::XYPlane, 2, 2, 6, 2, 2},   // the slice stays whole in the held axis
        {VoVectorPlot::XZPlane, 9, 3, 2, 1, 3},   // a slice past the end is the last layer
        {VoVectorPlot::YZPlane, 1, 1, 12, 0, 1},
    };
    for (const Case& c : cases) {
        plot->SetOrientation(c.orientation);
        plot->Slice(c.slice);
        plot->Frequency(c.frequency);
        const std::vector<Vec3d>& bases = Run(plot)->Symbols().points.vertices;
        EXPECT_EQ(bases.size(), c.samples) << c.orientation << "/" << c.frequency;
        for (const Vec3d& p : bases) {
            if (c.axis >= 0) {
                EXPECT_EQ(p[size_t(c.axis)], c.at) << c.orientation;
            }
            for (int axis = 0; axis < 3; ++axis)
                EXPECT_EQ(std::fmod(p[size_t(axis)], axis == c.axis ? 1.0 : double(c.frequency)), 0.0);
        }
    }
}

TEST_F(VectorPlotTest, DefaultsComeFromTheFirstInput)
{
    VoVectorPlot* plot = Plot(testsupport::VectorLattice(40, 30, 2, [](unsigned, unsigned, unsigned) { return Vec3d(0, 2, 0); }));
    EXPECT_FALSE(plot->FirstInput());
    EXPECT_EQ(plot->Frequency(), 5u); // |(40, 30, 2)| / 10, truncated
    EXPECT_DOUBLE_EQ(plot->BaseLength(), std::sqrt(39.0 * 39.0 + 29.0 * 29.0 + 1.0) / 10.0);
    EXPECT_EQ(plot->GetColorMap().GetDataMax(), 2.0);

    // Points: a hundredth of the count; every third point of seven is drawn.
    std::vector<double> coords(750, 0.0), values(750, 1.0);
    for (int p = 0; p < 250; ++p)
        coords[3 * size_t(p)] = p;
    auto* plotted = Add(new VoVectorPlot);
    Link(plotted, Add(new testsupport::DataSource(
                      new core::VdPoints(shr::Double, shr::Double, 250, coords.data(), values.data(), 3), 1)));
    EXPECT_EQ(plotted->Frequency(), 2u);
    plotted->Frequency(100);
    const auto& bases = Run(plotted)->Symbols().points.vertices;
    EXPECT_EQ(bases, (std::vector<Vec3d>{{0, 0, 0}, {100, 0, 0}, {200, 0, 0}}));
}

// One vector of length 2 along +X (or +Y, where the head frame changes its helper axis).
TEST_F(VectorPlotTest, EachStyleDrawsItsSymbol)
{
    Vec3d direction(1, 0, 0);
    VoVectorPlot* plot = Plot(testsupport::VectorLattice(1, 1, 1, [&](unsigned, unsigned, unsigned) { return direction; }));
    plot->BaseLength(2.0);
    plot->SetColorMethod(VoVectorPlot::Fixed);
    plot->FixedColor(Color4b(200, 100, 10));
    struct Case {
        uint32_t style;
        std::vector<int> counts;
        std::vector<int> strips;
    } cases[] = {
        {VoVectorPlot::Line, {2}, {}},
        {VoVectorPlot::Arrow2, {5}, {}},
        {VoVectorPlot::Arrow4, {9}, {}},
        {VoVectorPlot::ArrowCross, {2}, {0, 1, 2, -1, 0, 3, 4, -1}},
        {VoVectorPlot::ArrowSolid, {2}, {0, 1, 3, 2, -1, 0, 4, 1, 2, -1}},
        {VoVectorPlot::Fade, {2}, {}},
    };
    for (const Case& c : cases) {
        plot->Style(c.style);
        const auto& symbols = Run(plot)->Symbols();
        EXPECT_EQ(symbols.lineCounts, c.counts) << c.style;
        EXPECT_EQ(symbols.strips.indices, c.strips) << c.style;
        const size_t triangles = c.strips.empty() ? 0 : c.strips.size() - 6;
        EXPECT_EQ(symbols.strips.normals.size(), triangles) << c.style;
        for (const SbVec3f& n : symbols.strips.normals)
            EXPECT_NEAR(n.length(), 1.0f, 1e-6f);
    }
    // Arrow 4 (the last style but one run) reads tail, tip, then each head point and back to the tip.
    const std::vector<Vec3d> expected = {{0, 0, 0}, {2, 0, 0}, {1.4, 0, 0.3},  {2, 0, 0}, {1.4, 0, -0.3},
                                         {2, 0, 0}, {1.4, -0.3, 0}, {2, 0, 0}, {1.4, 0.3, 0}};
    plot->Style(VoVectorPlot::Arrow4);
    const std::vector<Vec3d>& vertices = Run(plot)->Symbols().lines.vertices;
    for (size_t v = 0; v < expected.size(); ++v)
        EXPECT_TRUE(Near(vertices.at(v), expected[v], 1e-12)) << v;
    // Fade: the tail in the colour, the tip darkened, per vertex.
    plot->Style(VoVectorPlot::Fade);
    EXPECT_EQ(Run(plot)->Symbols().lines.colors, (std::vector<Color4b>{{200, 100, 10}, {50, 25, 3}}));
}

TEST_F(VectorPlotTest, ScalarColoursNeedALargeEnoughScalarLattice)
{
    VoVectorPlot* plot = Plot(testsupport::VectorLattice(2, 2, 1, [](unsigned, unsigned, unsigned) { return Vec3d(1, 1, 0); }));
    plot->SetColorMethod(VoVectorPlot::Scalar);
    Rerun(plot);
    EXPECT_EQ(plot->GetStatus(), VoModule::ModuleFailed);
    EXPECT_EQ(proxy.LastError(), "The Scalar color method requires the 'Scalar Lattice' connection.  Nothing appears "
                                 "to be connected.");

    auto* small = Add(new core::VoLatticeSrc(testsupport::VectorLattice(2, 1, 1, [](unsigned, unsigned, unsigned) { return Vec3d(); }), ""));
    Link(plot, small, 1);
    RunPass();
    EXPECT_EQ(proxy.LastError(), "The scalar lattice is too small.  The scalar lattice dimensions must be greater "
                                 "than or equal to the input lattice dimensions.");

    // Component 2 of the scalar lattice is j * 10 + i; node (1, 1) is blank and takes the minimum.
    auto* scalar = testsupport::VectorLattice(3, 2, 1, [](unsigned i, unsigned j, unsigned) { return Vec3d(0, j * 10.0 + i, 0); });
    scalar->SetBlank(1, 1, 0, 1);
    Link(plot, Add(new core::VoLatticeSrc(scalar, "")), 1);
    plot->ColorComponent(1);
    plot->OnInputChanged(1, true);
    const auto& lines = Run(plot)->Symbols().lines;
    const core::VbColorMap& map = plot->GetColorMap();
    EXPECT_EQ(map.GetDataMin(), 0.0);
    EXPECT_EQ(map.GetDataMax(), 12.0);
    ASSERT_EQ(lines.colors.size(), 4u);
    const double expected[4] = {0.0, 1.0, 10.0, 0.0};
    for (int n = 0; n < 4; ++n)
        EXPECT_EQ(lines.colors[size_t(n)], map.DatToColor(expected[n])) << n;
}

// ---- the stored form --------------------------------------------------------------------------

TEST_F(VectorPlotTest, StoredFormWithIntegerSizesBeforeVersion110)
{
    VoVectorPlot stored;
    stored.Style(VoVectorPlot::ArrowSolid);
    stored.LineWidth(3.0f);
    stored.BaseSymbolSize(7.0f);
    stored.ArrowScale(0.625);
    stored.ColorComponent(2);
    stored.BaseLength(123.0);
    stored.GetLegend().m_Title = "Speed";
    const testsupport::StoredModule document(testsupport::Store(stored), 3);

    // Before version 110 the two sizes are 32-bit integers where the floats are now.
    const float sizes[2] = {3.0f, 7.0f};
    const int32_t integers[2] = {3, 7};
    const size_t at = document.Find(sizes);
    ASSERT_LT(at, document.body.size());
    const std::vector<unsigned char> old = testsupport::Replace(document.body, at, sizeof sizes, integers);
    for (int version : {109, 110, 130}) { // older legends differ: their place was in pixels
        VoVectorPlot loaded;
        EXPECT_EQ(testsupport::Load(loaded, document.Document(version, version < 110 ? old : document.body)), 0u)
            << version;
        // Stored again, every field as it was, the sizes and those on either side of them too.
        EXPECT_EQ(testsupport::Store(loaded), testsupport::Store(stored)) << version;
    }

    // A cut-off archive, or one holding a style no row can set, fails and
    // leaves the module as it was. The style lies 24 bytes before the sizes.
    VoVectorPlot target;
    const std::vector<unsigned char> current = document.Document(130, document.body);
    EXPECT_THROW(testsupport::Load(target, current, 5), shr::Exception);
    EXPECT_THROW(testsupport::Load(target, document.Document(130, testsupport::Replace(document.body, at - 24, 4,
                                                                                      uint32_t(9)))),
                 shr::Exception);
    EXPECT_EQ(target.Style(), VoVectorPlot::Arrow2);
    EXPECT_EQ(target.GetLegend().m_Title, "");
}

} // namespace
