#pragma once
// VoFaceRender: a 3-D lattice as solid blocks, the geometry of a block model.
// Every cell of an index range whose value is neither blank nor mapped to a
// fully transparent colour is a block; only the faces of blocks that border
// nothing (the range's edge, a blank or a transparent cell) are drawn, so the
// outer faces and the faces cut by a clear colour range make the picture.
// A block's value is the mean of its eight nodes, or the value of its lowest
// node. The module also counts the blocks, averages their values and, when
// asked, adds up their volume.
//
// Cells are evaluated in parallel; the faces are found a layer of cells at a
// time in parallel, and joined in layer order, so that the geometry and the
// sums do not depend on the number of threads. Faces are quads wound
// counter-clockwise seen from outside (for a right-handed lattice), four
// vertices each, one colour and one normal per face.
#include "core/data/LatticeLocator.h"
#include "core/visual/VoLatticeModule.h"
#include "shr/Color4b.h"

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace core {

class ColorLookup;
class VbModuleInfo;
class VgVertexData;

class VoFaceRender : public VoLatticeModule {
    SHR_DECLARE_CREATABLE_TYPE(VoFaceRender)
public:
    static const VbModuleInfo s_ModuleInfo;
    enum RowId : int {
        IdGeneral = 1,
        IdInput = 2,
        IdComponent = 3,
        IdColormap = 4,
        IdRange = 5,
        IdXRange = 6, // headers at 6, 9, 12; first and last after each
        IdRangeReset = 15,
        IdBlockCount = 16,
        IdBlockAverage = 17,
        IdComputeVolume = 18,
        IdVolume = 19,
        IdRendering = 20,
        IdShowEdges = 21,
        IdEdgeColor = 22,
        IdUseComponentAverage = 23,
        IdLegend = 24
    };

    VoFaceRender();
    ~VoFaceRender() override;
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    // A lattice that is not 3-D with every dimension above 1 is refused.
    void OnInputChanged(int input, bool recalc) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Shows the new count, average and (when computed) volume.
    void PostExecute(double seconds) const override;
    // The lattice module's part, sync mark, the ranges, the volume and its
    // flag; the edges from 117, count and average from 118, the averaging
    // flag from 127. A failed load changes nothing.
    void Serialize(shr::Archive& archive) override;

    // One-based first and last node per axis; -1 as last is the axis's end.
    int First(int axis) const { return m_First[size_t(axis)]; }
    int Last(int axis) const { return m_Last[size_t(axis)]; }
    void Range(int axis, int first, int last);
    bool ComputeVolume() const { return m_ComputeVolume; }
    void ComputeVolume(bool on) { m_ComputeVolume = on; }
    bool ShowEdges() const { return m_ShowEdges; }
    void ShowEdges(bool on) { m_ShowEdges = on; }
    const shr::Color4b& EdgeColor() const { return m_EdgeColor; }
    void EdgeColor(const shr::Color4b& color) { m_EdgeColor = color; }
    bool UseComponentAverage() const { return m_UseComponentAverage; }
    void UseComponentAverage(bool on) { m_UseComponentAverage = on; }

    // The results of the latest run.
    int BlockCount() const { return m_BlockCount; }
    double BlockAverage() const { return m_BlockAverage; }
    double Volume() const { return m_Volume; }
    const VgVertexData& Faces() const { return *m_Faces; }

    // The node range drawn on a lattice of these dimensions: last -1 is the
    // end, both clamped to 1..n, and first below last.
    LatticeRange EffectiveRange(const unsigned int dims[3]) const;

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    // Blocks, their sums and their faces over the range; false on abort.
    bool ComputeIndexed(const VdLattice& lattice, const LatticeRange& range);
    // Blank, or mapped to an alpha of 0.
    static bool CellBlankedOrTransparent(double value, const ColorLookup& colors);
    void AddRangeRows(VbPropList& list, const VdLattice* lattice);
    void ShowResults(VbPropList& list) const;

    std::array<int, 3> m_First{{1, 1, 1}};
    std::array<int, 3> m_Last{{-1, -1, -1}};
    int32_t m_BlockCount = 0;
    double m_BlockAverage = 0.0;
    double m_Volume = 0.0;
    bool m_ComputeVolume = false;
    bool m_ShowEdges = false;
    shr::Color4b m_EdgeColor;
    bool m_UseComponentAverage = true;
    std::unique_ptr<VgVertexData> m_Faces;
    // The working memory of the last run, kept for the next.
    std::vector<double> m_CellValues;
    std::vector<uint8_t> m_Standing;
};

} // namespace core
