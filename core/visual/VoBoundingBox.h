#pragma once
// VoBoundingBox: the wire box around whatever its input holds (spatial data
// by their own box through their user transform, scene geometry by its
// extent), optionally labelled with the coordinates of its lowest and highest
// corners. It only looks at its input, whose geometry stays in the scene.
#include "core/network/VoModule.h"
#include "core/properties/TextFormat.h"
#include "core/properties/VbLabelFormat.h"
#include "shr/Box3d.h"
#include "shr/Color4b.h"
#include "shr/Mat4d.h"

#include <memory>
#include <utility>

namespace core {

class VbModuleInfo;
class VgRenderer;

class VoBoundingBox : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoBoundingBox)
public:
    static const VbModuleInfo s_ModuleInfo;
    enum RowId : int {
        IdGeneral = 1,
        IdInput = 2,
        IdLowerLeft = 3,
        IdUpperRight = 4,
        IdRendering = 5,
        IdColor = 6,
        IdLineWidth = 7,
        IdLabels = 8,
        IdShowLabels = 9,
        IdFont = 10,
        IdLabelSize = 11,
        IdLabelColor = 12,
        IdLabelFormat = 13 // to 17
    };
    // The corners of the 12 edges: the two faces as loops, then the four
    // edges between them.
    static constexpr int kEdgeIndices[20] = {0, 1, 2, 3, 0, 4, 5, 6, 7, 4, -1, 1, 5, -1, 2, 6, -1, 3, 7, -1};

    VoBoundingBox();
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Base, sync mark, colour, line width, show labels, the text format (face,
    // size, label colour) and the label format. A failed load changes nothing.
    void Serialize(shr::Archive& archive) override;

    const shr::Color4b& Color() const { return m_Color; }
    void Color(const shr::Color4b& color) { m_Color = color; }
    float LineWidth() const { return m_LineWidth; }
    void LineWidth(float width) { m_LineWidth = width; }
    bool ShowLabels() const { return m_ShowLabels; }
    void ShowLabels(bool show) { m_ShowLabels = show; }
    TextFormat& LabelText() { return m_Text; }
    VbLabelFormat& LabelFormat() { return m_LabelFormat; }

    // The labels of the lowest and the highest corner, in the label format.
    std::pair<shr::GString, shr::GString> FormatLabels(const shr::Box3d& box) const;

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    bool CompatibleImpl(int input, const VoModule& source, int output, bool useData) const override;
    void UpdatePropertiesImpl(VbPropList& list) override;
    bool GetBox(const VgRenderer* renderer, shr::Box3d& box, shr::Mat4d& matrix) const;
    void EnableLabelRows(VbPropList& list) const;

    shr::Color4b m_Color;
    float m_LineWidth = 1.0f;
    bool m_ShowLabels = false;
    TextFormat m_Text;
    VbLabelFormat m_LabelFormat;
};

} // namespace core
