#pragma once
// VoObliqueSlice: a lattice resampled on a free plane. The plane's cut through
// the lattice box is drawn as one polygon; a texture laid over the polygon's
// bounding rectangle in the plane holds the samples, nearest node or
// trilinear, coloured through the colour map or the grey window (an RGBA
// lattice gives its own colours). Any kind of lattice will do; the plane is
// placed in the lattice's own coordinates and follows its user transform.
#include "core/visual/VbCuttingPlane.h"
#include "core/visual/VoSliceModule.h"
#include "shr/Mat4d.h"

#include <vector>

namespace core {

class VoObliqueSlice : public VoSliceModule {
    SHR_DECLARE_CREATABLE_TYPE(VoObliqueSlice)
public:
    static const VbModuleInfo s_ModuleInfo;
    enum Resolution : unsigned int { Coarse = 0, Medium = 1, Fine = 2, VeryFine = 3 };
    enum RowId : int {
        IdGeneral = 1,
        IdInput = 2,
        IdRendering = 4,
        IdMappingHeader = 5,
        IdPlane = 6, // to 12, the cutting plane
        IdComponent = 15,
        IdResolution = 16,
        IdInterp = 17,
        IdLighting = 18,
        IdOpacity = 19,
        IdMapping = 20, // to 23: method, width, centre, colour map
        IdLegend = 24
    };

    // The texture sampling the plane: the longer side of the polygon's
    // rectangle gets `size` texels, the shorter side in proportion, at least 64.
    struct TexelGrid {
        int width = 0, height = 0;
        // Texel space (column, row, 0) to lattice space, and back.
        shr::Mat4d toLattice;
        shr::Mat4d toTexels;
    };

    VoObliqueSlice();
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void OnInputChanged(int input, bool recalc) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    void Serialize(shr::Archive& archive) override;

    unsigned int GetResolution() const { return m_Resolution; }
    void SetResolution(unsigned int resolution) { m_Resolution = resolution; }
    bool Interpolate() const { return m_Interpolate; }
    void Interpolate(bool interpolate) { m_Interpolate = interpolate; }
    bool IsRGBAInput() const { return m_RGBA; }
    VbCuttingPlane& Plane() { return m_Plane; }
    const VbCuttingPlane& Plane() const { return m_Plane; }

    // Texels on the longer side: 128, 256, 512, 1024; an index past 3 is an
    // internal error.
    static int TextureSize(unsigned int resolution);
    // The grid over the polygon's rectangle in the plane of `normal`. A
    // rectangle without area gives a grid of width 0.
    static TexelGrid MakeTexelGrid(const std::vector<shr::Vec3d>& polygon, const shr::Vec3d& normal, int size);

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    // The plane follows a lattice whose box it has not seen (the data may
    // arrive after the link).
    void FollowInput(const VdLattice& lattice);
    // False when the user stopped the pass.
    bool FillTexture(const VdLattice& lattice, const TexelGrid& grid, std::vector<shr::Color4b>& pixels) const;
    shr::Color4b Sample(const VdLattice& lattice, const shr::Vec3d& uvw, const ColorInterpolator& interp) const;

    unsigned int m_Resolution = Medium;
    bool m_RGBA = false;
    bool m_Interpolate = false;
    VbCuttingPlane m_Plane;
};

} // namespace core
