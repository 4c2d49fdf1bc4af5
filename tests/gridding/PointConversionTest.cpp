// Point sets to point tables and back: blanks, dropped vertices, world
// coordinates and labels.
#include "core/data/VdPoints.h"
#include "core/gridding/CPointData.h"
#include "shr/Mat4d.h"

#include <gtest/gtest.h>

#include <vector>

using namespace core;

namespace {

// Three vertices with two float components, integer coordinates and a user
// transform: rows are in world coordinates.
std::unique_ptr<VdPoints> SamplePoints()
{
    const int32_t coords[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    const float values[] = {10.f, 11.f, 20.f, 21.f, 30.f, 31.f};
    auto points = std::make_unique<VdPoints>(shr::Int32, shr::Float, 3, coords, values, 2);
    points->SetBlank(1, 0);
    points->SetBlank(2, 1);
    points->AddLabel(LabelStorage::Label(2, "third"));
    points->SetUserTransform(shr::Mat4d::MakeScale(2, 1, 1) * shr::Mat4d::MakeTranslation(10, 20, 30));
    return points;
}

} // namespace

TEST(PointConversion, BlanksDropOnlyTheSelectedComponentsBlanksAndRowsGoBackInOrder)
{
    struct Case {
        unsigned component;
        bool dropBlank;
        std::vector<uint32_t> ids;
    } cases[] = {{0, true, {0, 2}}, {1, true, {0, 1}}, {0, false, {0, 1, 2}}};
    auto points = SamplePoints();
    for (const Case& c : cases) {
        CPointData data(2);
        data.push_back(CPointDatum(2)); // replaced, not kept
        Convert(*points, data, c.component, c.dropBlank);
        ASSERT_EQ(data.size(), c.ids.size()) << c.component << c.dropBlank;
        for (size_t r = 0; r < data.size(); ++r) {
            const uint32_t id = c.ids[r];
            EXPECT_EQ(data[r].ID(), id);
            EXPECT_EQ(data[r].X(), 12.0 + 6 * id);
            EXPECT_EQ(data[r].Z(), 33.0 + 3 * id);
            EXPECT_EQ(data[r].W(0), id == 1 ? CDatum::BLANK_VAL : 10.0 * (id + 1));
            EXPECT_EQ(data[r].W(1), id == 2 ? CDatum::BLANK_VAL : 10.0 * (id + 1) + 1);
        }
        EXPECT_EQ(data.Labels(), points->Labels());
    }

    CPointData data(2);
    Convert(*points, data, 0, true); // rows from vertices 0 and 2
    VdPoints back;
    Convert(data, back);
    ASSERT_EQ(back.VertexCount(), 2u);
    ASSERT_EQ(back.ComponentCount(), 2u);
    const double* coords = static_cast<const double*>(back.GetCoordPtr());
    const double* values = static_cast<const double*>(back.DataPtr());
    EXPECT_EQ(std::vector<double>(coords, coords + 6), (std::vector<double>{12, 22, 33, 24, 28, 39}));
    EXPECT_EQ(std::vector<double>(values, values + 4), (std::vector<double>{10, 11, 30, CDatum::BLANK_VAL}));
    ASSERT_EQ(back.labels_size(), 1u);
    ASSERT_NE(back.FindLabel(1), back.labels_end()) << "vertex 2's label follows its row to index 1";
    EXPECT_EQ(back.FindLabel(1)->second, "third");

    points->SetBlank(0, 0);
    points->SetBlank(2, 0);
    CPointData none(2);
    Convert(*points, none, 0, true);
    EXPECT_TRUE(none.empty()) << "all blank in the selected component";
}
