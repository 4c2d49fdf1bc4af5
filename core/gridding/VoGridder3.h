#pragma once
// VoGridder3: turns a scattered point set into a uniform lattice by inverse
// distance, a local polynomial fit or a statistic of each node's
// neighbourhood. It never runs by itself: it keeps its settings and computes
// when the user presses "Begin Gridding"; until then an execution reports
// ModuleIdle and keeps the last lattice.
#include "core/network/VoModule.h"
#include "shr/Box3d.h"
#include "shr/Vec3.h"

#include <cstdint>
#include <vector>

namespace core {

class CDataMetricRules;
class CPointData;
class CSearchRules;
class VdLattice;
class VdPoints;
struct CInverseDistanceRules;
struct CLocalPolynomialRules;

class VoGridder3 : public VoModule {
    SHR_DECLARE_CREATABLE_TYPE(VoGridder3)
public:
    static const VbModuleInfo s_ModuleInfo;

    enum SearchType : uint32_t { SearchAllData = 0, SearchSimple = 1, SearchAnisotropic = 2, SearchGeneral = 3 };
    enum Method : uint32_t { MethodDataMetric = 0, MethodInverseDistance = 1, MethodLocalPolynomial = 2 };
    enum AnisotropyType : uint32_t { Isotropic = 0, Anisotropic = 1, GeneralAnisotropy = 2 };

    // The largest node count per axis.
    static constexpr unsigned MaxResolution = 10000;

    // Every setting of the module; a copy rides in the property list (id 70)
    // as the undo data of "Recalculate".
    struct GriddingOptions {
        GriddingOptions();

        uint32_t component;
        uint32_t reserved;
        shr::Box3d limits;
        uint32_t resolution[3];
        shr::Vec3d spacing; // derived from limits and resolution
        uint32_t searchType;
        int32_t minCount;
        int32_t maxCount;
        double radius;
        shr::Vec3d searchLengths;
        shr::Vec3d searchAxes[3];
        uint32_t method;
        uint32_t anisotropyType;
        shr::Vec3d anisotropyLengths;
        shr::Vec3d anisotropyAxes[3];
        uint32_t metric;
        double distancePower;
        double distanceSmooth;
        double polynomialPower;
        int32_t polynomialOrder;
    };

    VoGridder3();
    ~VoGridder3() override;

    static const VbModuleInfo* GetClassModuleInfo() { return &s_ModuleInfo; }
    const VbModuleInfo* GetModuleInfo() const override { return &s_ModuleInfo; }
    void Serialize(shr::Archive& archive) override;
    void RestoreProperties(VbPropList& list, const VbPropertyEvent& event) override;
    void OnInputChanged(int input, bool recalc) override;
    void PropertyEvent(VbPropList& list, const VbPropertyEvent& event) override;

    const GriddingOptions& Options() const { return m_Options; }
    bool DefaultsPending() const { return m_DefaultsPending; }
    bool RunRequested() const { return m_RunRequested; }

    // The labels of the metric combo, one per metric.
    static const std::vector<shr::GString>& MetricLabels();

private:
    ModuleStatus ExecuteImpl(std::shared_ptr<VgRenderer> renderer) override;
    void UpdatePropertiesImpl(VbPropList& list) override;

    const VdPoints* InputPoints() const;
    static void CheckLoaded(const shr::Archive& archive, const GriddingOptions& options,
                            const shr::Vec3i& resolution);
    void CalcDefaults();
    void Validate() const;
    void ValidateGeometry() const;
    void ValidateSearch() const;
    void ValidateMethod() const;
    // Builds and fills the lattice; null when the user cancelled.
    VdLattice* Grid(const VdPoints& points) const;
    CSearchRules MakeSearchRules() const;
    bool Fill(VdLattice& lattice, const CSearchRules& search, const CPointData& data) const;

    void UpdateSpacing(VbPropList& list, int axis);
    void UpdateCount(VbPropList& list, int axis);
    void UpdateMethod(VbPropList& list);
    void ShowSearchProps(VbPropList& list);
    void ShowAnisotropyProps(VbPropList& list);
    void UpdateLimitsComments(VbPropList& list) const;
    void UpdateResolutionComment(VbPropList& list) const;
    void AddGeneralProps(VbPropList& list);
    void AddGeometryProps(VbPropList& list);
    void AddSearchEllipse(VbPropList& list);
    // The option a plain value row (search, anisotropy, method rows) edits.
    double* DoubleField(int id);
    int32_t* IntField(int id);
    void ReadLimit(VbPropList& list, int id);

    bool InverseDistance_Fill(VdLattice& lattice, const CInverseDistanceRules& rules, const CSearchRules& search,
                              const CPointData& data) const;
    bool LocalPolynomial_Fill(VdLattice& lattice, const CLocalPolynomialRules& rules, const CSearchRules& search,
                              const CPointData& data) const;
    bool DataMetric_Fill(VdLattice& lattice, const CDataMetricRules& rules, const CSearchRules& search,
                         const CPointData& data) const;

    bool m_DefaultsPending;
    bool m_RunRequested;
    GriddingOptions m_Options;
};

} // namespace core
