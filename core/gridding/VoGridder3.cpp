#include "core/gridding/VoGridder3.h"

#include "core/data/MemoryBudget.h"
#include "core/data/VdPoints.h"
#include "core/data/VdUniformLattice.h"
#include "core/gridding/CDataMetricRules.h"
#include "core/gridding/CPointData.h"
#include "core/gridding/CSearchRules.h"
#include "core/gridding/VoGridder3Private.h"
#include "core/network/CoreError.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/properties/PropertyUtility.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbIntPropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <boost/any.hpp>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <memory>
#include <tuple>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoGridder3, VoModule)

const VbModuleInfo VoGridder3::s_ModuleInfo("Computational\\Gridder", VoGridder3::GetClassTypeId(), PortPoints,
                                            PortUniformLattice, "Converts a point set to a uniform lattice", 5);

namespace {

// Property ids.
enum : int {
    IdGeneral = 1,
    IdInput = 2,
    IdInputPoints = 3,
    IdComponent = 4,
    IdGeometry = 5,
    IdRecalculate = 6,
    IdLimits = 7,
    IdResolution = 16,
    IdSpacing = 20,
    IdXSpacing = 21,
    IdSearchHeader = 24,
    IdSearchType = 25,
    IdSearchMin = 26,
    IdSearchMax = 27,
    IdSearchRadius = 28,
    IdSearchEllipse = 29,
    IdSearchXLength = 30,
    IdSearchFirstAxis = 33,
    IdSearchLast = 44,
    IdMethodHeader = 45,
    IdMethod = 46,
    IdAniso = 47,
    IdAnisoEllipse = 48,
    IdAnisoXLength = 49,
    IdAnisoFirstAxis = 52,
    IdMetric = 64,
    IdDistancePower = 65,
    IdDistanceSmooth = 66,
    IdPolyOrder = 67,
    IdPolyPower = 68,
    IdBeginGridding = 69,
    IdOptions = 70,
};

const unsigned char kDouble = VbDoublePropertyConverter::Key();
const unsigned char kInt = VbIntPropertyConverter::Key();
const unsigned char kUnsigned = VbUnsignedPropertyConverter::Key();
const unsigned char kBool = VbBoolPropertyConverter::Key();

const VbPropertyRegistrar s_Registrars[] = {
    {"Gridder3Component", IdComponent, kUnsigned},
    {"Gridder3Auto", IdRecalculate, kBool},
    {"Gridder3DoIt", IdBeginGridding, kBool},
    {"Gridder3Method", IdMethod, kUnsigned},
    {"Gridder3XMin", 8, kDouble},
    {"Gridder3XMax", 9, kDouble},
    {"Gridder3YMin", 11, kDouble},
    {"Gridder3YMax", 12, kDouble},
    {"Gridder3ZMin", 14, kDouble},
    {"Gridder3ZMax", 15, kDouble},
    {"Gridder3XNum", 17, kUnsigned},
    {"Gridder3YNum", 18, kUnsigned},
    {"Gridder3ZNum", 19, kUnsigned},
    {"Gridder3XSpacing", 21, kDouble},
    {"Gridder3YSpacing", 22, kDouble},
    {"Gridder3ZSpacing", 23, kDouble},
    {"Gridder3Search", IdSearchType, kUnsigned},
    {"Gridder3SearchMin", IdSearchMin, kInt},
    {"Gridder3SearchMax", IdSearchMax, kInt},
    {"Gridder3SearchRadius", IdSearchRadius, kDouble},
    {"Gridder3SearchXLength", 30, kDouble},
    {"Gridder3SearchYLength", 31, kDouble},
    {"Gridder3SearchZLength", 32, kDouble},
    {"Gridder3SearchFirstSemiAxisX", 34, kDouble},
    {"Gridder3SearchFirstSemiAxisY", 35, kDouble},
    {"Gridder3SearchFirstSemiAxisZ", 36, kDouble},
    {"Gridder3SearchSecondSemiAxisX", 38, kDouble},
    {"Gridder3SearchSecondSemiAxisY", 39, kDouble},
    {"Gridder3SearchSecondSemiAxisZ", 40, kDouble},
    {"Gridder3SearchThirdSemiAxisX", 42, kDouble},
    {"Gridder3SearchThirdSemiAxisY", 43, kDouble},
    {"Gridder3SearchThirdSemiAxisZ", 44, kDouble},
    {"Gridder3Aniso", IdAniso, kUnsigned},
    {"Gridder3AnisoXLength", 49, kDouble},
    {"Gridder3AnisoYLength", 50, kDouble},
    {"Gridder3AnisoZLength", 51, kDouble},
    {"Gridder3AnisoFirstSemiAxisX", 53, kDouble},
    {"Gridder3AnisoFirstSemiAxisY", 54, kDouble},
    {"Gridder3AnisoFirstSemiAxisZ", 55, kDouble},
    {"Gridder3AnisoSecondSemiAxisX", 57, kDouble},
    {"Gridder3AnisoSecondSemiAxisY", 58, kDouble},
    {"Gridder3AnisoSecondSemiAxisZ", 59, kDouble},
    {"Gridder3AnisoThirdSemiAxisX", 61, kDouble},
    {"Gridder3AnisoThirdSemiAxisY", 62, kDouble},
    {"Gridder3AnisoThirdSemiAxisZ", 63, kDouble},
    {"Gridder3Metric", IdMetric, kUnsigned},
    {"Gridder3DistancePower", IdDistancePower, kDouble},
    {"Gridder3DistanceSmooth", IdDistanceSmooth, kDouble},
    {"Gridder3PolyOrder", IdPolyOrder, kInt},
    {"Gridder3PolyPower", IdPolyPower, kDouble},
};

const char kAxisLetters[3] = {'X', 'Y', 'Z'};
const char* const kAxisNames[3] = {"First", "Second", "Third"};
const char* const kAxisLabels[3] = {"First Axis", "Second Axis", "Third Axis"};
const char* const kOrdinals[3] = {"first", "second", "third"};

// Below this a side of the input's box counts as flat: the single-precision epsilon.
constexpr double kFlatSide = 1.1920928955078125e-7;
// More input points than this make the default search a simple one.
constexpr unsigned kAllDataPointLimit = 500;
constexpr int32_t kDefaultMaxCount = 50;
constexpr unsigned kDefaultResolution = 50;
constexpr int kMaxSearchCount = 10000;

void ThrowInternalError() { CORE_THROW(1); }

shr::GString Key(const char* suffix) { return shr::GString("Gridder3") + suffix; }

double Length(const shr::Vec3d& v) { return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z); }

