#pragma once
// VgLightDragger: the handle of a light. The root is a transform separator
// holding a transform (the light's position and the handle's size) and then a
// light manipulator. A drag's offset is folded into the transform each time
// the position is written, so the manipulator's own dragger stays at its
// origin and Position() is always transform + dragger offset x scale.
//
// The setters compare first: writing the same value writes nothing.
#include "core/graphics/VgDragger.h"
#include "shr/Color4b.h"
#include "shr/Vec3.h"

class SoDragger;
class SoLight;
class SoTransform;
class SoTransformSeparator;

namespace core {

class VgLightDragger : public VgDragger {
public:
    InvSmartPtr<SoNode> GetNode() const override;
    ~VgLightDragger() override;

    // Radians; only a spot light has one.
    virtual void SetCutoff(double radians);
    // Directional and spot lights only.
    virtual void SetDirection(const shr::Vec3d& direction);

    void SetPosition(const shr::Vec3d& position);
    void SetColor(const shr::Color4b& color);
    void SetScale(const shr::Vec3d& scale);

    const shr::Vec3d& Position() const { return m_Position; }
    const shr::Vec3d& Scale() const { return m_Scale; }
    const shr::Color4b& Color() const { return m_Color; }

protected:
    VgLightDragger();

    // Brings the stored values up to the manipulator after a drag.
    virtual void ReadManip() = 0;
    // Red, green, blue / 255 to the manipulator's colour; alpha is ignored.
    virtual void WriteColor() = 0;
    virtual void WritePosition() = 0;

    // For the kinds: adds the manipulator under the transform and follows
    // its dragger.
    void AttachManip(SoLight* manip, SoDragger* dragger);
    // The shared parts of ReadManip, WriteColor and WritePosition.
    void ReadPosition(SoDragger* dragger);
    void WriteColorTo(SoLight& light) const;
    void WritePositionTo(SoDragger* dragger);

private:
    InvSmartPtr<SoTransformSeparator> m_Root;
    InvSmartPtr<SoTransform> m_Transform;
    shr::Vec3d m_Position = shr::Vec3d::ZERO;
    shr::Vec3d m_Scale = shr::Vec3d::ONE;
    shr::Color4b m_Color = shr::Color4b(255, 255, 255, 255);
};

} // namespace core
