#pragma once
// VoHeightField: one layer of nodes of a lattice lifted into a surface. Each
// node of the slice moves along the slice's normal axis by its value (by its
// colour's intensity for an RGBA lattice), so that the layer's lowest value
// stays in place and the highest rises by `scale` times half the diagonal of
// the data box; a negative scale lowers. The surface is one quad mesh with
// normals from its own faces, coloured per node through the colour map, and
// optionally draped with an RGBA image (the "Input Overlay").
//
// On a curvilinear lattice the slice is itself a curved sheet: there each node
// moves along the sheet's normal, turned to the side of the normal axis.
#include "core/visual/VoLatticeModule.h"

#include <cstdint>
#include <vector>

namespace core {

class VdUniformLattice;
class VgVertexData;

class VoHeightField : public VoLatticeModule {
    SHR_DECLARE_CREATABLE_TYPE(VoHeightField)
public:
    static const VbModuleInfo s_ModuleInfo;
    enum DrawStyleType : uint32_t { Shaded = 0, Lines = 1, Points = 2 };
    enum Orientation : uint32_t { OrientXY = 0, OrientXZ = 1, OrientYZ = 2 };
    enum OverlayFit : uint32_t { StretchOverSurface = 0, ClipToSurface = 1 };
    enum Modulation : uint32_t { BlendColors = 0, OverlayOnly = 1 };
    enum RowId : int {
        IdGeneral = 1,
        IdInput = 2,
        IdRendering = 3,
        IdComponent = 4,
        IdOrientation = 5,
        IdSlice = 6,
        IdDrawStyle = 8,
        IdOpacity = 9,
        IdColormap = 10,
        IdLegend = 11, // to 36
        IdScale = 37,
        IdOverlay = 38,
        IdOverlayShow = 39,
        IdOverlayFit = 40,
        IdOverlayModulation = 41,
        IdOverlayQuality = 42
    };

    // A surface's nodes: positions (scene coordinates) and colours, row by row.
    struct Surface {
        std::vector<shr::Vec3d>* vertices;
        std::vector<shr::Color4b>* colors;
    };

    VoHeightField();
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    // An overlay that is not a 2-D RGBA image raises the type mismatch error.
    void OnInputChanged(int input, bool recalc) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Documents before version 113 have neither the overlay port nor its
    // settings. A load that fails leaves the settings as they were.
    void Serialize(shr::Archive& archive) override;

    uint32_t DrawStyle() const { return m_DrawStyle; }
    void DrawStyle(uint32_t style) { m_DrawStyle = style; }
    uint32_t GetOrientation() const { return m_Orientation; }
    void SetOrientation(uint32_t orientation) { m_Orientation = orientation; }
    // Zero-based; outside the lattice it stands for the middle slice.
    int32_t Slice() const { return m_Slice; }
    void Slice(int32_t slice) { m_Slice = slice; }
    double Opacity() const { return m_Opacity; }
    void Opacity(double opacity) { m_Opacity = opacity; }
    double Scale() const { return m_Scale; }
    void Scale(double scale) { m_Scale = scale; }
    bool ShowOverlay() const { return m_ShowOverlay; }
    void ShowOverlay(bool show) { m_ShowOverlay = show; }
    uint32_t Fit() const { return m_OverlayFit; }
    void Fit(uint32_t fit) { m_OverlayFit = fit; }
    uint32_t ColorModulation() const { return m_Modulation; }
    void ColorModulation(uint32_t modulation) { m_Modulation = modulation; }
    double OverlayQuality() const { return m_OverlayQuality; }
    void OverlayQuality(double quality) { m_OverlayQuality = quality; }

    // Layers of nodes across the orientation's axis: nodes in Z for XY, Y for
    // XZ, X for YZ. 0 without a lattice.
    static unsigned int GetSliceCount(const VdLattice* lattice, unsigned int orientation);
    // Vertex normals of a mesh of `rows` x `columns` vertices, row by row, v(i, j)
    // the vertex of column i in row j: the unit normal of each cell,
    // (v(i, j+1) - v(i, j)) x (v(i+1, j) - v(i, j)), added to its four corners,
    // and the sums normalised. On an XY surface they point down, the side the
    // quad mesh's counter-clockwise ordering makes its front: the mesh is lit
    // on both sides. False when the user stopped the pass.
    static bool ComputeSurfaceNormals(VgVertexData& data, int rows, int columns);

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    // An output that exists; with `useData`, the overlay input takes only a
    // 2-D RGBA image (or an output whose data is yet to come).
    bool CompatibleImpl(int input, const VoModule& source, int output, bool useData) const override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    const VdUniformLattice* InputOverlay() const;
    // The plane's layer of nodes at the slice, lifted; false when the user
    // stopped the pass. `normals`, for a curvilinear lattice, gives each
    // node's direction of lift.
    bool ComputeXY(const VdLattice& lattice, bool useData, double scale, Surface surface,
                   const std::vector<shr::Vec3d>* normals);
    bool ComputeXZ(const VdLattice& lattice, bool useData, double scale, Surface surface,
                   const std::vector<shr::Vec3d>* normals);
    bool ComputeYZ(const VdLattice& lattice, bool useData, double scale, Surface surface,
                   const std::vector<shr::Vec3d>* normals);
    bool ComputePlane(const VdLattice& lattice, uint32_t orientation, bool useData, double scale, Surface surface,
                      const std::vector<shr::Vec3d>* normals);
    // The unit normals of the undisplaced slice of a curvilinear lattice, in
    // its own coordinates, on the side of the orientation's normal axis.
    void ComputeCLNormals(const VdLattice& lattice, std::vector<shr::Vec3d>& normals) const;
    void UpdateTexture(const VdUniformLattice& overlay, VgRenderer& renderer);
    // The colour map's data limits, and its histogram when given a list.
    void UpdateColorMapProperties(VbPropList* list);
    // A lattice one node thick on one axis fixes the orientation.
    void FollowInput(const VdLattice& lattice);
    void ShowSlice(VbPropList& list) const;

    uint32_t m_DrawStyle = Shaded;
    uint32_t m_Orientation = OrientXY;
    int32_t m_Slice = -1;
    double m_Opacity = 1.0;
    double m_Scale = 0.25;
    bool m_ShowOverlay = true;
    uint32_t m_OverlayFit = ClipToSurface;
    uint32_t m_Modulation = BlendColors;
    double m_OverlayQuality = 1.0;
};

} // namespace core