// Coplanar when the triple product is small against the longest axis: the
// test is deliberately not scaled by the cube of the length.
bool Coplanar(const shr::Vec3d axes[3])
{
    const shr::Vec3d& a = axes[0];
    const shr::Vec3d& b = axes[1];
    const shr::Vec3d& c = axes[2];
    const double triple = a.x * (b.y * c.z - b.z * c.y) + a.y * (b.z * c.x - b.x * c.z) + a.z * (b.x * c.y - b.y * c.x);
    const double longest = std::max({Length(a), Length(b), Length(c)});
    return DBL_EPSILON * longest > std::fabs(triple);
}

shr::Point3<double> ToPoint(const shr::Vec3d& v) { return shr::Point3<double>(v.x, v.y, v.z); }

std::tuple<double, double, double> Corner(const shr::Vec3d& v) { return std::make_tuple(v.x, v.y, v.z); }

void RemoveIfPresent(VbPropList& list, int first, int last)
{
    for (int id = first; id <= last; ++id)
        if (list.IsProp(id))
            list.Remove(id);
}

void TransferVectors(shr::Archive& archive, shr::Vec3d& lengths, shr::Vec3d axes[3])
{
    archive.Transfer(lengths);
    for (int i = 0; i < 3; ++i)
        archive.Transfer(axes[i]);
}

} // namespace

VoGridder3::GriddingOptions::GriddingOptions()
    : component(0),
      reserved(0),
      limits(0.0, 0.0, 0.0, 1.0, 1.0, 1.0),
      resolution{kDefaultResolution, kDefaultResolution, kDefaultResolution},
      spacing(1.0, 1.0, 1.0),
      searchType(SearchAllData),
      minCount(1),
      maxCount(100),
      radius(1.0),
      searchLengths(1.0, 1.0, 1.0),
      searchAxes{shr::Vec3d::UNIT_X, shr::Vec3d::UNIT_Y, shr::Vec3d::UNIT_Z},
      method(MethodInverseDistance),
      anisotropyType(Isotropic),
      anisotropyLengths(1.0, 1.0, 1.0),
      anisotropyAxes{shr::Vec3d::UNIT_X, shr::Vec3d::UNIT_Y, shr::Vec3d::UNIT_Z},
      metric(CDataMetricRules::Count),
      distancePower(2.0),
      distanceSmooth(0.0),
      polynomialPower(1.0),
      polynomialOrder(1)
{
}

const std::vector<shr::GString>& VoGridder3::MetricLabels()
{
    static const std::vector<shr::GString> labels = [] {
        std::vector<shr::GString> list;
        for (int m = 0; m < CDataMetricRules::MetricCount(); ++m)
            list.emplace_back(CDataMetricRules::MetricLabel(m));
        return list;
    }();
    return labels;
}

VoGridder3::VoGridder3() : m_DefaultsPending(true), m_RunRequested(false)
{
    AddInput("Input Points", PortPoints);
    AddOutput("Output Lattice", PortUniformLattice);
    MetricLabels();
}

VoGridder3::~VoGridder3() = default;

const VdPoints* VoGridder3::InputPoints() const
{
    return dynamic_cast<const VdPoints*>(GetInputData(0));
}

