// The scatter plot driven through the network: which points become symbols of
// which kind and colour, the lines that join them, the label texts, lattices
// as rows of nodes, the stored form and a picture of offset labels.
#include "PictureSupport.h"
#include "NetworkFixture.h"
#include "VisualSupport.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdPoints.h"
#include "core/data/VdUniformLattice.h"
#include "core/graphics/VgVertexData.h"
#include "core/visual/VoScatterPlot.h"
#include "core/visual/VoScatterPlotPrivate.h"

#include <Inventor/nodes/SoCallback.h>
#include <Inventor/nodes/SoDrawStyle.h>
#include <Inventor/nodes/SoLineSet.h>
#include <Inventor/nodes/SoMarkerSet.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace core;
using shr::Color4b;

namespace {

// Points along X at x = 0, 1, 2, ... with value component 0 = x (and 1 = 10 x); `blanks` lists blank points.
VdPoints* Line(unsigned int count, unsigned int components = 1, const std::vector<unsigned int>& blanks = {})
{
    std::vector<double> coords, values;
    for (unsigned int i = 0; i < count; ++i) {
        coords.insert(coords.end(), {double(i), 0.0, 0.0});
        for (unsigned int c = 0; c < components; ++c)
            values.push_back(i * (c == 0 ? 1.0 : 10.0));
    }
    auto* points = new VdPoints(shr::Double, shr::Double, count, coords.data(), values.data(), components);
    for (unsigned int b : blanks)
        points->SetBlank(b, 0);
    return points;
}

using visualtest::All;
using visualtest::Root;
using visualtest::Texts;

class ScatterPlotTest : public visualtest::ModuleFixture<testsupport::UnshiftedSceneFixture> {
protected:
    VoScatterPlot* Plot(VdData* data)
    {
        auto* plot = Add(new VoScatterPlot);
        Link(plot, Add(new testsupport::DataSource(data)));
        return plot;
    }
};

TEST_F(ScatterPlotTest, SymbolsFollowTheStrideAndTheSymbolsSize)
{
    VoScatterPlot* plot = Plot(Line(150));
    plot->Density(7); // every 100th point
    Pass({plot});
    ASSERT_EQ(plot->Symbols().vertices.size(), 2u);
    EXPECT_EQ(plot->Symbols().vertices[1].x, 100.0);
    // The fast square is a point of the point size.
    ASSERT_EQ(All<SoMarkerSet>(*plot).size(), 0u);
    const std::vector<SoDrawStyle*> styles = All<SoDrawStyle>(*plot);
    ASSERT_FALSE(styles.empty());
    EXPECT_EQ(styles.back()->pointSize.getValue(), 5.0f);

    struct Case {
        uint32_t symbol, size;
        int markerIndex;
    } cases[] = {{0, 2, 60}, {0, 0, 0}, {13, 1, 43}, {29, 2, 89}, {21, 0, 21}};
    for (const Case& c : cases) {
        plot->Symbol(c.symbol);
        plot->MarkerSize(c.size);
        Rerun(plot);
        const std::vector<SoMarkerSet*> markers = All<SoMarkerSet>(*plot);
        ASSERT_EQ(markers.size(), 1u) << c.symbol;
        EXPECT_EQ(markers[0]->markerIndex[0], c.markerIndex) << c.symbol << " size " << c.size;
    }
}

TEST_F(ScatterPlotTest, BlanksAreSkippedAndLinesJoinTheirNeighbours)
{
    VoScatterPlot* plot = Plot(Line(5, 2, {2}));
    plot->ShowLines(true);
    RunPass();
    const VgVertexData& symbols = plot->Symbols();
    ASSERT_EQ(symbols.vertices.size(), 4u);
    EXPECT_EQ(symbols.vertices[2].x, 3.0) << "point 2 is blank";
    const VbColorMap& map = plot->GetColorMap();
    EXPECT_EQ(symbols.colors.front(), map.PosToColor(0.0));
    EXPECT_EQ(symbols.colors[2], map.PosToColor(0.75)) << "3 on the window 0 to 4";
    const std::vector<SoLineSet*> lines = All<SoLineSet>(*plot);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0]->numVertices[0], 4);

    // The second component is whole; a window of no width colours all by its start.
    plot->ColorComponent(1);
    plot->GetColorMap().SetScalingLimits(5.0, 5.0);
    Rerun(plot);
    ASSERT_EQ(plot->Symbols().vertices.size(), 5u);
    for (const Color4b& color : plot->Symbols().colors)
        EXPECT_EQ(color, map.PosToColor(0.0));
}

