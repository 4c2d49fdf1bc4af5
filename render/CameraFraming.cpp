#include "render/CameraFraming.h"

#include "render/RenderError.h"

#include <Inventor/SoPath.h>
#include <Inventor/actions/SoSearchAction.h>
#include <Inventor/nodes/SoCamera.h>
#include <Inventor/nodes/SoLight.h>
#include <Inventor/nodes/SoOrthographicCamera.h>
#include <Inventor/nodes/SoPerspectiveCamera.h>

#include <algorithm>
#include <cmath>

namespace render {

namespace {

constexpr double kPi = 3.14159265358979323846;

// Near and far planes stand this fraction of the radius beyond the sphere, so
// that geometry on its surface is never clipped by rounding.
constexpr float kDepthSlack = 0.05f;

float Radians(double degrees)
{
    return static_cast<float>(degrees * kPi / 180.0);
}

SoNode* FindFirst(SoNode* root, SoType type)
{
    if (!root)
        return nullptr;
    SoSearchAction search;
    search.setType(type, TRUE);
    search.setInterest(SoSearchAction::FIRST);
    search.apply(root);
    SoPath* path = search.getPath();
    return path ? path->getTail() : nullptr;
}

struct Sphere {
    SbVec3f centre;
    float radius;
};

Sphere Enclose(const SbBox3f& bounds)
{
    if (bounds.isEmpty())
        return {SbVec3f(0.0f, 0.0f, 0.0f), std::sqrt(3.0f) * 0.5f};
    const float radius = 0.5f * (bounds.getMax() - bounds.getMin()).length();
    // A point or a degenerate box still gets a camera at a finite distance.
    return {bounds.getCenter(), radius > 0.0f ? radius : 1.0f};
}

} // namespace

CameraFraming::CameraFraming(double azimuth, double elevation, double zoom)
    : m_Azimuth(azimuth), m_Elevation(elevation), m_Zoom(zoom)
{
    if (!std::isfinite(azimuth))
        RENDER_THROW("The view azimuth must be a finite number of degrees.");
    if (!(elevation >= -90.0 && elevation <= 90.0))
        RENDER_THROW("The view elevation must lie between -90 and 90 degrees.");
    if (!(zoom > 0.0) || !std::isfinite(zoom))
        RENDER_THROW("The view zoom must be a positive number.");
}

SbRotation CameraFraming::Orientation() const
{
    // Tilt the default view (down -Z, +Y up) to look north at the elevation,
    // then turn it about +Z to the bearing (clockwise seen from above).
    const SbRotation tilt(SbVec3f(1.0f, 0.0f, 0.0f), Radians(90.0 - m_Elevation));
    const SbRotation turn(SbVec3f(0.0f, 0.0f, 1.0f), -Radians(m_Azimuth));
    return tilt * turn;
}

void CameraFraming::Apply(SoCamera& camera, const SbBox3f& bounds, float aspect) const
{
    const Sphere sphere = Enclose(bounds);
    const float zoom = static_cast<float>(m_Zoom);
    float distance = 2.0f * sphere.radius;
    if (camera.isOfType(SoPerspectiveCamera::getClassTypeId())) {
        // The narrower of the two half angles must see the whole sphere.
        const float halfHeight = 0.5f * static_cast<SoPerspectiveCamera&>(camera).heightAngle.getValue();
        const float halfWidth = std::atan(std::tan(halfHeight) * aspect);
        distance = sphere.radius / std::sin(std::min(halfHeight, halfWidth)) / zoom;
    } else if (camera.isOfType(SoOrthographicCamera::getClassTypeId())) {
        static_cast<SoOrthographicCamera&>(camera).height =
            2.0f * sphere.radius / (zoom * std::min(1.0f, aspect));
    }
    SbVec3f direction;
    const SbRotation orientation = Orientation();
    orientation.multVec(SbVec3f(0.0f, 0.0f, -1.0f), direction);
    camera.orientation = orientation;
    camera.position = sphere.centre - direction * distance;
    camera.focalDistance = distance;
    const float slack = (1.0f + kDepthSlack) * sphere.radius;
    camera.nearDistance = std::max(distance - slack, 1e-3f * sphere.radius);
    camera.farDistance = distance + slack;
}

SoCamera* CameraFraming::FindCamera(SoNode* root)
{
    return static_cast<SoCamera*>(FindFirst(root, SoCamera::getClassTypeId()));
}

bool CameraFraming::HasLight(SoNode* root)
{
    return FindFirst(root, SoLight::getClassTypeId()) != nullptr;
}

} // namespace render
