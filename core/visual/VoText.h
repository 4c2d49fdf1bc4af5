#pragma once
// VoText: a block of text at a point of the scene, drawn facing the viewer
// at a fixed size in pixels whatever the distance. Its geometry is never cut
// by a clip plane.
#include "core/network/VoModule.h"
#include "core/properties/TextFormat.h"
#include "shr/GString.h"
#include "shr/Vec3.h"

#include <memory>

namespace core {

class VbModuleInfo;

class VoText : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoText)
public:
    static const VbModuleInfo s_ModuleInfo;

    // Rows 2 and 7 to 10 are the text rows (TextRows).
    enum RowId : int { IdGeneral = 1, IdPosition = 3, IdXPos = 4, IdYPos = 5, IdZPos = 6 };

    VoText();
    ~VoText() override;
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }

    // Base, sync mark, then justification, text, face, colour, position and
    // size. A failed load changes nothing.
    void Serialize(shr::Archive& archive) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;

    // The renderer's justification for the format's: left 1, centre 3, and
    // right (or anything else) 2.
    static int RendererJustification(int justification);

    const shr::GString& Text() const { return m_Text; }
    void Text(const shr::GString& text) { m_Text = text; }
    const shr::Vec3d& Position() const { return m_Position; }
    void Position(const shr::Vec3d& position) { m_Position = position; }
    const TextFormat& Format() const { return m_Format; }
    TextFormat& Format() { return m_Format; }

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    shr::GString m_Text;
    shr::Vec3d m_Position;
    TextFormat m_Format;
};

} // namespace core
