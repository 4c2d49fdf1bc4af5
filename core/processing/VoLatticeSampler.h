#pragma once
// VoLatticeSampler: the abstract base of the modules that sample lattices
// onto a new uniform lattice (resample, merge). It holds the output's
// geometry with its "Geometry" rows and the interpolation method with its
// combo row, and recomputes the geometry from the inputs while "Calculate
// from input" is on.
#include "core/data/VdLattice.h"
#include "core/network/VoModule.h"
#include "core/processing/LatticeGeometry.h"

#include <cstdint>

namespace core {

class VoLatticeSampler : public VoModule {
    SHR_DECLARE_TYPE(VoLatticeSampler)
public:
    enum RowId : int { IdHeader = 1, IdMethod = 2 };
    // The names of the method combo, by VdLattice::InterpMethod 0 and 1.
    static const char* const MethodNames[2];

    void OnInputChanged(int input, bool recalc) override;

    LatticeGeometry& Geometry() { return m_Geometry; }
    const LatticeGeometry& Geometry() const { return m_Geometry; }
    VdLattice::InterpMethod Method() const { return m_Method; }
    // Nearest or trilinear; anything else raises an error.
    void Method(unsigned int method);

    // The limits (and what else the module derives) from the connected inputs.
    virtual void CalcAutoParameters() = 0;

protected:
    // `prefix` starts the keys of the rows; `autoHelp` is the help of the
    // "Calculate from input" row.
    VoLatticeSampler(const char* prefix, const char* autoHelp);

    // The method row; `key` is its public key.
    void AddMethodRow(VbPropList& list, const char* key) const;
    // The "Geometry" rows.
    void AddGeometryRows(VbPropList& list) const;
    // Takes a change of the method or geometry rows; false for another row.
    // Turning auto on recomputes the geometry and lists the rows anew.
    bool SamplerPropertyEvent(VbPropList& list, int id);
    // A stored method and node counts that no row takes are format errors.
    static void CheckLoaded(const shr::Archive& archive, uint32_t method, const LatticeGeometry& geometry);

    LatticeGeometry m_Geometry;
    VdLattice::InterpMethod m_Method = VdLattice::INTERP_LINEAR;

private:
    const char* m_Prefix;
    const char* m_AutoHelp;
};

} // namespace core