// ---- defaults -------------------------------------------------------------------

void VoGridder3::CalcDefaults()
{
    const VdPoints* points = InputPoints();
    if (!points)
        return;
    GriddingOptions& o = m_Options;
    o.limits = points->GetXYZBounds();
    const shr::Vec3d sides = o.limits.Size();
    const double largest = std::max({sides.x, sides.y, sides.z});
    const double pad = largest / 49.0 < DBL_EPSILON ? 1.0 : largest / 49.0;
    for (int axis = 0; axis < 3; ++axis) {
        o.resolution[axis] = kDefaultResolution;
        if (sides[axis] <= kFlatSide) {
            const double middle = (o.limits.min[axis] + o.limits.max[axis]) / 2.0;
            o.limits.min[axis] = middle - pad;
            o.limits.max[axis] = middle + pad;
        }
    }
    const unsigned count = points->VertexCount();
    o.minCount = 1;
    o.searchType = count > kAllDataPointLimit ? SearchSimple : SearchAllData;
    o.maxCount = count < static_cast<unsigned>(kDefaultMaxCount + 1) ? static_cast<int32_t>(count) : kDefaultMaxCount;
    const double diagonal = o.limits.Diagonal();
    const shr::Vec3d padded = o.limits.Size();
    o.radius = diagonal;
    o.searchLengths = shr::Vec3d(diagonal, diagonal, diagonal);
    o.anisotropyLengths = shr::Vec3d(diagonal, diagonal, diagonal);
    for (int axis = 0; axis < 3; ++axis) {
        o.searchAxes[axis] = shr::Vec3d::ZERO;
        o.searchAxes[axis][axis] = padded[axis];
        o.anisotropyAxes[axis] = shr::Vec3d::ZERO;
        o.anisotropyAxes[axis][axis] = diagonal;
    }
}

void VoGridder3::OnInputChanged(int, bool recalc)
{
    const VdPoints* points = InputPoints();
    if (!recalc || !points)
        return;
    // With no components at all the index stays; validation reports the input.
    if (m_Options.component >= points->ComponentCount() && points->ComponentCount() > 0)
        m_Options.component = points->ComponentCount() - 1;
    if (m_DefaultsPending) {
        CalcDefaults();
        m_DefaultsPending = false;
    }
}

// ---- validation -------------------------------------------------------------------

void VoGridder3::Validate() const
{
    const VdPoints* points = InputPoints();
    if (!points)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid input points.");
    if (points->VertexCount() == 0)
        CORE_THROW(21);
    if (points->ComponentCount() == 0)
        CORE_THROW(22);
    ValidateGeometry();
    ValidateSearch();
    ValidateMethod();
}

void VoGridder3::ValidateGeometry() const
{
    for (int axis = 0; axis < 3; ++axis) {
        if (m_Options.limits.min[axis] >= m_Options.limits.max[axis])
            CORE_THROW(2, kAxisLetters[axis]);
        if (m_Options.resolution[axis] < 2 || m_Options.resolution[axis] > MaxResolution)
            CORE_THROW(23, kAxisLetters[axis], MaxResolution);
    }
}

void VoGridder3::ValidateSearch() const
{
    const GriddingOptions& o = m_Options;
    switch (o.searchType) {
    case SearchAllData: break;
    case SearchSimple:
        if (!(o.radius > 0.0))
            CORE_THROW(24);
        break;
    case SearchAnisotropic:
        for (int axis = 0; axis < 3; ++axis)
            if (!(o.searchLengths[axis] > 0.0))
                CORE_THROW(25, kAxisLetters[axis]);
        break;
    case SearchGeneral:
        if (Coplanar(o.searchAxes))
            CORE_THROW(26);
        break;
    default: ThrowInternalError();
    }
    if (o.minCount < 1)
        ThrowInternalError();
    if (o.minCount > o.maxCount)
        CORE_THROW(27);
}

void VoGridder3::ValidateMethod() const
{
    const GriddingOptions& o = m_Options;
    switch (o.method) {
    case MethodDataMetric:
        if (o.metric >= static_cast<uint32_t>(CDataMetricRules::MetricCount()))
            ThrowInternalError();
        return;
    case MethodInverseDistance:
        if (o.distancePower < 0.0 || o.distanceSmooth < 0.0)
            ThrowInternalError();
        if (o.anisotropyType == Anisotropic) {
            for (int axis = 0; axis < 3; ++axis)
                if (!(o.anisotropyLengths[axis] > 0.0))
                    ThrowInternalError();
        } else if (o.anisotropyType == GeneralAnisotropy) {
            if (Coplanar(o.anisotropyAxes))
                CORE_THROW(28);
        } else if (o.anisotropyType != Isotropic) {
            ThrowInternalError();
        }
        return;
    case MethodLocalPolynomial:
        if (o.polynomialOrder < 0 || o.polynomialOrder > 3 || o.polynomialPower < 0.0)
            ThrowInternalError();
        return;
    default: ThrowInternalError();
    }
}

