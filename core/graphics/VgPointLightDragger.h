#pragma once
// VgPointLightDragger: a light dragger around a point light manipulator.
#include "core/graphics/VgLightDragger.h"

class SoPointLightManip;

namespace core {

class VgPointLightDragger : public VgLightDragger {
public:
    VgPointLightDragger();
    ~VgPointLightDragger() override;

protected:
    void ReadManip() override;
    void WriteColor() override;
    void WritePosition() override;

private:
    InvSmartPtr<SoPointLightManip> m_Manip;
};

} // namespace core
