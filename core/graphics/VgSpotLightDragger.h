#pragma once
// VgSpotLightDragger: a light dragger around a spot light manipulator, with a
// direction and a cut-off angle in radians.
#include "core/graphics/VgLightDragger.h"

class SoSpotLightManip;

namespace core {

class VgSpotLightDragger : public VgLightDragger {
public:
    VgSpotLightDragger(const shr::Vec3d& direction, double cutoff);
    ~VgSpotLightDragger() override;

    void SetCutoff(double radians) override;
    void SetDirection(const shr::Vec3d& direction) override;
    const shr::Vec3d& Direction() const { return m_Direction; }
    double Cutoff() const { return m_Cutoff; }

protected:
    void ReadManip() override;
    void WriteColor() override;
    void WritePosition() override;

private:
    InvSmartPtr<SoSpotLightManip> m_Manip;
    shr::Vec3d m_Direction;
    double m_Cutoff;
};

} // namespace core
