#pragma once
// Shared pieces of the graphics tests: the scene-graph and font classes set
// up once, vertex lists and a moved cube.
#include "core/graphics/InvSmartPtr.h"
#include "core/graphics/GLFont.h"
#include "core/graphics/InvFont.h"
#include "core/graphics/InvText3.h"
#include "core/graphics/VgVertexData.h"
#include "tests/support/PictureSupport.h"
#include "tests/support/TestSupport.h"

namespace fonttest {

inline void EnsureFontClasses()
{
    render::EnsureCoinInit();
    core::InvFont::initClass();
    core::InvText3::initClass();
}

// Vertex data of `points` alone.
inline core::VgVertexData Vertices(std::initializer_list<shr::Vec3d> points)
{
    core::VgVertexData data;
    data.vertices.assign(points);
    return data;
}

// A separator holding a 2-unit cube, named `name` when given, moved to `at`.
inline SoSeparator* CubeAt(const SbVec3f& at, const char* name = nullptr)
{
    auto* cube = new SoCube;
    if (name)
        cube->setName(name);
    return testsupport::UnlitShape(cube, SbColor(1, 1, 1), at);
}

} // namespace fonttest
