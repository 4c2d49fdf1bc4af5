#include "core/visual/InputBounds.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdSpatialData.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/VoNetwork.h"

namespace core {

bool GetInputBounds(const VdData* data, const VgRenderer* renderer, shr::Box3d& box, shr::Mat4d& matrix)
{
    const SceneTransform& transform = renderer ? renderer->Transform() : VoNetwork::Instance().Transform();
    matrix = shr::Mat4d();
    if (const auto* spatial = dynamic_cast<const VdSpatialData*>(data)) {
        box = spatial->GetUVWBounds();
        if (spatial->HasUserTransform())
            matrix = spatial->GetUserTransform();
    } else if (const auto* geometry = dynamic_cast<const VdGeometry*>(data)) {
        box = geometry->GetBoundingBox();
        const SceneTransform inverse = transform.Inverse();
        const shr::Vec3d shift(inverse.XTransform(), inverse.YTransform(), 0.0);
        if (!box.IsEmpty())
            box = shr::Box3d(box.min + shift, box.max + shift);
    } else {
        return false;
    }
    return !box.IsEmpty();
}

} // namespace core