// ---- execution ----------------------------------------------------------------------

VoModule::ModuleStatus VoGridder3::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    const VdPoints* points = InputPoints();
    VbPort* output = GetOutput(0);
    if (!points) {
        output->Data(nullptr);
        return m_RunRequested ? ModuleOk : ModuleIdle;
    }
    if (!m_RunRequested)
        return ModuleIdle;
    m_RunRequested = false;
    output->Data(nullptr);
    Validate();
    VdLattice* lattice = Grid(*points);
    if (!lattice)
        return ModuleAborted;
    output->Data(lattice);
    return ModuleOk;
}

VdLattice* VoGridder3::Grid(const VdPoints& points) const
{
    const GriddingOptions& o = m_Options;
    const unsigned dims[3] = {o.resolution[0], o.resolution[1], o.resolution[2]};
    MemoryBudget::CheckLattice(dims, 1, shr::Double);
    auto lattice = std::make_unique<VdUniformLattice>(shr::Double, dims, nullptr, 1u);
    lattice->SetUVWBounds(o.limits);
    const CSearchRules search = MakeSearchRules();
    CPointData data(points.ComponentCount());
    Convert(points, data, o.component, true);
    if (data.empty())
        CORE_THROW(22);
    if (!Fill(*lattice, search, data))
        return nullptr;
    return lattice.release();
}

CSearchRules VoGridder3::MakeSearchRules() const
{
    const GriddingOptions& o = m_Options;
    switch (o.searchType) {
    case SearchSimple: return CSearchRules(o.minCount, o.maxCount, o.radius);
    case SearchAnisotropic:
        return CSearchRules(o.minCount, o.maxCount, o.searchLengths.x, o.searchLengths.y, o.searchLengths.z);
    case SearchGeneral:
        return CSearchRules(o.minCount, o.maxCount, ToPoint(o.searchAxes[0]), ToPoint(o.searchAxes[1]),
                            ToPoint(o.searchAxes[2]));
    default: return CSearchRules();
    }
}

bool VoGridder3::Fill(VdLattice& lattice, const CSearchRules& search, const CPointData& data) const
{
    const GriddingOptions& o = m_Options;
    const int component = static_cast<int>(o.component);
    if (o.method == MethodDataMetric)
        return DataMetric_Fill(lattice,
                               CDataMetricRules(component, static_cast<CDataMetricRules::METRIC>(o.metric)), search,
                               data);
    if (o.method == MethodLocalPolynomial)
        return LocalPolynomial_Fill(lattice, CLocalPolynomialRules(component, o.polynomialOrder, o.polynomialPower),
                                    search, data);
    CAffineTransform anisotropy;
    if (o.anisotropyType == Anisotropic)
        anisotropy = CAffineTransform(1.0 / o.anisotropyLengths.x, 1.0 / o.anisotropyLengths.y,
                                      1.0 / o.anisotropyLengths.z);
    else if (o.anisotropyType == GeneralAnisotropy)
        anisotropy = CAffineTransform(ToPoint(o.anisotropyAxes[0]), ToPoint(o.anisotropyAxes[1]),
                                      ToPoint(o.anisotropyAxes[2]));
    return InverseDistance_Fill(lattice, CInverseDistanceRules(component, o.distancePower, o.distanceSmooth, anisotropy),
                                search, data);
}

bool VoGridder3::InverseDistance_Fill(VdLattice& lattice, const CInverseDistanceRules& rules,
                                      const CSearchRules& search, const CPointData& data) const
{
    return VoGridder3Private::InverseDistanceFill(lattice, rules, search, data);
}

bool VoGridder3::LocalPolynomial_Fill(VdLattice& lattice, const CLocalPolynomialRules& rules,
                                      const CSearchRules& search, const CPointData& data) const
{
    return VoGridder3Private::LocalPolynomialFill(lattice, rules, search, data);
}

bool VoGridder3::DataMetric_Fill(VdLattice& lattice, const CDataMetricRules& rules, const CSearchRules& search,
                                 const CPointData& data) const
{
    return VoGridder3Private::DataMetricFill(lattice, rules, search, data);
}

// ---- persistence ----------------------------------------------------------------------

// The limits of the rows, for options read from a document: a damaged
// resolution or count must not become a grid or a search of any size.
void VoGridder3::CheckLoaded(const shr::Archive& archive, const GriddingOptions& o, const shr::Vec3i& resolution)
{
    for (int axis = 0; axis < 3; ++axis)
        archive.CheckRange(resolution[axis], 2, int(MaxResolution), "the gridder's resolution");
    archive.CheckRange(o.searchType, uint32_t(SearchAllData), uint32_t(SearchGeneral), "the gridder's search type");
    archive.CheckRange(o.minCount, 1, kMaxSearchCount, "the gridder's minimum count");
    archive.CheckRange(o.maxCount, 1, kMaxSearchCount, "the gridder's maximum count");
    archive.CheckRange(o.method, uint32_t(MethodDataMetric), uint32_t(MethodLocalPolynomial), "the gridding method");
    archive.CheckRange(o.anisotropyType, uint32_t(Isotropic), uint32_t(GeneralAnisotropy), "the gridder's anisotropy");
    archive.CheckRange(o.metric, 0u, uint32_t(CDataMetricRules::MetricCount() - 1), "the gridder's data metric");
    archive.CheckRange(o.polynomialOrder, 0, 3, "the gridder's polynomial order");
}