TEST_F(ScatterPlotTest, ColouringByDataNeedsData)
{
    VoScatterPlot* plot = Plot(Line(3, 0));
    RunPass();
    EXPECT_EQ(plot->GetStatus(), VoModule::ModuleFailed);
    EXPECT_NE(proxy.LastError().find("the point set has no data"), std::string::npos) << proxy.LastError();

    plot->ColorMethod(VoScatterPlot::Fixed);
    plot->SetModified();
    Pass({plot});
    EXPECT_EQ(plot->Symbols().vertices.size(), 3u);
    EXPECT_TRUE(plot->Symbols().colors.empty());

    // An empty set draws nothing, and the legend still shows.
    VoScatterPlot* empty = Plot(Line(0));
    empty->GetLegend().Show(true);
    Pass({empty});
    EXPECT_EQ(All<SoCallback>(*empty).size(), 1u);
}

TEST_F(ScatterPlotTest, LabelsComeFromEveryFieldInTheChosenFormat)
{
    VdPoints* points = Line(3, 2, {1});
    points->AddLabel({0, "DH-01"});
    points->AddLabel({2, "DH-02"});
    VoScatterPlot* plot = Plot(points);
    plot->ShowLabels(true);
    EXPECT_EQ(VoScatterPlot::CollectLabelFields(*points),
              (std::vector<shr::GString>{"Component 1", "Component 2", "Labels", "X", "Y", "Z", "XYZ"}));

    struct Case {
        const char* field;
        unsigned char type, digits;
        const char* prefix;
        std::vector<std::string> texts;
    } cases[] = {
        {"labels", 2, 7, "", {"DH-01", "DH-02"}},
        {"Labels", 0, 1, "#", {"#DH-01", "#DH-02"}},
        {"X", 0, 2, "", {"0.00", "1.00", "2.00"}},
        {"y", 1, 1, "", {"0.0E+00", "0.0E+00", "0.0E+00"}},
        {"XYZ", 2, 3, "at ", {"at 0, 0, 0", "at 1, 0, 0", "at 2, 0, 0"}},
        {"Component 1", 0, 0, "", {"0", "2"}}, // point 1 is blank there
        {"2", 2, 7, "", {"0", "10", "20"}},
        {"Component 3", 2, 7, "", {}},
        {"", 2, 7, "", {}},
    };
    for (const Case& c : cases) {
        plot->LabelField(c.field);
        plot->LabelFormat().SetType(c.type);
        plot->LabelFormat().Digits(c.digits);
        plot->LabelFormat().Prefix(c.prefix);
        Rerun(plot);
        EXPECT_EQ(Texts(*plot), c.texts) << c.field;
    }

    VbLabelFormat format(2, 7);
    ScatterPlotPrivate::TextLabelExtractor extractor(*points, format);
    EXPECT_THROW(extractor.Label(3), shr::Exception);
}

TEST_F(ScatterPlotTest, LatticeNodesAreRowsOfSymbols)
{
    const unsigned int dims[3] = {3, 2, 2};
    std::vector<float> values(12);
    for (size_t n = 0; n < values.size(); ++n)
        values[n] = float(n);
    auto* lattice = new VdUniformLattice(shr::Float, dims, values.data(), 1);
    lattice->SetBlank(4u, 0u); // the middle of the second row
    VoScatterPlot* plot = Plot(lattice);
    plot->ShowLines(true);
    Pass({plot});
    EXPECT_EQ(plot->Symbols().vertices.size(), 11u);
    const std::vector<SoLineSet*> lines = All<SoLineSet>(*plot);
    ASSERT_EQ(lines.size(), 1u);
    std::vector<int> strips;
    for (int s = 0; s < lines[0]->numVertices.getNum(); ++s)
        strips.push_back(lines[0]->numVertices[s]);
    EXPECT_EQ(strips, (std::vector<int>{3, 2, 3, 3}));

    plot->Density(1); // nodes 0, 2, 4 (blank), 6, 8, 10
    Rerun(plot);
    EXPECT_EQ(plot->Symbols().vertices.size(), 5u);
}

