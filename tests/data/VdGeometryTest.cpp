// Scene output of modules: the switch and its module, visibility, replacing
// the picture, node search, bounds and primitive counts.
#include "core/data/VdGeometry.h"
#include "core/network/VoNetwork.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <gtest/gtest.h>

#include <Inventor/nodes/SoCoordinate3.h>
#include <Inventor/nodes/SoCube.h>
#include <Inventor/nodes/SoPointSet.h>
#include <Inventor/nodes/SoSeparator.h>
#include <Inventor/nodes/SoTranslation.h>

#include <vector>

namespace {

using core::InvSmartPtr;
using core::VdGeometry;

class VdGeometryTest : public ::testing::Test {
protected:
    // The network brings up the scene-graph database and our node classes.
    static void SetUpTestSuite() { core::VoNetwork::Instance().Init(); }
    static void TearDownTestSuite() { core::VoNetwork::Instance().Release(); }

    // A unit cube moved by (5, 0, 0), and three points: 12 triangles, 3 points.
    static InvSmartPtr<SoNode> CubeAndPoints(SoCube** cube = nullptr)
    {
        InvSmartPtr<SoSeparator> group(new SoSeparator);
        auto* move = new SoTranslation;
        move->translation.setValue(5.0f, 0.0f, 0.0f);
        group->addChild(move);
        auto* box = new SoCube;
        group->addChild(box);
        auto* coords = new SoCoordinate3;
        const float points[3][3] = {{0, 0, 0}, {0, 0.5f, 0}, {0, 0, 0.5f}};
        coords->point.setValues(0, 3, points);
        group->addChild(coords);
        group->addChild(new SoPointSet);
        if (cube)
            *cube = box;
        return InvSmartPtr<SoNode>(group);
    }
};

TEST_F(VdGeometryTest, RootCarriesTheModuleAndShowsOnlyAChild)
{
    auto* module = reinterpret_cast<core::VoModule*>(0x1000); // never dereferenced
    VdGeometry geometry(module, true);
    EXPECT_TRUE(geometry.IsHeaderNode());
    EXPECT_TRUE(geometry.IsVisible());
    EXPECT_TRUE(geometry.Clippable());
    InvSmartPtr<SoSwitch> root = geometry.GetRoot();
    ASSERT_TRUE(root);
    ASSERT_TRUE(root->isOfType(core::InvModuleSwitch::getClassTypeId()));
    EXPECT_EQ(module, static_cast<core::InvModuleSwitch*>(root.get())->GetModule());
    EXPECT_EQ(0, root->getNumChildren());
    EXPECT_EQ(SO_SWITCH_NONE, root->whichChild.getValue());

    geometry.Show(true); // no child: nothing to show
    EXPECT_EQ(SO_SWITCH_NONE, geometry.GetRoot()->whichChild.getValue());

    geometry.SetGeometry(CubeAndPoints());
    InvSmartPtr<SoSwitch> filled = geometry.GetRoot();
    EXPECT_NE(root.get(), filled.get()) << "a new switch, so that holders of the old one keep theirs";
    EXPECT_EQ(module, static_cast<core::InvModuleSwitch*>(filled.get())->GetModule());
    EXPECT_EQ(1, filled->getNumChildren());
    EXPECT_EQ(0, filled->whichChild.getValue());

    geometry.Show(false);
    EXPECT_FALSE(geometry.IsVisible());
    EXPECT_EQ(SO_SWITCH_NONE, filled->whichChild.getValue());
    geometry.Show(true);
    EXPECT_EQ(0, filled->whichChild.getValue());
}

TEST_F(VdGeometryTest, NullGeometryKeepsTheOldPicture)
{
    VdGeometry geometry(nullptr, false);
    geometry.SetGeometry(CubeAndPoints());
    SoNode* picture = geometry.GetRoot()->getChild(0);
    geometry.Show(false);
    geometry.SetGeometry(InvSmartPtr<SoNode>());
    EXPECT_EQ(picture, geometry.GetRoot()->getChild(0));
    EXPECT_EQ(SO_SWITCH_NONE, geometry.GetRoot()->whichChild.getValue());

    // A hidden geometry that gets a new picture stays hidden.
    geometry.SetGeometry(CubeAndPoints());
    EXPECT_NE(picture, geometry.GetRoot()->getChild(0));
    EXPECT_EQ(SO_SWITCH_NONE, geometry.GetRoot()->whichChild.getValue());
}

TEST_F(VdGeometryTest, FindNodeSearchesTheCurrentGraphOnly)
{
    VdGeometry geometry(nullptr, false);
    SoCube* cube = nullptr;
    InvSmartPtr<SoNode> first = CubeAndPoints(&cube);
    geometry.SetGeometry(first);
    InvSmartPtr<SoNode> stranger(new SoCube);
    struct Case {
        const char* name;
        SoNode* node;
        bool found;
    } cases[] = {
        {"the cube", cube, true},
        {"the picture itself", first.get(), true},
        {"the switch", geometry.GetRoot().get(), true},
        {"a node elsewhere", stranger.get(), false},
        {"null", nullptr, false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.found, geometry.FindNode(c.node)) << c.name;

    geometry.SetGeometry(CubeAndPoints());
    EXPECT_FALSE(geometry.FindNode(cube)) << "the replaced picture is no longer searched";
}

TEST_F(VdGeometryTest, BoundsAndStatisticsFollowVisibility)
{
    VdGeometry geometry(nullptr, false);
    geometry.SetGeometry(CubeAndPoints());
    const shr::Box3d box = geometry.GetBoundingBox();
    EXPECT_EQ(shr::Box3d(4, -1, -1, 6, 1, 1), box);

    VdGeometry::Statistics counts;
    geometry.GetStatistics(counts);
    EXPECT_EQ(3u, counts.points);
    EXPECT_EQ(0u, counts.lines);
    EXPECT_EQ(12u, counts.triangles);
    EXPECT_EQ(0u, counts.texts);
    EXPECT_EQ(0u, counts.images);

    geometry.Show(false);
    EXPECT_TRUE(geometry.GetBoundingBox().IsEmpty());
    geometry.GetStatistics(counts);
    EXPECT_EQ(0u, counts.triangles + counts.points);
}

TEST_F(VdGeometryTest, ArchiveCarriesOnlyTheMarker)
{
    VdGeometry geometry(nullptr, true);
    geometry.SetGeometry(CubeAndPoints());
    std::vector<unsigned char> bytes;
    {
        shr::Archive out(bytes);
        VdGeometry* object = &geometry;
        out.TransferObject(object);
    }
    shr::Archive in(bytes.data(), bytes.size());
    VdGeometry* loaded = nullptr;
    in.TransferObject(loaded);
    ASSERT_NE(nullptr, loaded);
    EXPECT_EQ(0u, in.BytesRemaining());
    EXPECT_FALSE(loaded->IsHeaderNode());
    EXPECT_EQ(nullptr, loaded->Module());
    EXPECT_EQ(0, loaded->GetRoot()->getNumChildren());
    loaded->AddRef();
    loaded->DecRef();
}

} // namespace