void VoGridder3::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    // Loaded into copies, so that a truncated document leaves the module as it was.
    GriddingOptions o = m_Options;
    bool pending = m_DefaultsPending;
    bool run = m_RunRequested;
    if (archive.IsStoring() || archive.GetVersion() >= 112)
        archive.Transfer(o.component);
    archive.Transfer(pending);
    archive.Transfer(o.reserved);
    archive.Transfer(o.limits);
    shr::Vec3i resolution(static_cast<int>(o.resolution[0]), static_cast<int>(o.resolution[1]),
                          static_cast<int>(o.resolution[2]));
    archive.Transfer(resolution);
    archive.Transfer(o.searchType);
    archive.Transfer(o.minCount);
    archive.Transfer(o.maxCount);
    archive.Transfer(o.radius);
    TransferVectors(archive, o.searchLengths, o.searchAxes);
    archive.Transfer(o.method);
    archive.Transfer(o.anisotropyType);
    TransferVectors(archive, o.anisotropyLengths, o.anisotropyAxes);
    archive.Transfer(o.metric);
    archive.Transfer(o.distancePower);
    archive.Transfer(o.distanceSmooth);
    archive.Transfer(o.polynomialPower);
    archive.Transfer(o.polynomialOrder);
    archive.Transfer(run);
    // The lattice as an object, so that a loaded document shows it with no new run.
    VdData* lattice = nullptr;
    if (archive.IsStoring() || archive.GetVersion() >= 102) {
        shr::CTypedObject* object = GetOutputData(0);
        archive.TransferObject(object);
        if (archive.IsLoading() && object) {
            lattice = dynamic_cast<VdUniformLattice*>(object);
            // On failure the object stays the caller's, among the archive's created objects.
            if (!lattice)
                archive.ThrowFormatError("the gridder's output is not a uniform lattice");
        }
    }
    if (archive.IsStoring())
        return;
    CheckLoaded(archive, o, resolution);
    for (int axis = 0; axis < 3; ++axis)
        o.resolution[axis] = static_cast<uint32_t>(resolution[axis]);
    m_Options = o;
    m_DefaultsPending = pending;
    m_RunRequested = run;
    GetOutput(0)->Data(lattice);
    SetCachedOutput(lattice != nullptr);
}

// ---- properties ----------------------------------------------------------------------

void VoGridder3::UpdatePropertiesImpl(VbPropList& list)
{
    AddGeneralProps(list);
    AddGeometryProps(list);
    list.AddHeader(Id(), IdSearchHeader, "Search", "Search", "", "");
    list.Indent();
    list.AddCombo(Id(), Key("Search"), IdSearchType, "Search type",
                  "The search type to use for locating the closest input data points to each calculated node.",
                  m_Options.searchType, "All data", "Simple", "Anisotropic", "General", nullptr);
    ShowSearchProps(list);
    list.Outdent();
    list.AnyValue(IdOptions, boost::any(m_Options), true);
}

void VoGridder3::AddGeneralProps(VbPropList& list)
{
    const VdPoints* points = InputPoints();
    VoModule* source = GetInputConnection(0, 0);
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), IdInput, "Input", "The input this module is connected to.",
                   source ? source->Name().c_str() : "Nothing");
    list.AddStaticFmt(Id(), IdInputPoints, "Input points", "The number of points in the input dataset.", "%u",
                      points ? points->VertexCount() : 0u);
    if (points && points->ComponentCount() > 1)
        list.AddUnsigned(Id(), Key("Component"), IdComponent, "Input component",
                         "The component to use from the input point set.", m_Options.component + 1, ValCheckMinMax, 1,
                         points->ComponentCount(), 1);
    list.AddButton(Id(), Key("Auto"), IdRecalculate, "Recalculate",
                   "Recalculate default values based on the input data.", "Recalculate");
    list.Group(IdRecalculate, "Data dependent parameters");
    list.AddButton(Id(), Key("DoIt"), IdBeginGridding, "Begin Gridding",
                   "Press this button to begin the gridding process.", "Begin Gridding");
    list.Group(IdBeginGridding, "Action");
    list.AddHeader(Id(), IdMethodHeader, "Method", "General", "", "");
    list.Indent();
    list.AddCombo(Id(), Key("Method"), IdMethod, "Method",
                  "The interpolation method to use for generating the output lattice.", m_Options.method,
                  "Data metric", "Inverse distance", "Local polynomial", nullptr);
    UpdateMethod(list);
    list.Outdent();
    list.Outdent();
}

