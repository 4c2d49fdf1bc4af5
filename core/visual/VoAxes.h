#pragma once
// VoAxes: three labelled coordinate axes, and optionally a grid, around
// whatever its input holds. Axes, ticks and labels are laid out in the data's
// own coordinates (so labels read true eastings, northings and elevations) and
// go through the data's user transform into the scene. Geometry inputs are
// measured in the scene and moved back by the scene transform.
//
// A new input (a newly linked source, not new data from the same one), or
// the "Recalculate" button, fits the axes to the input's box: about seven
// labels on the longest axis at a round increment, and enough digits that
// neighbouring labels differ.
//
// Sizes follow the box's diagonal d: shafts of radius d / 200 (times the axis
// scale; none is a line), text of d / 50 (times the label scale), titles half
// as large again. Major ticks stand d / 100 long, minor ticks half that, and
// a label stands centred just beyond its tick's end.
#include "core/network/VoModule.h"
#include "core/visual/VoAxesPrivate.h"
#include "shr/Box3d.h"
#include "shr/Color4b.h"
#include "shr/Mat4d.h"

#include <array>
#include <memory>
#include <vector>

namespace core {

class VbModuleInfo;
class VgRenderer;

class VoAxes : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoAxes)
public:
    using AxisInfo = AxesPrivate::AxisInfo;
    static const VbModuleInfo s_ModuleInfo;

    enum RowId : int {
        IdGeneral = 1,
        IdInput = 2,
        IdAutoScale = 3,
        IdShowGrid = 4,
        IdGridColor = 5,
        IdGridLineWidth = 6,
        IdThickness = 7,
        IdShowArrows = 8,
        IdFont = 9,
        IdAntialias = 10,
        IdLabelHeight = 11,
        IdTitleHeight = 12,
        IdXAxis = 13, // the headers of the three axes
    };
    // Rows of an axis: its base (0, 23, 46) plus these.
    enum AxisRow : int {
        RowShow = 17,
        RowColor = 18,
        RowBeg = 19,
        RowEnd = 20,
        RowCross1 = 21,
        RowCross2 = 22,
        RowPlane = 23,
        RowTitle = 24,
        RowShowLabels = 26,
        RowFlipX = 27,
        RowFlipY = 28,
        RowLabelBeg = 29,
        RowLabelEnd = 30,
        RowLabelInc = 31,
        RowLabelAngle = 32,
        RowLabelFormat = 33, // to 37
        RowTicksPerLabel = 38
    };
    static constexpr int kAxisBase[3] = {0, 23, 46};
    static constexpr double kMaxLabels = 200.0;
    static constexpr double kMinIncrement = 1.1920928955078125e-7;

    VoAxes();
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    // A new input fits the axes to it.
    void OnInputChanged(int input, bool recalc) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Base, sync mark, three flags, grid colour, axis scale, from 130 the grid
    // line width, then the three axes. A failed load changes nothing.
    void Serialize(shr::Archive& archive) override;

    AxisInfo& Axis(int axis) { return m_Axes[size_t(axis)]; }
    const AxisInfo& Axis(int axis) const { return m_Axes[size_t(axis)]; }
    bool ShowGrid() const { return m_ShowGrid; }
    void ShowGrid(bool show) { m_ShowGrid = show; }
    bool ShowArrows() const { return m_ShowArrows; }
    void ShowArrows(bool show) { m_ShowArrows = show; }
    const shr::Color4b& GridColor() const { return m_GridColor; }
    void GridColor(const shr::Color4b& color) { m_GridColor = color; }
    double GridLineWidth() const { return m_GridLineWidth; }
    void GridLineWidth(double width) { m_GridLineWidth = width; }
    double AxisScale() const { return m_AxisScale; }
    void AxisScale(double scale) { m_AxisScale = scale; }

    // Fits the axes to the input's box; nothing without one.
    void RecalcDefaults();
    // Raises the errors of an axis that cannot be drawn: start above end,
    // label first above last, more than 200 labels.
    void ValidateInput() const;
    // The least increment that keeps an axis within 200 labels.
    double MinLabelIncrement(int axis) const;
    // The label values an axis shows: from label first to last by the
    // increment, within the axis.
    std::vector<double> LabelValues(int axis) const;

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    bool CompatibleImpl(int input, const VoModule& source, int output, bool useData) const override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    bool GetBounds(const VgRenderer* renderer, shr::Box3d& box, shr::Mat4d& matrix) const;
    // The frame of an axis with its rows: direction, tick direction, their
    // normal, origin; then through `matrix`.
    static shr::Mat4d OrientAxis(const shr::Vec3d& origin, const shr::Vec3d& direction,
                                 const shr::Vec3d& tickDirection, const shr::Mat4d& matrix);
    // Adds a transform node of `matrix`, moved into the scene's shifted frame.
    static void MultTransform(VgRenderer& renderer, const shr::Mat4d& matrix);
    void DrawAxis(VgRenderer& renderer, int axis, const shr::Box3d& box, const shr::Mat4d& matrix) const;
    void DrawAxisShaft(VgRenderer& renderer, const shr::Mat4d& frame, double length, double thickness) const;
    // Draws `text` in the axis frame, centred just beyond `at` across the
    // axis, turned by `angle` and mirrored as the axis says; returns the
    // text's extent across the axis.
    double DrawLabel(VgRenderer& renderer, const AxisInfo& info, const shr::Mat4d& frame, const shr::Vec3d& at,
                     const char* text, double angle) const;
    void DrawGrid(VgRenderer& renderer, const shr::Mat4d& matrix) const;

    void AddGeneralRows(VbPropList& list);
    void AddAxisRows(VbPropList& list, int axis);
    // Takes a changed row of an axis; false when the id belongs to none.
    bool AxisPropertyEvent(VbPropList& list, const VbPropertyEvent& event);
    void ShowAxisValues(VbPropList& list, int axis) const;

    bool m_ShowGrid = false;
    bool m_ShowArrows = true;
    // The stored flag with no row: fit the axes to the next input that comes.
    bool m_FitNextInput = true;
    // The source last seen at the input, to tell a new source from new data.
    VbModuleId m_LastSource;
    shr::Color4b m_GridColor;
    double m_GridLineWidth = 1.0;
    double m_AxisScale = 1.0;
    std::array<AxisInfo, 3> m_Axes;
};

} // namespace core
