#pragma once
// VoIsoSurface: draws the surface on which one component of a 3-D lattice
// equals an isovalue, by marching cubes with shared vertices, for all three
// kinds of lattice. Normals come from the data gradient (they point down the
// field, so front faces look towards lower values); on a curvilinear lattice
// they come from the faces. The same sweep can estimate the volume on either
// side of the surface.
//
// The float copy of the component and its gradients are made once per input
// change, so that a new isovalue only runs the sweep again. The sweep runs in
// parallel slabs whose joined output equals the sequential scan exactly.
#include "core/graphics/VgMaterial.h"
#include "core/graphics/VgVertexData.h"
#include "core/processing/VolumeCalculator.h"
#include "core/visual/VoLatticeModule.h"
#include "shr/Vec3.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace core {

class VbModuleInfo;
class VgRenderer;

namespace VoIsoSurfacePrivate {
struct SweepCache;
}

class VoIsoSurface : public VoLatticeModule {
    SHR_DECLARE_CREATABLE_TYPE(VoIsoSurface)
public:
    static const VbModuleInfo s_ModuleInfo;

    enum LATTICE_TYPE : int32_t { UNIFORM = 0, RECTILINEAR = 1, CURVILINEAR = 2 };
    enum DrawStyleType : uint32_t { Shaded = 0, Lines = 1, Points = 2 };
    enum SideType : uint32_t { FrontAndBack = 0, FrontOnly = 1, BackOnly = 2 };
    enum ColorMethodType : uint32_t { Fixed = 0, ByIsovalue = 1 };
    // Property rows, in the order of listing: 1, 2, 3, 6, 7, 9, 10, 8, 11, 4, 5, ...
    enum RowId {
        IdGeneral = 1,
        IdInput = 2,
        IdComponent = 3,
        IdDrawStyle = 4,
        IdSide = 5,
        IdIsovalue = 6,
        IdComputeVolume = 7,
        IdInvertVolume = 8,
        IdVolume = 9,
        IdInverseVolume = 10,
        IdRendering = 11,
        IdColorMethod = 12,
        IdColor = 13,
        IdColormap = 14,
        IdMaterial = 15,
        IdSpecularColor = 16,
        IdSpecularIntensity = 17,
        IdShininess = 18,
        IdOpacity = 19,
        IdLegend = 20
    };

    VoIsoSurface();
    ~VoIsoSurface() override;
    const VbModuleInfo* GetModuleInfo() const override;
    // Base, sync mark, the module's fields; the legacy byte before version 115,
    // compute volume from 116, invert volume from 120. Invert volume is cleared
    // after every transfer, stored or loaded. A failed load changes no field of
    // this class.
    void Serialize(shr::Archive& archive) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // A lattice of fewer than three dimensions raises the type mismatch error.
    void OnInputChanged(int input, bool recalc) override;
    void PostExecute(double seconds) const override;

    double Isovalue() const { return m_Isovalue; }
    void Isovalue(double value) { m_Isovalue = value; }
    double Opacity() const { return m_Opacity; }
    void Opacity(double value) { m_Opacity = value; }
    uint32_t DrawStyle() const { return m_DrawStyle; }
    void DrawStyle(uint32_t style) { m_DrawStyle = style; }
    uint32_t Side() const { return m_Side; }
    void Side(uint32_t side) { m_Side = side; }
    uint32_t ColorMethod() const { return m_ColorMethod; }
    void ColorMethod(uint32_t method) { m_ColorMethod = method; }
    bool ComputeVolume() const { return m_ComputeVolume; }
    void ComputeVolume(bool on) { m_ComputeVolume = on; }
    bool InvertVolume() const { return m_InvertVolume; }
    void InvertVolume(bool on) { m_InvertVolume = on; }
    const VgMaterial& Material() const { return m_Material; }
    VgMaterial& Material() { return m_Material; }
    bool FirstInput() const { return m_FirstInput; }
    LATTICE_TYPE LatticeType() const { return m_LatticeType; }

    // The result of the latest run: triangle count, the two volumes, and the
    // surface as it was handed to the renderer.
    int TriangleCount() const { return m_TriangleCount; }
    double VolumeAtOrAbove() const { return m_Volume; }
    double VolumeAtOrBelow() const { return m_InverseVolume; }
    const VgVertexData& Surface() const { return m_Surface; }

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    bool CompatibleImpl(int input, const VoModule& source, int output, bool useData) const override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    void AddGeneralRows(VbPropList& list);
    void AddRenderingRows(VbPropList& list);
    void AddMaterialRows(VbPropList& list);
    // Shows the colour row or the colour-map row, as the method says.
    void UpdateColorOptions(VbPropList& list);
    void UpdateVolumeTexts(VbPropList& list) const;
    void UpdateLatticeType(const VdLattice& lattice);
    // Map limits, the isovalue default, the changed flag; the rows when given a list.
    void UpdateInput(VbPropList* list);
    bool InvertedMode() const { return m_ComputeVolume && m_InvertVolume; }
    // The marching sweep over the input; false when progress said stop.
    bool March(const VdLattice& lattice);
    void CopyLattice(const VdLattice& lattice);
    void RefactorCalcGradients(const VdLattice& lattice);
    void Draw(VgRenderer& renderer);
    void SetMaterial(VgRenderer& renderer) const;
    void SetNormals(VgRenderer& renderer);

    bool m_FirstInput = true;
    int32_t m_TriangleCount = 0;
    uint32_t m_DrawStyle = Shaded;
    uint32_t m_Side = FrontAndBack;
    uint32_t m_ColorMethod = ByIsovalue;
    double m_Isovalue = 0.0;
    double m_Opacity = 1.0;
    VgMaterial m_Material;
    bool m_LatticeChanged = false;
    LATTICE_TYPE m_LatticeType = UNIFORM;
    double m_Volume = 0.0;        // at or above the isovalue
    double m_InverseVolume = 0.0; // at or below
    bool m_ComputeVolume = false;
    bool m_InvertVolume = false;
    std::vector<float> m_Data;
    // The run ranges and gradients of the input, and the sweep's memory, kept
    // for the next isovalue.
    std::unique_ptr<VoIsoSurfacePrivate::SweepCache> m_Sweep;
    VolumeCalculator m_Calculator;
    VgVertexData m_Surface;
};

} // namespace core