void VoGridder3::AddGeometryProps(VbPropList& list)
{
    const GriddingOptions& o = m_Options;
    list.AddHeader(Id(), IdGeometry, "Geometry", "Geometry", "", "");
    list.Indent();
    PropertyUtility::UpdateLimits(Id(), IdLimits, "Gridder3", list, Corner(o.limits.min), Corner(o.limits.max), true);
    PropertyUtility::UpdateResolution(Id(), IdResolution, "Gridder3", list,
                                      std::make_tuple(o.resolution[0], o.resolution[1], o.resolution[2]), true);
    for (int axis = 0; axis < 3; ++axis)
        list.SetNumLimits(IdResolution + 1 + axis, ValCheckMinMax, 2, MaxResolution);
    list.AddHeader(Id(), IdSpacing, "Spacing", "Geometry", PropertyUtility::CommentText(o.spacing),
                   "The spacing between nodes in the output lattice.");
    list.Indent();
    static const char* const labels[3] = {"X spacing", "Y spacing", "Z spacing"};
    static const char* const helps[3] = {"The spacing between nodes in the X direction.",
                                         "The spacing between nodes in the Y direction.",
                                         "The spacing between nodes in the Z direction."};
    for (int axis = 0; axis < 3; ++axis)
        list.AddDouble(Id(), Key("") + kAxisLetters[axis] + "Spacing", IdXSpacing + axis, labels[axis], helps[axis],
                       o.spacing[axis], ValCheckForm2, 0, 0, 0);
    list.Outdent();
    list.Outdent();
}

void VoGridder3::ShowSearchProps(VbPropList& list)
{
    RemoveIfPresent(list, IdSearchMin, IdSearchLast);
    const GriddingOptions& o = m_Options;
    if (o.searchType == SearchAllData)
        return;
    if (o.searchType == SearchSimple)
        list.AddDouble(Id(), Key("SearchRadius"), IdSearchRadius, "Radius",
                       "Radius of the search neighborhood (in data units).", o.radius, ValCheckNone, 0, 0, 0);
    else
        AddSearchEllipse(list);
    const bool general = o.searchType == SearchGeneral;
    list.AddInt(Id(), Key("SearchMin"), IdSearchMin, general ? "Min search count" : "Min count",
                "The minimum number of data in the search neighborhood.", o.minCount, ValCheckMinMax, 1,
                kMaxSearchCount, 1);
    list.AddInt(Id(), Key("SearchMax"), IdSearchMax, general ? "Max search count" : "Max count",
                "The maximum number of data in the search neighborhood.", o.maxCount, ValCheckMinMax, 1,
                kMaxSearchCount, 1);
}

void VoGridder3::AddSearchEllipse(VbPropList& list)
{
    const GriddingOptions& o = m_Options;
    const bool general = o.searchType == SearchGeneral;
    const char* const ellipse = general ? "Axes for the search ellipse" : "Axis lengths for the search ellipse.";
    list.AddHeader(Id(), IdSearchEllipse, "Search Ellipse", "Search", ellipse, ellipse);
    list.Indent();
    if (!general) {
        static const char* const labels[3] = {"X length", "Y length", "Z length"};
        for (int axis = 0; axis < 3; ++axis) {
            const shr::GString help = shr::GString("Length of the ") + kAxisLetters[axis] + "-axis for the search ellipse.";
            list.AddDouble(Id(), Key("Search") + kAxisLetters[axis] + "Length", IdSearchXLength + axis, labels[axis],
                           help.c_str(), o.searchLengths[axis], ValCheckForm3, 0, 0, 0);
        }
    } else {
        for (int a = 0; a < 3; ++a) {
            const int header = IdSearchFirstAxis + 4 * a;
            const shr::GString comment =
                shr::GString("The ") + kOrdinals[a] + " semi-axis of the search ellipse.";
            list.AddHeader(Id(), header, kAxisLabels[a], "Search", comment, comment);
            list.Indent();
            for (int c = 0; c < 3; ++c) {
                const shr::GString label(1, kAxisLetters[c]);
                const shr::GString help = label + " coordinate of the " + kOrdinals[a] + " semi-axis.";
                list.AddDouble(Id(), Key("Search") + kAxisNames[a] + "SemiAxis" + kAxisLetters[c], header + 1 + c,
                               label.c_str(), help.c_str(), o.searchAxes[a][c], ValCheckNone, 0, 0, 0);
            }
            list.Outdent();
        }
    }
    list.Outdent();
}

