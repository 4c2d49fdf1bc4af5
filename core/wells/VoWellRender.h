#pragma once
// VoWellRender: draws well data. Paths are tubes or lines; interval data are
// thick sleeves on the path, from each entry's depth down by its interval or
// by its value; directional data are disks turned by an azimuth and a dip
// log; the names stand at the tops, with leader lines if asked. Paths,
// intervals and disks each have a fixed colour or one from a log through a
// colour map (with its legend), and a fixed size or one from a log.
//
// Tubes, sleeves and disks are drawn with OpenGL from a callback node of the
// scene, as blended geometry after the opaque scene; lines go into the scene
// as line strips. The callback node owns a copy of the settings and a
// reference on the well data as the pass saw them (WellDrawing), so the
// scene stays valid whatever becomes of the module. The tubes of a well are
// built at the first frame (TubeMesh), sent in one draw call, and kept for
// the frames after, until a change of the module or its data makes a new
// node. The labels are a second callback node, drawn over the scene in
// pixels, so that they can stand off from the tops by a number of pixels.
//
// Property rows: the general header 1, the wells 3 (a check per well from
// BaseWellId()), the labels 4 to 13, the directional data 52 to 90, the
// interval data 91 to 129, the paths 14 to 51; each group's legend takes the
// 26 ids from its base (23, 62, 100). A host shows or hides a well with event
// 130 and a payload "Well=<name>" (the event's value, or the user data of a
// row 130).
//
// Stored form: base, sync mark, then the settings (WellRenderFields), the
// path's switch and the interval source from document version 124.
#include "core/graphics/SceneTransform.h"
#include "core/network/VoModule.h"
#include "core/wells/VoWellRenderPrivate.h"

#include <memory>
#include <vector>

namespace core {

class VdWellData;
class Well;

class VoWellRender : public VoModule, private VoWellRenderPrivate::WellRenderFields {
    SHR_DECLARE_CREATABLE_TYPE(VoWellRender)
public:
    using Fields = VoWellRenderPrivate::WellRenderFields;
    using Range = VoWellRenderPrivate::Range;
    static const VbModuleInfo s_ModuleInfo;

    enum RowId : int {
        IdGeneral = 1,
        IdWells = 3,
        IdLabels = 4,
        IdShowLabels = 5,
        IdFont = 6,
        IdLabelSize = 7,
        IdLabelColor = 8,
        IdJustification = 9,
        IdXOffset = 10,
        IdYOffset = 11,
        IdShowLeaderLines = 12,
        IdLeaderLineWidth = 13,
        IdShowPath = 16,
        IdPathStyle = 17,
        IdShowDirData = 53,
        IdDirDataAzLog = 54,
        IdDirDataDipLog = 55,
        IdShowIntData = 92,
        IdIntDataSource = 93,
        IdIntDataFill = 94,
        IdIntDataLog = 129,
        IdShowWell = 130,
    };
    static int BaseWellId() { return 131; }
    static constexpr double MaxSize = VoWellRenderPrivate::kMaxSize;

    VoWellRender();
    ~VoWellRender() override;

    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }

    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // A new input: the log names, and the limits of every group coloured or
    // sized by log; the host lists the rows again.
    void OnInputChanged(int input, bool recalc) override;
    void Serialize(shr::Archive& archive) override;

    // The settings, as the rows set them.
    const Fields& Settings() const { return *this; }
    Fields& Settings() { return *this; }
    // Not among the hidden wells.
    bool Visible(const Well& well) const;
    // What the latest execution left in the scene; null before one.
    std::shared_ptr<const VoWellRenderPrivate::WellDrawing> Drawing() const { return m_Drawing; }

    // The names of all logs of all wells, in name order, each once.
    static std::vector<shr::GString> CollectLogs(const VdWellData& wellData);
    // The range of the log's valid values over all wells that have it, and
    // their histogram over that range (into `histogram`, if given). False,
    // `range` untouched, when no well has a value. "Log name must be
    // non-empty." for an empty name.
    static bool CollectLogRange(const VdWellData& wellData, const shr::GString& logName, Range& range,
                                std::vector<uint32_t>* histogram);

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    const VdWellData* InputWellData() const;
    // Gives the renderer its scene offset from the data, if no module has.
    void UpdateTransform(VgRenderer& renderer, const VdWellData& wellData) const;
    void Render(VgRenderer& renderer, const VdWellData& wellData);
    void RenderLabels(VgRenderer& renderer, const VdWellData& wellData) const;
    void RenderPathLines(VgRenderer& renderer, const VdWellData& wellData) const;

    void UpdateWells(VbPropList& list) const;
    void AddLabelRows(VbPropList& list) const;
    void AddGroupRows(VbPropList& list, VoWellRenderPrivate::Kind kind);
    // Shows the rows that the colour and size methods of a group use.
    void UpdateColorRows(VbPropList& list, VoWellRenderPrivate::Kind kind);
    void UpdateSizeRows(VbPropList& list, VoWellRenderPrivate::Kind kind) const;
    // The colour map's data limits and histogram from the group's colour log;
    // with a list, its map row and histogram follow.
    void SetLogLimits(VoWellRenderPrivate::Kind kind, VbPropList* list);
    void SetSizeRange(VoWellRenderPrivate::Kind kind);
    // True when the event belonged to a group's rows.
    bool GroupEvent(VbPropList& list, int id);
    void WellEvent(VbPropList& list, const VbPropertyEvent& event);
    // Hides or shows the well the text names.
    void ToggleWellVisibility(const VdWellData& wellData, const shr::GString& text);
    void UpdateWellVisibility(const VdWellData& wellData, const shr::GString& text, bool visible);

    SceneTransform m_Transform;
    std::shared_ptr<VoWellRenderPrivate::WellDrawing> m_Drawing;
};

} // namespace core
