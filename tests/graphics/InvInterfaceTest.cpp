// Scene-graph basics around the renderer: finding, bounding, the memory
// archive, and the plain records (material, vertex data).
#include "FontTestSupport.h"

#include "core/data/InvModuleSwitch.h"
#include "core/graphics/InvInterface.h"
#include "core/graphics/InvMemoryArchive.h"
#include "core/graphics/VgMaterial.h"
#include "core/graphics/VgVertexData.h"
#include "core/network/VoModule.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

using core::InvSmartPtr;
using fonttest::CubeAt;
using testsupport::RaisedBy;

namespace {

TEST(InvInterface, BoundingBoxesInDouble)
{
    fonttest::EnsureFontClasses();
    InvSmartPtr<SoNode> cube(CubeAt({10, 0, 0}));
    const shr::Box3d box = core::InvBoundingBox(cube);
    EXPECT_EQ(box, shr::Box3d(9, -1, -1, 11, 1, 1));
    EXPECT_EQ(RaisedBy([] { core::InvBoundingBox(InvSmartPtr<SoNode>()); }).message,
              "Invalid root in bounding box calculation.");

    // Children measured one by one: the translation of one does not move the next.
    InvSmartPtr<SoGroup> group(new SoGroup);
    group->addChild(CubeAt({10, 0, 0}));
    auto* looseCube = new SoCube;
    group->addChild(looseCube);
    const shr::CTypeInfo* moduleType = core::VoModule::GetClassTypeId();
    EXPECT_EQ(core::InvChildrenBoundingBox(group, moduleType), shr::Box3d(-1, -1, -1, 11, 1, 1));
    // A module switch without a module has no owner to exclude it by.
    core::InvModuleSwitch::initClass();
    auto* moduleSwitch = new core::InvModuleSwitch;
    moduleSwitch->whichChild = SO_SWITCH_ALL;
    moduleSwitch->addChild(CubeAt({-20, 0, 0}));
    group->addChild(moduleSwitch);
    EXPECT_EQ(core::InvChildrenBoundingBox(group, moduleType).min.x, -21.0);
    EXPECT_TRUE(core::InvChildrenBoundingBox(InvSmartPtr<SoGroup>(), moduleType).IsEmpty());
    EXPECT_EQ(RaisedBy([&] { core::InvChildrenBoundingBox(group, nullptr); }).message,
              "Invalid call to bounding box calculation.");
}

TEST(InvMemoryArchive, WritesAndReadsBackAGraph)
{
    fonttest::EnsureFontClasses();
    core::InvMemoryArchive archive("some/folder/scene.doc");
    InvSmartPtr<SoNode> scene(CubeAt({3, 0, 0}, "Block"));
    void* buffer = nullptr;
    const size_t size = archive.Write(scene.get(), buffer);
    ASSERT_NE(buffer, nullptr);
    ASSERT_GT(size, 0u);
    InvSmartPtr<SoSeparator> copy = archive.Read(buffer, size);
    ASSERT_TRUE(copy);
    EXPECT_EQ(core::InvBoundingBox(InvSmartPtr<SoNode>(copy)), core::InvBoundingBox(scene));
    EXPECT_NE(core::InvFindNode("Block", copy.get()), nullptr);

    // A second write replaces the buffer; garbage reads as nothing.
    const size_t again = archive.Write(scene.get(), buffer);
    EXPECT_EQ(again, size);
    const char garbage[] = "not a scene at all";
    EXPECT_FALSE(archive.Read(garbage, sizeof garbage));
    EXPECT_FALSE(archive.Read(nullptr, 0));
    EXPECT_THROW(archive.Write(nullptr, buffer), shr::Exception);
}

TEST(VgMaterial, SerializeRoundTripsAndLayout)
{
    core::VgMaterial material;
    material.name = "Granite";
    material.diffuse = shr::Color4b(10, 20, 30, 40);
    material.shininess = 0.75f;
    const std::vector<unsigned char> bytes = testsupport::ExpectRoundTrip(material, {3});
    core::VgMaterial loaded;
    testsupport::Load(loaded, bytes);
    EXPECT_EQ(loaded, material);
    // The six floats close the record at 4 bytes each: shininess, then transparency.
    float tail[2] = {-1.0f, -1.0f};
    std::memcpy(tail, bytes.data() + bytes.size() - 8, 8);
    EXPECT_EQ(tail[0], 0.75f);
    EXPECT_EQ(tail[1], 0.0f);
}

} // namespace