void VoGridder3::UpdateMethod(VbPropList& list)
{
    RemoveIfPresent(list, IdAniso, IdPolyPower);
    GriddingOptions& o = m_Options;
    // The polynomial weight needs distances within the unit ball, which an
    // all-data search does not give.
    if (o.method == MethodLocalPolynomial && o.searchType == SearchAllData) {
        o.searchType = SearchSimple;
        if (list.IsProp(IdSearchType)) {
            list.SetCombo(IdSearchType, o.searchType);
            list.SetInsertionPos(IdSearchType, -1, 0);
            ShowSearchProps(list);
            list.SetInsertionPos(-1, -1, 0);
        }
    }
    switch (o.method) {
    case MethodDataMetric:
        list.AddCombo(Id(), Key("Metric"), IdMetric, "Metric", "The data metric type.", o.metric, MetricLabels(), 0);
        break;
    case MethodInverseDistance:
        list.AddCombo(Id(), Key("Aniso"), IdAniso, "Anisotropy", "The anisotropy type to use.", o.anisotropyType,
                      "Isotropic", "Anisotropic", "General", nullptr);
        ShowAnisotropyProps(list);
        list.AddDouble(Id(), Key("DistancePower"), IdDistancePower, "Power",
                       "Exponent in the inverse distance weighting function.", o.distancePower, ValCheckForm2, 0, 0, 0);
        list.AddDouble(Id(), Key("DistanceSmooth"), IdDistanceSmooth, "Smooth", "Interpolation smoothing factor.",
                       o.distanceSmooth, ValCheckForm2, 0, 0, 0);
        break;
    case MethodLocalPolynomial:
        list.AddInt(Id(), Key("PolyOrder"), IdPolyOrder, "Order", "The local polynomial order for the interpolation.",
                    o.polynomialOrder, ValCheckMinMax, 0, 3, 1);
        list.AddDouble(Id(), Key("PolyPower"), IdPolyPower, "Power", "Exponent in the weighting function.",
                       o.polynomialPower, ValCheckForm2, 0, 0, 0);
        break;
    default: break;
    }
}

void VoGridder3::ShowAnisotropyProps(VbPropList& list)
{
    const GriddingOptions& o = m_Options;
    if (o.anisotropyType == Isotropic)
        return;
    const bool general = o.anisotropyType == GeneralAnisotropy;
    const char* const ellipse =
        general ? "Axes for the general anisotropy ellipse." : "Axis lengths for the axes-aligned anisotropy ellipse.";
    list.AddHeader(Id(), IdAnisoEllipse, "Ellipse", "General", ellipse, ellipse);
    list.Indent();
    if (!general) {
        static const char* const labels[3] = {"X length", "Y length", "Z length"};
        for (int axis = 0; axis < 3; ++axis) {
            const shr::GString help = shr::GString("Scale length along the ") + kAxisLetters[axis] + "-axis.";
            list.AddDouble(Id(), Key("Aniso") + kAxisLetters[axis] + "Length", IdAnisoXLength + axis, labels[axis],
                           help.c_str(), o.anisotropyLengths[axis], ValCheckForm3, 0, 0, 0);
        }
    } else {
        // Only the first of these texts ends in a period.
        static const char* const comments[3] = {"The first semi-axis of the anisotropy ellipse.",
                                                "The second semi-axis of the anisotropy ellipse",
                                                "The third semi-axis of the anisotropy ellipse"};
        for (int a = 0; a < 3; ++a) {
            const int header = IdAnisoFirstAxis + 4 * a;
            list.AddHeader(Id(), header, kAxisLabels[a], "General", comments[a], comments[a]);
            list.Indent();
            for (int c = 0; c < 3; ++c) {
                const shr::GString label(1, kAxisLetters[c]);
                list.AddDouble(Id(), Key("Aniso") + kAxisNames[a] + "SemiAxis" + kAxisLetters[c], header + 1 + c,
                               label.c_str(), "", o.anisotropyAxes[a][c], ValCheckNone, 0, 0, 0);
            }
            list.Outdent();
        }
    }
    list.Outdent();
}

void VoGridder3::UpdateSpacing(VbPropList& list, int axis)
{
    if (axis < 0 || axis > 2)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 2);
    GriddingOptions& o = m_Options;
    const double side = o.limits.max[axis] - o.limits.min[axis];
    if (side > 0.0 && o.resolution[axis] >= 2) {
        o.spacing[axis] = side / static_cast<double>(o.resolution[axis] - 1);
        list.SetNum(IdXSpacing + axis, o.spacing[axis]);
    }
    PropertyUtility::UpdateComment(IdSpacing, list, o.spacing);
}

void VoGridder3::UpdateCount(VbPropList& list, int axis)
{
    GriddingOptions& o = m_Options;
    const double side = o.limits.max[axis] - o.limits.min[axis];
    const double spacing = o.spacing[axis];
    if (side > 0.0 && spacing > 0.0 && side > spacing) {
        // One more node than intervals, rounded to nearest with a slight bias upwards.
        o.resolution[axis] = static_cast<uint32_t>(side / spacing + 1.50001);
        list.SetNum(IdResolution + 1 + axis, o.resolution[axis]);
    }
    UpdateResolutionComment(list);
    PropertyUtility::UpdateComment(IdSpacing, list, o.spacing);
}

