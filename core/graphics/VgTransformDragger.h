#pragma once
// VgTransformDragger: a transformer box round a data set's bounds. The root is
// a separator holding the manipulator and, after it, two points at the box's
// corners, which the manipulator measures to size itself.
//
// The setters write without comparing: a value set again is written again.
#include "core/graphics/VgDragger.h"
#include "shr/Box3d.h"
#include "shr/Quat4d.h"
#include "shr/Vec3.h"

class SoCoordinate3;
class SoPointSet;
class SoSeparator;
class SoTransformerManip;

namespace core {

class VgTransformDragger : public VgDragger {
public:
    // Only the box reaches the nodes here; the rest goes through the setters.
    VgTransformDragger(const shr::Vec3d& translation, const shr::Vec3d& scale, const shr::Quat4d& rotation,
                       const shr::Box3d& box);
    ~VgTransformDragger() override;

    InvSmartPtr<SoNode> GetNode() const override;

    void SetTranslation(const shr::Vec3d& translation);
    void SetScale(const shr::Vec3d& scale);
    void SetRotation(const shr::Quat4d& rotation);
    // The manipulator's centre becomes the box centre; the two points its corners.
    void SetBox(const shr::Box3d& box);
    // Gives the handles their normal size again after a non-uniform scale.
    void UnsquishKnobs();

    const shr::Vec3d& Translation() const { return m_Translation; }
    const shr::Vec3d& Scale() const { return m_Scale; }
    const shr::Quat4d& Rotation() const { return m_Rotation; }
    const shr::Box3d& Box() const { return m_Box; }

private:
    void ReadManip();
    void WriteCorners();

    InvSmartPtr<SoSeparator> m_Root;
    InvSmartPtr<SoTransformerManip> m_Manip;
    InvSmartPtr<SoCoordinate3> m_Coords;
    InvSmartPtr<SoPointSet> m_Points;
    shr::Vec3d m_Translation;
    shr::Vec3d m_Scale;
    shr::Quat4d m_Rotation;
    shr::Box3d m_Box;
};

} // namespace core
