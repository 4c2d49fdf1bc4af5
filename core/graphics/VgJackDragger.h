#pragma once
// VgJackDragger: a jack (translate, rotate, scale uniformly) for probes. The
// dragger is its own root. The setters compare first.
#include "core/graphics/VgDragger.h"
#include "shr/Quat4d.h"
#include "shr/Vec3.h"

class SoJackDragger;

namespace core {

class VgJackDragger : public VgDragger {
public:
    VgJackDragger();
    ~VgJackDragger() override;

    InvSmartPtr<SoNode> GetNode() const override;

    void SetTranslation(const shr::Vec3d& translation);
    void SetScale(const shr::Vec3d& scale);
    void SetRotation(const shr::Quat4d& rotation);

    const shr::Vec3d& Translation() const { return m_Translation; }
    const shr::Vec3d& Scale() const { return m_Scale; }
    const shr::Quat4d& Rotation() const { return m_Rotation; }

private:
    void ReadDragger();

    InvSmartPtr<SoJackDragger> m_Root;
    shr::Vec3d m_Translation = shr::Vec3d::ZERO;
    shr::Vec3d m_Scale = shr::Vec3d::ONE;
    shr::Quat4d m_Rotation = shr::Quat4d::IDENTITY;
};

} // namespace core
