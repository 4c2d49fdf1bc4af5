#pragma once
// VoLatticeFilter: one of the thirty-one filters of the filter family applied
// to a uniform lattice, in 2D planes or with a 3D window; the output has the
// input's type, shape, bounds and transform. The module holds the settings,
// builds the filter's parameters and hands them to CLatticeFilter::Execute.
//
// Each filter keeps its own parameters: changing the filter saves those of
// the old one (by key filter * 10 + parameter index) and brings back those of
// the new one, 0 where none were saved. The saved map lives with the module,
// not in documents; loading saves the stored filter's parameters into it.
//
// Document fields: filter, edge handling, blank handling, kernel size
// (4 bytes each), edge fill, blank fill (8 each), the ten parameters (80);
// from version 105 the orientation, a reserved int (4 each) and the component
// flags (a count of 4 bytes, then a byte each).
#include "core/network/VoModule.h"
#include "core/processing/filters/CLatticeFilter.h"

#include <cstdint>
#include <map>
#include <vector>

namespace core {

class VoLatticeFilter : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoLatticeFilter)
public:
    static const VbModuleInfo s_ModuleInfo;

    enum RowId : int {
        IdGeneral = 1,
        IdFilter = 3,
        IdOrientation = 4,
        IdKernelSize = 5,
        IdParam0 = 6,
        IdParam1 = 7,
        IdEdgeHeader = 8,
        IdEdge = 9,
        IdEdgeFill = 10,
        IdBlankHeader = 11,
        IdBlank = 12,
        IdBlankFill = 13,
        IdComponentsHeader = 14,
        IdComponentFirst = 15,
        IdComponentLast = 114,
    };
    // The first document version with the orientation and the component flags.
    static constexpr int OrientationVersion = 105;

    VoLatticeFilter();
    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // A flat lattice sets the orientation to its plane (with `recalc`); a new
    // component count resets the flags to filter every component but the
    // alpha of a four-byte colour lattice.
    void OnInputChanged(int input, bool recalc) override;
    // A failed load changes nothing; settings out of range are errors.
    void Serialize(shr::Archive& archive) override;

    uint32_t GetFilter() const { return m_Filter; }
    uint32_t GetEdgeHandling() const { return m_EdgeHandling; }
    uint32_t GetBlankHandling() const { return m_BlankHandling; }
    uint32_t GetOrientation() const { return m_Orientation; }
    uint32_t GetKernelSize() const { return m_KernelSize; }
    double GetEdgeFill() const { return m_EdgeFill; }
    double GetBlankFill() const { return m_BlankFill; }
    double GetParam(unsigned int index) const { return m_Params[index]; }
    const std::vector<bool>& GetComponents() const { return m_Components; }
    const std::map<int, double>& GetSavedParams() const { return m_SavedParams; }

    // Stores the filter's parameters into the saved map.
    void SaveParams(uint32_t filter);
    // Takes the filter's parameters from the saved map, 0 for those not there.
    void LoadParams(uint32_t filter);

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    void AddParameterRows(VbPropList& list) const;
    // The parameter rows of the newly chosen filter, with its saved values.
    void UpdateFilterOptions(VbPropList& list);
    void AddComponentRows(VbPropList& list) const;
    CLatticeFilter::Params MakeParams(const VdUniformLattice& input, VdUniformLattice& output) const;

    std::vector<bool> m_Components;
    uint32_t m_Filter = CLatticeFilter::Average;
    uint32_t m_EdgeHandling = CLatticeFilter::EdgeReplicate;
    uint32_t m_BlankHandling = CLatticeFilter::BlankLeaveAlone;
    uint32_t m_Orientation = CLatticeFilter::Volume;
    uint32_t m_KernelSize = 3;
    double m_EdgeFill = 0.0;
    double m_BlankFill = 0.0;
    int32_t m_Reserved = 1; // stored, not used
    double m_Params[CLatticeFilter::ParameterSlots] = {};
    std::map<int, double> m_SavedParams;
};

} // namespace core
