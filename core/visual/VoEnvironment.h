#pragma once
// VoEnvironment: the scene's global settings: the ambient light, fog, the
// background colour and the vertical exaggeration. A network has one for
// good: it can be neither copied nor deleted. Its node goes ahead of all
// geometry, and the background and exaggeration become network values that
// the host and the other modules read.
#include "core/network/VoModule.h"
#include "shr/Color4b.h"

#include <cstdint>
#include <memory>

namespace core {

class VbModuleInfo;

class VoEnvironment : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoEnvironment)
public:
    static const VbModuleInfo s_ModuleInfo;

    enum FogType : uint32_t { FogNone = 0, Haze = 1, Fog = 2, Smoke = 3 };
    enum RowId : int {
        IdGeneral = 1,
        IdScene = 2,
        IdExaggeration = 3,
        IdBackground = 4,
        IdAmbient = 5,
        IdAmbientIntensity = 6,
        IdAmbientColor = 7,
        IdFog = 8,
        IdFogType = 9,
        IdFogColor = 10
    };
    static constexpr double kMinExaggeration = 1e-05;
    static constexpr double kMaxExaggeration = 100000.0;

    // `color` is the background's and the fog's.
    explicit VoEnvironment(const shr::Color4b& color = shr::Color4b::Black);
    ~VoEnvironment() override;
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }
    bool Copyable() const override { return false; }
    bool Deletable() const override { return false; }

    // Base, sync mark, then ambient intensity, fog type, ambient colour, fog
    // colour, background colour and, from version 127, the exaggeration.
    // Older exaggerations are brought to today's meaning. A failed load
    // changes nothing.
    void Serialize(shr::Archive& archive) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;

    double AmbientIntensity() const { return m_AmbientIntensity; }
    uint32_t GetFogType() const { return m_FogType; }
    const shr::Color4b& AmbientColor() const { return m_AmbientColor; }
    const shr::Color4b& FogColor() const { return m_FogColor; }
    const shr::Color4b& BackgroundColor() const { return m_BackgroundColor; }
    double VerticalExaggeration() const { return m_Exaggeration; }
    void VerticalExaggeration(double exaggeration) { m_Exaggeration = exaggeration; }

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    double m_MinExaggeration = kMinExaggeration;
    double m_MaxExaggeration = kMaxExaggeration;
    double m_AmbientIntensity = 0.2;
    uint32_t m_FogType = FogNone;
    shr::Color4b m_AmbientColor = shr::Color4b::White;
    shr::Color4b m_FogColor;
    shr::Color4b m_BackgroundColor;
    double m_Exaggeration = 1.0;
};

} // namespace core