// ---- the stored form --------------------------------------------------------------------------

TEST_F(ScatterPlotTest, StoredFormThroughTheVersionGates)
{
    VoScatterPlot stored;
    stored.Symbol(12);
    stored.PointSize(7.0f);
    stored.MarkerSize(2);
    stored.LineWidth(3.0f);
    stored.ColorMethod(VoScatterPlot::Fixed);
    stored.FixedColor(Color4b(1, 2, 3));
    stored.ColorComponent(4);
    stored.ShowLabels(true);
    stored.Density(5);
    stored.ShowLines(true);
    stored.LabelField("Labels");
    stored.LabelText().m_Floats[0] = 12.0f;
    stored.LabelFormat().Prefix("Cu ");
    stored.GetLegend().m_Title = "Grade";
    // Read back whole, or, cut off, not at all.
    testsupport::ExpectRoundTrip(stored, {3});

    // Version 105: int sizes, no density, no line flags, no label formats or field.
    stored.PointSize(9.4f);
    const std::vector<unsigned char> old = testsupport::Store(stored, 105);
    VoScatterPlot fromOld;
    fromOld.LabelField("kept");
    EXPECT_EQ(testsupport::Load(fromOld, old), 0u);
    EXPECT_EQ(fromOld.Symbol(), 12u);
    EXPECT_EQ(fromOld.PointSize(), 9.0f);
    EXPECT_EQ(fromOld.LineWidth(), 3.0f);
    EXPECT_EQ(fromOld.FixedColor(), Color4b(1, 2, 3));
    EXPECT_EQ(fromOld.Density(), 0u);
    EXPECT_FALSE(fromOld.ShowLines());
    EXPECT_EQ(fromOld.LabelField(), "kept");
    VoScatterPlot at110; // the first version with sizes in floats
    EXPECT_EQ(testsupport::Load(at110, testsupport::Store(stored, 110)), 0u);
    EXPECT_EQ(at110.PointSize(), 9.4f);
}

// ---- a picture ----------------------------------------------------------------------------------

// A white label 30 pixels right of its red point, a leader line between them.
TEST_F(ScatterPlotTest, LabelsStandAtTheirPixelOffsetWithLeaderLines)
{
    VdPoints* points = Line(1);
    points->AddLabel({0, "WW"});
    VoScatterPlot* plot = Plot(points);
    plot->ColorMethod(VoScatterPlot::Fixed);
    plot->PointSize(9.0f);
    plot->ShowLabels(true);
    plot->LeaderLines(true);
    plot->LabelField("Labels");
    plot->LabelText().m_Color = Color4b::White;
    plot->LabelText().m_Height = 16.0;
    plot->LabelText().m_Floats[0] = 30.0f;
    plot->LabelText().m_Floats[2] = 3.0f;
    Pass({plot});
    const render::Image image = testsupport::TopDownPicture(Root(*plot), 4.0f); // the point at (80, 80)
    EXPECT_EQ(image.At(80, 83), Color4b::Red) << "the symbol, below the leader line";
    const auto bright = [&](int x0, int x1, int y0, int y1) {
        int count = 0;
        for (int y = y0; y <= y1; ++y)
            for (int x = x0; x <= x1; ++x)
                count += image.At(x, y).g > 128 ? 1 : 0;
        return count;
    };
    EXPECT_GT(bright(110, 140, 62, 80), 10) << "the label, right of its anchor and above its baseline";
    EXPECT_EQ(bright(40, 74, 60, 100), 0) << "nothing left of the point";
    EXPECT_GT(bright(90, 105, 79, 81), 10) << "the leader line";
}

} // namespace
