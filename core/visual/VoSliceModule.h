#pragma once
// VoSliceModule: what the slice modules share, and the shape for a new module
// that paints a lattice's values as a texture on a polygon. A SliceMapping
// turns values into colours (the colour map or a grey window); the texture is
// lit or not and drawn with an opacity; a legend shows the colour map. Here
// live the rows of the mapping and the legend and their events, the drawing
// of the textured polygon, and the tail of the stored form. A slice adds its
// own plane or layer, rows and fields, and builds the polygon and texels.
#include "core/visual/SliceMapping.h"
#include "core/visual/VoLatticeModule.h"

#include <vector>

namespace core {

class VgRenderer;
class VgVertexData;

class VoSliceModule : public VoLatticeModule {
    SHR_DECLARE_TYPE(VoSliceModule)
public:
    bool Lighting() const { return m_Lighting; }
    void Lighting(bool lighting) { m_Lighting = lighting; }
    double Opacity() const { return m_Opacity; }
    void Opacity(double opacity) { m_Opacity = opacity; }
    SliceMapping& Mapping() { return m_Mapping; }
    const SliceMapping& Mapping() const { return m_Mapping; }

protected:
    VoSliceModule() = default;

    // New data: colour-map limits, and the grey window if still unknown.
    void UpdateMappingData();
    // The four mapping rows from `idMapping` for the values of `lattice` (under
    // the caller's header, which they close), then the legend's rows from
    // `idLegend`, greyed out as the method wants.
    void AddMappingRows(VbPropList& list, const VdLattice* lattice, const char* prefix, int idMapping,
                        int idLegend);
    // Takes an event of the mapping or legend rows; false for any other row.
    bool MappingEvent(VbPropList& list, const VbPropertyEvent& event, int idMapping, int idLegend);
    // Draws the polygon `face` (its vertices and texture coordinates set) with
    // the width x height texture `pixels`, modulated by the light or not, at
    // the module's opacity, with one normal; then the legend when the colours
    // come from the map.
    void DrawTexturedPolygon(VgRenderer& renderer, double quality, int width, int height,
                             const std::vector<shr::Color4b>& pixels, VgVertexData& face);

    // The tail of the stored form the slices share: opacity (8 bytes),
    // mapping, colour map and legend. Loading reads into this copy; Commit
    // hands it to the slice once everything has been read and checked.
    struct StoredLook {
        explicit StoredLook(const VoSliceModule& slice);
        void Transfer(shr::Archive& archive);
        void Commit(VoSliceModule& slice) const;

        double opacity;
        SliceMapping mapping;
        VbColorMap colorMap;
        VbLegend legend;
    };

    bool m_Lighting = true;
    double m_Opacity = 1.0;
    SliceMapping m_Mapping;
};

} // namespace core
