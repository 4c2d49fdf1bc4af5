#pragma once
// VoOrthoSlice: one axis-aligned layer of nodes of a uniform lattice, painted
// as a texture on a rectangle across the lattice's box. Each node is one
// texel, coloured through the colour map or the grey window. Cheap enough to
// scroll through the slices of a volume interactively.
#include "core/visual/VoSliceModule.h"

#include <vector>

namespace core {

class VdUniformLattice;

class VoOrthoSlice : public VoSliceModule {
    SHR_DECLARE_CREATABLE_TYPE(VoOrthoSlice)
public:
    static const VbModuleInfo s_ModuleInfo;
    enum Orientation : unsigned int { OrientXY = 0, OrientXZ = 1, OrientYZ = 2 };
    enum RowId : int {
        IdGeneral = 1,
        IdInput = 2,
        IdComponent = 3,
        IdOrientation = 4,
        IdSlice = 5,
        IdRendering = 6,
        IdLighting = 7,
        IdQuality = 8,
        IdOpacity = 9,
        IdMapping = 10, // to 13: method, width, centre, colour map
        IdLegend = 14
    };

    VoOrthoSlice();
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void OnInputChanged(int input, bool recalc) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    void Serialize(shr::Archive& archive) override;

    unsigned int Orientation() const { return m_Orientation; }
    void Orientation(unsigned int orientation) { m_Orientation = orientation; }
    // Zero-based; negative or past the end stands for the middle slice.
    int Slice() const { return m_Slice; }
    void Slice(int slice) { m_Slice = slice; }
    double Quality() const { return m_Quality; }
    void Quality(double quality) { m_Quality = quality; }

    // Layers of nodes across the orientation's axis: nodes in Z for XY, Y for
    // XZ, X for YZ. 0 without a lattice.
    static unsigned int GetSliceCount(const VdUniformLattice* lattice, unsigned int orientation);
    // The texture of one slice: nx x ny texels for XY, nx x nz for XZ,
    // ny x nz for YZ. An unknown orientation raises "Invalid texture parameter.".
    static void CollectSlice(const VdUniformLattice& lattice, unsigned int orientation, unsigned int slice,
                             unsigned int component, const ColorInterpolator& interp, int& width, int& height,
                             std::vector<shr::Color4b>& pixels);

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    // The uniform lattice on the input; null when absent or of another kind.
    const VdUniformLattice* InputUniform() const;
    void ShowSlice(VbPropList& list) const;
    // The rectangle across the box at the slice's place on its axis, the
    // texture stretched over it.
    void Quad(const VdUniformLattice& lattice, unsigned int slice, VgVertexData& quad) const;

    unsigned int m_Orientation = OrientXY;
    int m_Slice = -1;
    double m_Quality = 0.5;
};

} // namespace core
