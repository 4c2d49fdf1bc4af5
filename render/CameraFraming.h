#pragma once
// CameraFraming: how the renderer looks at a scene. A camera is placed so that
// the sphere around the scene's bounding box fills the view (zoom 1), looking
// towards compass bearing `azimuth` (degrees clockwise from +Y, north; 90 looks
// east along +X) and down from `elevation` degrees above the horizontal (90
// looks straight down with north up). Zoom 2 brings the camera twice as close,
// zoom 0.5 twice as far. +Z is up.
//
// A scene that brings its own camera is drawn through it unless SetReframe(true)
// asks for framing anyway; the scene's camera is then framed for the drawing
// and given back its own values afterwards.
#include <Inventor/SbBox3f.h>
#include <Inventor/SbRotation.h>

class SoCamera;
class SoNode;

namespace render {

class CameraFraming {
public:
    // Looking north, level, the whole scene in view.
    CameraFraming() = default;
    // Throws unless the angles are finite, elevation lies in -90..90 and zoom
    // is finite and positive.
    CameraFraming(double azimuth, double elevation, double zoom = 1.0);

    double Azimuth() const { return m_Azimuth; }
    double Elevation() const { return m_Elevation; }
    double Zoom() const { return m_Zoom; }
    bool Reframe() const { return m_Reframe; }
    void SetReframe(bool reframe) { m_Reframe = reframe; }

    // The camera orientation for the azimuth and elevation: it turns the
    // default view direction -Z into the looking direction, +Y into up.
    SbRotation Orientation() const;
    // Points `camera` (perspective or orthographic) at `bounds` for a viewport
    // of aspect ratio width / height. Empty bounds frame the unit cube around
    // the origin.
    void Apply(SoCamera& camera, const SbBox3f& bounds, float aspect) const;

    // The scene's first camera and whether it has a light, as drawing sees them
    // (switches are followed to their chosen child only).
    static SoCamera* FindCamera(SoNode* root);
    static bool HasLight(SoNode* root);

private:
    double m_Azimuth = 0.0;
    double m_Elevation = 0.0;
    double m_Zoom = 1.0;
    bool m_Reframe = false;
};

} // namespace render
