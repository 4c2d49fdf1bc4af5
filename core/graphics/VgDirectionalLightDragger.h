#pragma once
// VgDirectionalLightDragger: a light dragger around a directional light
// manipulator; the arrow turns the direction.
#include "core/graphics/VgLightDragger.h"

class SoDirectionalLightManip;

namespace core {

class VgDirectionalLightDragger : public VgLightDragger {
public:
    explicit VgDirectionalLightDragger(const shr::Vec3d& direction);
    ~VgDirectionalLightDragger() override;

    void SetDirection(const shr::Vec3d& direction) override;
    const shr::Vec3d& Direction() const { return m_Direction; }

protected:
    void ReadManip() override;
    void WriteColor() override;
    void WritePosition() override;

private:
    InvSmartPtr<SoDirectionalLightManip> m_Manip;
    shr::Vec3d m_Direction;
};

} // namespace core