void VoGridder3::UpdateLimitsComments(VbPropList& list) const
{
    for (int axis = 0; axis < 3; ++axis)
        PropertyUtility::UpdateComment(IdLimits + 3 * axis, list, m_Options.limits.min[axis],
                                       m_Options.limits.max[axis]);
}

void VoGridder3::UpdateResolutionComment(VbPropList& list) const
{
    const uint32_t* r = m_Options.resolution;
    PropertyUtility::UpdateComment(IdResolution, list, std::make_tuple(r[0], r[1], r[2]));
}

double* VoGridder3::DoubleField(int id)
{
    GriddingOptions& o = m_Options;
    if (id == IdSearchRadius)
        return &o.radius;
    if (id >= IdSearchXLength && id < IdSearchXLength + 3)
        return &o.searchLengths[id - IdSearchXLength];
    if (id > IdSearchFirstAxis && id <= IdSearchLast && (id - IdSearchFirstAxis) % 4 != 0)
        return &o.searchAxes[(id - IdSearchFirstAxis) / 4][(id - IdSearchFirstAxis) % 4 - 1];
    if (id >= IdAnisoXLength && id < IdAnisoXLength + 3)
        return &o.anisotropyLengths[id - IdAnisoXLength];
    if (id > IdAnisoFirstAxis && id < IdMetric && (id - IdAnisoFirstAxis) % 4 != 0)
        return &o.anisotropyAxes[(id - IdAnisoFirstAxis) / 4][(id - IdAnisoFirstAxis) % 4 - 1];
    if (id == IdDistancePower)
        return &o.distancePower;
    if (id == IdDistanceSmooth)
        return &o.distanceSmooth;
    if (id == IdPolyPower)
        return &o.polynomialPower;
    return nullptr;
}

int32_t* VoGridder3::IntField(int id)
{
    if (id == IdSearchMin)
        return &m_Options.minCount;
    if (id == IdSearchMax)
        return &m_Options.maxCount;
    if (id == IdPolyOrder)
        return &m_Options.polynomialOrder;
    return nullptr;
}

void VoGridder3::ReadLimit(VbPropList& list, int id)
{
    const int axis = (id - IdLimits) / 3;
    double& limit = (id - IdLimits) % 3 == 1 ? m_Options.limits.min[axis] : m_Options.limits.max[axis];
    list.GetValue(id, limit);
    UpdateLimitsComments(list);
    UpdateSpacing(list, axis);
}

void VoGridder3::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    GriddingOptions& o = m_Options;
    if (id == IdComponent) {
        list.GetValue(id, o.component);
        if (o.component != 0)
            --o.component;
    } else if (id == IdRecalculate) {
        CalcDefaults();
        UiProxy::Instance()->UpdatePropertyList(this, -1, true);
    } else if (id > IdLimits && id < IdResolution && (id - IdLimits) % 3 != 0) {
        ReadLimit(list, id);
    } else if (id > IdResolution && id < IdSpacing) {
        list.GetValue(id, o.resolution[id - IdResolution - 1]);
        UpdateResolutionComment(list);
        UpdateSpacing(list, id - IdResolution - 1);
    } else if (id >= IdXSpacing && id < IdXSpacing + 3) {
        list.GetValue(id, o.spacing[id - IdXSpacing]);
        UpdateCount(list, id - IdXSpacing);
    } else if (id == IdSearchType) {
        list.GetValue(id, o.searchType);
        list.SetInsertionPos(IdSearchHeader, -1, 0);
        ShowSearchProps(list);
        list.SetInsertionPos(-1, -1, 0);
    } else if (id == IdMethod || id == IdAniso) {
        list.GetValue(id, id == IdMethod ? o.method : o.anisotropyType);
        list.SetInsertionPos(IdMethodHeader, -1, 0);
        UpdateMethod(list);
        list.SetInsertionPos(-1, -1, 0);
    } else if (id == IdMetric) {
        list.GetValue(id, o.metric);
    } else if (double* value = DoubleField(id)) {
        list.GetValue(id, *value);
    } else if (int32_t* count = IntField(id)) {
        list.GetValue(id, *count);
    } else if (id == IdBeginGridding) {
        m_RunRequested = true;
    }
    SetModified();
}

void VoGridder3::RestoreProperties(VbPropList& list, const VbPropertyEvent& event)
{
    if (event.Id() != IdRecalculate) {
        VoModule::RestoreProperties(list, event);
        return;
    }
    const boost::any stored = list.AnyValue(IdOptions);
    if (const GriddingOptions* options = boost::any_cast<GriddingOptions>(&stored))
        m_Options = *options;
    UpdateLimitsComments(list);
    UpdateResolutionComment(list);
    SetModified();
}

} // namespace core
