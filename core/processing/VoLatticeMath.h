#pragma once
// VoLatticeMath: a new uniform lattice computed from up to three input
// lattices (A, B, C) by one expression per output component. An input's
// values are taken at each output node either by trilinear interpolation at
// the node's position, or (with the sampling flag) from the input node of the
// same indices. Blanks and samples outside an input become the no-data value,
// which the expressions propagate; such a result leaves the element blank.
#include "core/network/VoModule.h"
#include "core/processing/ExpressionLattice.h"

#include <vector>

namespace tzexpr {
class CExpression;
}

namespace core {

class VdLattice;
class VdUniformLattice;

class VoLatticeMath : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoLatticeMath)
public:
    static const VbModuleInfo s_ModuleInfo;
    static constexpr int InputCount = 3;
    static constexpr double DefaultNodata = 1.7976931348623157e308;
    enum RowId { InputFirstId = 4 }; // statics 4, 5, 6 show the inputs

    VoLatticeMath();
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;
    // Base, SyncCheck, the lattice settings, the sampling flag (1 byte), the
    // no-data value (8 bytes).
    void Serialize(shr::Archive& archive) override;

    // Message 14 for a name that stands for an input that is not connected
    // (A to C, alone or with one digit), else message 15; both without "W = ".
    [[noreturn]] static void HandleParseError(int code, const shr::GString& message, const shr::GString& symbol);
    // The function lattice's declarations, then each connected input's letter and components.
    shr::GString Declarations() const;

    ExpressionLattice& Settings() { return m_Settings; }
    bool SampleByIndex() const { return m_SampleByIndex; }
    void SampleByIndex(bool byIndex) { m_SampleByIndex = byIndex; }
    double Nodata() const { return m_Nodata; }
    void Nodata(double nodata) { m_Nodata = nodata; }

private:
    // A connected input and its first slot in the variable table.
    struct Source {
        const VdLattice* lattice;
        size_t slot;
    };

    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;
    const VdLattice* InputLattice(int input) const;
    std::vector<Source> ConnectedSources() const;
    // With auto limits, the union of the inputs' extents.
    void CalcAutoParameters();
    ModuleStatus Compute(const std::vector<tzexpr::CExpression>& expressions, const std::vector<Source>& sources,
                         VdUniformLattice& output) const;
    void Sample(const Source& source, const shr::Vec3d& position, const unsigned int* ijk,
                std::vector<double>& variables) const;

    ExpressionLattice m_Settings;
    bool m_SampleByIndex = false;
    double m_Nodata = DefaultNodata;
};

} // namespace core
