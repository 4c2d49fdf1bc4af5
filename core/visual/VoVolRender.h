#pragma once
// VoVolRender: direct volume rendering of a uniform lattice. The module keeps
// one InvVolume node and hands it only what changed since the last run (the
// changed flags), so that a new opacity or composition costs nothing and a new
// colour map reloads at most the textures' colours. Colours and opacities
// come from the colour map: its opacity nodes are the transfer function.
#include "core/graphics/InvSmartPtr.h"
#include "core/visual/VoLatticeModule.h"

#include <cstdint>
#include <memory>

namespace core {

class InvVolume;
class VbModuleInfo;
class VbProgress;
class VdUniformLattice;
class VgRenderer;

class VoVolRender : public VoLatticeModule {
    SHR_DECLARE_CREATABLE_TYPE(VoVolRender)
public:
    static const VbModuleInfo s_ModuleInfo;

    enum RenderMethod : uint32_t { Textures2D = 0, Textures3D = 1 };
    enum Composition : uint32_t { MaximumIntensity = 0, SumIntensity = 1, AlphaBlending = 2 };
    enum Interpolation : uint32_t { NearestNeighbor = 0, Trilinear = 1 };
    enum ChangedFlag : uint32_t {
        ChangedData = 1,
        ChangedColorMap = 2,
        ChangedOpacity = 4,
        ChangedRenderMethod = 8,
        ChangedSlices = 16,
        ChangedComposition = 32,
        ChangedInterpolation = 64,
        ChangedPalette = 128,
        ChangedAll = 255
    };
    enum RowId : int {
        IdGeneral = 1,
        IdInput = 2,
        IdComponent = 3,
        IdRendering = 4,
        IdRenderMethod = 5,
        IdColormap = 6,
        IdLegend = 7, // to 32
        IdNumSlices = 33,
        IdOpacity = 34,
        IdComposition = 35,
        IdInterpolation = 36,
        IdUsePalette = 37
    };

    VoVolRender();
    ~VoVolRender() override;
    const VbModuleInfo* GetModuleInfo() const override;
    void OnInputChanged(int input, bool recalc) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Base, sync mark, paletted (1 byte), component, slices (raised to at
    // least 1 on loading), method, composition, interpolation, changed flags
    // (4 bytes each), opacity (8), colour map, legend. A failed load changes
    // nothing.
    void Serialize(shr::Archive& archive) override;

    bool UsePalette() const { return m_UsePalette; }
    void UsePalette(bool use);
    uint32_t NumSlices() const { return m_NumSlices; }
    // Values below 1 are taken as 1.
    void NumSlices(uint32_t slices);
    uint32_t Method() const { return m_Method; }
    void Method(uint32_t method);
    uint32_t CompositionMethod() const { return m_Composition; }
    void CompositionMethod(uint32_t composition);
    uint32_t InterpolationMethod() const { return m_Interpolation; }
    void InterpolationMethod(uint32_t interpolation);
    double Opacity() const { return m_Opacity; }
    void Opacity(double opacity);
    // After a change of the colour map made through GetColorMap.
    void ColorMapChanged() { m_Changed |= ChangedColorMap; }
    uint32_t ChangedFlags() const { return m_Changed; }
    // The node the module draws through; null before the first run.
    InvVolume* Volume() const { return m_Volume.get(); }

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    // Raises the type mismatch for a lattice that is not uniform; resets 3-D
    // textures to 2-D, with a message, where they cannot be used.
    void VerifyInput(const VdLattice& lattice);
    void ResetToTextures2D(const char* message);
    // Hands the node what changed; true when the node went into the scene.
    bool Compute(const VdUniformLattice* lattice, VgRenderer& renderer);
    void ApplyChanges(const VdUniformLattice& lattice);
    // New data or component: the colour map's limits, and new data for the node.
    void UpdateInput();
    void UpdateMethodProps(VbPropList& list) const;
    static bool TextureProgress(int phase, double fraction, void* module);

    bool m_UsePalette = true;
    uint32_t m_NumSlices = 200;
    uint32_t m_Method = Textures2D;
    uint32_t m_Composition = AlphaBlending;
    uint32_t m_Interpolation = Trilinear;
    uint32_t m_Changed = ChangedData | ChangedColorMap;
    double m_Opacity = 1.0;
    InvSmartPtr<InvVolume> m_Volume;
    // Shown while the drawing thread makes textures.
    std::unique_ptr<VbProgress> m_Progress;
};

} // namespace core
