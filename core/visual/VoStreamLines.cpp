#include "core/visual/VoStreamLines.h"

#include "core/data/VdGeometry.h"
#include "core/data/VdLattice.h"
#include "core/data/VdPoints.h"
#include "core/graphics/VgJackDragger.h"
#include "core/graphics/VgRenderer.h"
#include "core/network/CoreError.h"
#include "core/network/UiProxy.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/network/VoNetwork.h"
#include "core/properties/PropertyUtility.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorMapPropertyConverter.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbIntPropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/properties/VbVectorPropertyConverter.h"
#include "core/visual/PointSizes.h"
#include "core/visual/RowReader.h"
#include "core/visual/VectorReader.h"
#include "shr/Archive.h"
#include "shr/Mat4d.h"
#include "shr/Quat4d.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <iterator>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoStreamLines, VoModule)
const VbModuleInfo VoStreamLines::s_ModuleInfo("Graphics Output\\StreamLines", VoStreamLines::GetClassTypeId(),
                                               PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice,
                                               PortGeometry, "Displays streamlines from a vector lattice", 26);

namespace VoStreamLinesPrivate {

const unsigned char kUnsigned = VbUnsignedPropertyConverter::Key();
const unsigned char kInt = VbIntPropertyConverter::Key();
const unsigned char kDouble = VbDoublePropertyConverter::Key();
const unsigned char kBool = VbBoolPropertyConverter::Key();
const unsigned char kVector = VbVectorPropertyConverter::Key();

const VbPropertyRegistrar s_Registrars[] = {
    {"StreamLinesAutoStep", VoStreamLines::IdAutoStep, kBool},
    {"StreamLinesStepSize", VoStreamLines::IdStepSize, kDouble},
    {"StreamLinesNumSteps", VoStreamLines::IdNumSteps, kInt},
    {"StreamLinesMinVelocity", VoStreamLines::IdMinVelocity, kDouble},
    {"StreamLinesDirection", VoStreamLines::IdDirection, kUnsigned},
    {"StreamLinesStreamMethod", VoStreamLines::IdStreamMethod, kUnsigned},
    {"StreamLinesPointSize", VoStreamLines::IdPointSize, kDouble},
    {"StreamLinesSphereSize", VoStreamLines::IdSphereSize, kDouble},
    {"StreamLinesSphereQuality", VoStreamLines::IdSphereQuality, kDouble},
    {"StreamLinesLineWidth", VoStreamLines::IdLineWidth, kDouble},
    {"StreamLinesColorMethod", VoStreamLines::IdColorMethod, kUnsigned},
    {"StreamLinesColor", VoStreamLines::IdColor, VbColorPropertyConverter::Key()},
    {"StreamLinesColormap", VoStreamLines::IdColormap, VbColorMapPropertyConverter::Key()},
    {"StreamLinesSeedMethod", VoStreamLines::IdSeedMethod, kUnsigned},
    {"StreamLinesNumSeeds", VoStreamLines::IdNumSeeds, kInt},
    {"StreamLinesXNormal", VoStreamLines::IdXNormal, kDouble},
    {"StreamLinesYNormal", VoStreamLines::IdYNormal, kDouble},
    {"StreamLinesZNormal", VoStreamLines::IdZNormal, kDouble},
    {"StreamLinesXPos", VoStreamLines::IdXPos, kDouble},
    {"StreamLinesYPos", VoStreamLines::IdYPos, kDouble},
    {"StreamLinesZPos", VoStreamLines::IdZPos, kDouble},
    {"StreamLinesXScale", VoStreamLines::IdXScale, kDouble},
    {"StreamLinesYScale", VoStreamLines::IdYScale, kDouble},
    {"StreamLinesShowDragger", VoStreamLines::IdShowDragger, kBool},
    {"StreamLinesResetDragger", VoStreamLines::IdResetDragger, kBool},
    // Older documents and scripts set the seed plane a whole vector at a time.
    {"StreamLinesSeedPlaneNormal", VoStreamLines::IdNormalGroup, kVector},
    {"StreamLinesSeedPlanePos", VoStreamLines::IdCentreGroup, kVector},
    {"StreamLinesSeedPlaneScale", VoStreamLines::IdScaleGroup, kVector},
};
const char* const kPrefix = "StreamLines";
const VbLegend::KeyRegistrar s_LegendKeys(kPrefix, VoStreamLines::IdLegend);

const char* const kStreamMethodNames[] = {"Points", "Spheres", "Lines"};
const char* const kDirectionNames[] = {"Forward", "Backward", "Both"};
const char* const kColorMethodNames[] = {"Fixed", "Magnitude"};
const char* const kSeedMethodNames[] = {"Line", "Ring", "Square", "Point set"};
const char* const kAxisLabels[] = {"X", "Y", "Z"};

// From this document version on the seed plane is stored as vectors, no
// longer as a matrix.
constexpr int kSeedVectorsVersion = 109;

// A field whose largest magnitude is not above this has no direction to
// follow (the double epsilon); a normal not longer than the float epsilon has
// none either.
constexpr double kNoField = 2.220446049250313e-16;
constexpr double kNoNormal = 1.1920928955078125e-7;
constexpr double kSixth = 0.16666666666666666;
constexpr double kPi = 3.14159265358979323846;

// The seeds of the plane methods in the unit frame, -1 to 1 across.
std::vector<shr::Vec3d> UnitSeeds(uint32_t method, uint32_t n)
{
    std::vector<shr::Vec3d> seeds;
    const auto across = [n](uint32_t i) { return n == 1 ? 0.0 : -1.0 + 2.0 * i / (n - 1); };
    switch (method) {
    case VoStreamLines::SeedLine:
        for (uint32_t i = 0; i < n; ++i)
            seeds.emplace_back(across(i), 0.0, 0.0);
        break;
    case VoStreamLines::SeedRing:
        for (uint32_t i = 0; i < n; ++i) {
            const double a = i * 2.0 * kPi / n;
            seeds.emplace_back(std::cos(a), std::sin(a), 0.0);
        }
        break;
    default:
        for (uint32_t j = 0; j < n; ++j)
            for (uint32_t i = 0; i < n; ++i)
                seeds.emplace_back(across(i), across(j), 0.0);
        break;
    }
    return seeds;
}

shr::Quat4d Rotation(const shr::Vec3d& from, const shr::Vec3d& to)
{
    shr::Quat4d q;
    q.Set(from, to);
    return q;
}

// The stored fields, read whole before the module takes any of them.
struct StoredFields {
    uint32_t streamMethod = 0;
    float pointSize = 3.0f, lineWidth = 1.5f;
    double sphereSize = 0.0, sphereQuality = 0.0;
    bool autoStep = true;
    double stepInterval = 1.0, stepReserved = 0.0;
    uint32_t numSteps = 0, direction = 0;
    double minVelocity = 0.0;
    uint32_t colorMethod = 0;
    shr::Color4b fixedColor;
    uint32_t seedMethod = 0, numSeeds = 0;
    double magnitudeMin = 0.0, magnitudeMax = 1.0;
    uint32_t vectorComponents = 3;
    bool showDragger = false;
    shr::Box3d dataBox;
    shr::Vec3d seedScale, seedNormal, seedCentre;
    std::vector<shr::Vec3d> seeds;
    VbColorMap colorMap;
    VbLegend legend;
};

double UnitScale(const shr::Box3d& box)
{
    const shr::Vec3d size = box.Size();
    return 0.5 * std::max(size.x, size.y);
}

// Older documents kept the seed plane as a position and the matrix that took
// the unit seeds to it: the normal is where the matrix turns +Z, the scale
// factors its scale over the box's unit scale. The position is superseded by
// the seed centre that follows.
void TransferSeedPlane(shr::Archive& archive, StoredFields& f)
{
    if (archive.IsStoring() || archive.GetVersion() >= kSeedVectorsVersion) {
        archive.Transfer(f.seedScale);
        archive.Transfer(f.seedNormal);
        return;
    }
    shr::Vec3d position;
    shr::Mat4d matrix;
    archive.Transfer(position);
    archive.Transfer(matrix);
    shr::Vec3d translation, scale;
    shr::Quat4d rotation, orientation;
    matrix.GetTransform(translation, rotation, scale, orientation);
    f.seedNormal = rotation.MultVec(shr::Vec3d::UNIT_Z);
    const double unit = UnitScale(f.dataBox);
    f.seedScale = unit > 0.0 ? shr::Vec3d(scale.x / unit, scale.y / unit, 1.0) : shr::Vec3d(0.9, 0.9, 1.0);
}

void TransferSeeds(shr::Archive& archive, std::vector<shr::Vec3d>& seeds)
{
    uint32_t count = static_cast<uint32_t>(seeds.size());
    archive.Transfer(count);
    if (archive.IsLoading()) {
        const uint64_t limit = uint64_t(VoStreamLines::MaxSeeds) * VoStreamLines::MaxSeeds;
        if (count > limit)
            archive.ThrowFormatError("%u stream line seeds, more than %llu", count,
                                     static_cast<unsigned long long>(limit));
        archive.CheckCount(count, 3 * sizeof(double));
        seeds.resize(count);
    }
    for (shr::Vec3d& seed : seeds)
        archive.Transfer(seed);
}

void TransferFields(shr::Archive& archive, StoredFields& f)
{
    archive.Transfer(f.streamMethod);
    TransferPointSizes(archive, f.pointSize, f.lineWidth);
    archive.Transfer(f.sphereSize);
    archive.Transfer(f.sphereQuality);
    archive.Transfer(f.autoStep);
    archive.Transfer(f.stepInterval);
    archive.Transfer(f.stepReserved);
    archive.Transfer(f.numSteps);
    archive.Transfer(f.direction);
    archive.Transfer(f.minVelocity);
    archive.Transfer(f.colorMethod);
    archive.Transfer(f.fixedColor);
    archive.Transfer(f.seedMethod);
    archive.Transfer(f.numSeeds);
    archive.Transfer(f.magnitudeMin);
    archive.Transfer(f.magnitudeMax);
    archive.Transfer(f.vectorComponents);
    archive.Transfer(f.showDragger);
    archive.Transfer(f.dataBox);
    TransferSeedPlane(archive, f);
    archive.Transfer(f.seedCentre);
    TransferSeeds(archive, f.seeds);
    f.colorMap.Serialize(archive);
    f.legend.Serialize(archive);
}

bool Within(double value, double lo, double hi) { return value >= lo && value <= hi; }

// What the rows could never have set is a damaged document.
void CheckLoaded(const shr::Archive& archive, const StoredFields& f)
{
    if (f.streamMethod > VoStreamLines::Lines || f.direction > VoStreamLines::Both ||
        f.colorMethod > VoStreamLines::Magnitude || f.seedMethod > VoStreamLines::SeedPointSet ||
        f.vectorComponents > 3)
        archive.ThrowFormatError("stream line choice out of range (%u %u %u %u %u)", f.streamMethod, f.direction,
                                 f.colorMethod, f.seedMethod, f.vectorComponents);
    if (f.numSteps < 1 || f.numSteps > uint32_t(VoStreamLines::MaxSteps) || f.numSeeds < 1 ||
        f.numSeeds > uint32_t(VoStreamLines::MaxSeeds))
        archive.ThrowFormatError("stream line counts out of range (%u steps, %u seeds)", f.numSteps, f.numSeeds);
    if (!(f.stepInterval > 0.0) || !Within(f.minVelocity, 0.0, DBL_MAX) || !Within(f.sphereSize, 0.0, 1.0) ||
        !Within(f.sphereQuality, 0.0, 1.0) || !Within(f.pointSize, 0.0, VoStreamLines::MaxPointSize) ||
        !Within(f.lineWidth, 0.0, VoStreamLines::MaxLineWidth))
        archive.ThrowFormatError("stream line step, velocity or size out of range");
}

// Scale rows X and Y; Z stays as it is.
const int kScaleRows = 2;

} // namespace VoStreamLinesPrivate

using namespace VoStreamLinesPrivate;

VoStreamLines::VoStreamLines() : m_ColorMap(nullptr, 0, 256), m_Legend(&m_ColorMap)
{
    AddInput("Input Lattice", PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice);
    AddInput("Seed Points", PortPoints);
    AddOutput("Output Geometry", PortGeometry)->Data(new VdGeometry(this, false));
}

VoStreamLines::~VoStreamLines()
{
    if (const std::shared_ptr<VgJackDragger> dragger = std::atomic_load(&m_Dragger))
        dragger->RemoveCallback();
}

bool VoStreamLines::CompatibleImpl(int, const VoModule& source, int output, bool) const
{
    return output >= 0 && source.GetOutput(static_cast<size_t>(output)) != nullptr;
}

const VdLattice* VoStreamLines::InputLattice() const
{
    return static_cast<const VdLattice*>(GetInputData(0, VdLattice::GetClassTypeId()));
}

const VdPoints* VoStreamLines::InputSeedPoints() const
{
    return static_cast<const VdPoints*>(GetInputData(1, VdPoints::GetClassTypeId()));
}

std::shared_ptr<const VgJackDragger> VoStreamLines::Dragger() const { return std::atomic_load(&m_Dragger); }

// ---- input and defaults ----------------------------------------------------------------------

void VoStreamLines::OnInputChanged(int input, bool)
{
    const VdLattice* lattice = InputLattice();
    if (input != 0 || !lattice)
        return;
    m_VectorComponents = std::min(3u, lattice->ComponentCount());
    ComputeMagnitudeLimits();
    UpdateColorMapDataLimits();
    const shr::Box3d box = lattice->GetUVWBounds();
    if (!(box == m_DataBox)) {
        m_DataBox = box;
        InitSeedTransform(nullptr);
    }
    if (m_AutoStep)
        CalcAutoStepSize();
}

void VoStreamLines::ComputeMagnitudeLimits()
{
    const VdLattice* lattice = InputLattice();
    if (!lattice || lattice->VertexCount() == 0)
        return;
    const std::pair<double, double> limits = VectorReader(*lattice).MagnitudeLimits();
    m_MagnitudeMin = limits.first;
    m_MagnitudeMax = limits.second;
}

void VoStreamLines::UpdateColorMapDataLimits() { m_ColorMap.SetDataLimits(m_MagnitudeMin, m_MagnitudeMax); }

void VoStreamLines::CalcAutoStepSize()
{
    if (!InputLattice() || !(m_MagnitudeMax > 0.0))
        return;
    const double meanSpeed = (m_MagnitudeMin + m_MagnitudeMax) * 0.5;
    const double step = m_DataBox.Diagonal() * 2.0 / (meanSpeed * m_NumSteps);
    // An empty box has no diagonal, and no step to take.
    if (step > 0.0)
        m_StepInterval = step;
}

double VoStreamLines::GetUnitScale() const { return UnitScale(m_DataBox); }

void VoStreamLines::InitSeedTransform(VbPropList* list)
{
    m_SeedCentre = m_DataBox.Center();
    m_SeedNormal = shr::Vec3d(0.0, 0.0, 1.0);
    m_SeedScale = shr::Vec3d(0.9, 0.9, 1.0);
    if (list)
        ShowSeedPlane(*list);
}

// ---- tracing ---------------------------------------------------------------------------------

bool VoStreamLines::Interpolate(const VdLattice& lattice, const shr::Vec3d& p, shr::Vec3d& out) const
{
    out = shr::Vec3d(0.0, 0.0, 0.0);
    if (m_VectorComponents == 0 || m_VectorComponents > lattice.ComponentCount())
        return false;
    return lattice.Interpolate(VdLattice::INTERP_LINEAR, lattice.UVWToXYZ(p), &out.x, 0, m_VectorComponents) == 0;
}

shr::Color4b VoStreamLines::SpeedColor(double speed) const
{
    return m_ColorMap.PosToColor(m_ColorMap.DatToPos(speed));
}

void VoStreamLines::InterpStreamLine(const VdLattice& lattice, std::vector<shr::Vec3d>& points,
                                     std::vector<shr::Color4b>& colors, const shr::Vec3d& seed, double step) const
{
    const bool colored = m_ColorMethod == Magnitude;
    shr::Vec3d v;
    if (!Interpolate(lattice, seed, v) || v.Length() < m_MinVelocity)
        return;
    points.push_back(seed);
    if (colored)
        colors.push_back(SpeedColor(v.Length()));
    const double perTime = 1.0 / std::fabs(step);
    shr::Vec3d p = seed;
    for (uint32_t n = 0; n < m_NumSteps; ++n) {
        const shr::Vec3d k1 = v * step;
        if (!Interpolate(lattice, p + k1 * 0.5, v))
            break;
        const shr::Vec3d k2 = v * step;
        if (!Interpolate(lattice, p + k2 * 0.5, v))
            break;
        const shr::Vec3d k3 = v * step;
        if (!Interpolate(lattice, p + k3, v))
            break;
        const shr::Vec3d k4 = v * step;
        const shr::Vec3d d = (k1 + k2 * 2.0 + k3 * 2.0 + k4) * kSixth;
        const double speed = d.Length() * perTime;
        // A particle that no longer moves ends its path too: otherwise a
        // stagnation point would repeat itself for every remaining step.
        if (speed < m_MinVelocity || !(speed > 0.0))
            break;
        p = p + d;
        if (!Interpolate(lattice, p, v))
            break;
        points.push_back(p);
        if (colored)
            colors.push_back(SpeedColor(speed));
    }
}

void VoStreamLines::InterpStreamLine(std::vector<shr::Vec3d>& points, std::vector<shr::Color4b>& colors,
                                     const shr::Vec3d& seed) const
{
    points.clear();
    colors.clear();
    const VdLattice* lattice = InputLattice();
    if (!lattice || !(m_StepInterval > 0.0))
        return;
    if (m_Direction == Forward) {
        InterpStreamLine(*lattice, points, colors, seed, m_StepInterval);
        return;
    }
    InterpStreamLine(*lattice, points, colors, seed, -m_StepInterval);
    if (m_Direction == Backward || points.empty())
        return;
    // Backward end first, through the seed (once) to the forward end.
    std::reverse(points.begin(), points.end());
    points.pop_back();
    if (!colors.empty()) {
        std::reverse(colors.begin(), colors.end());
        colors.pop_back();
    }
    InterpStreamLine(*lattice, points, colors, seed, m_StepInterval);
}

void VoStreamLines::GenerateSeedPoints()
{
    m_Seeds.clear();
    if (m_SeedMethod == SeedPointSet) {
        const VdPoints* points = InputSeedPoints();
        if (!InputLattice() || !points)
            CORE_THROW(35);
        const uint32_t count = std::min(m_NumSeeds, points->VertexCount());
        for (uint32_t i = 0; i < count; ++i)
            m_Seeds.push_back(VectorReader::PointXYZ(*points, i));
        return;
    }
    m_Seeds = UnitSeeds(m_SeedMethod, m_NumSeeds);
    shr::Mat4d frame;
    frame.SetTransform(m_SeedCentre, Rotation(shr::Vec3d::UNIT_Z, m_SeedNormal), m_SeedScale * GetUnitScale());
    if (frame.GetType() != shr::Mat4d::Identity)
        frame.Transform(m_Seeds.data(), m_Seeds.data(), m_Seeds.size());
}

// ---- execution -------------------------------------------------------------------------------

VoModule::ModuleStatus VoStreamLines::ExecuteImpl(std::shared_ptr<VgRenderer> renderer)
{
    std::unique_ptr<VgStateScope> scope;
    if (renderer)
        scope = std::make_unique<VgStateScope>(*renderer, OutputGeometry(0));
    m_Paths.clear();
    m_PathCounts.clear();
    const VdLattice* lattice = InputLattice();
    if (!lattice || !(m_MagnitudeMax > kNoField))
        return ModuleOk;
    if (m_SeedNormal.Length() < kNoNormal)
        CORE_THROW(45);
    GenerateSeedPoints();
    if (m_Seeds.empty())
        return ModuleOk;
    std::atomic_store(&m_Dragger, std::shared_ptr<VgJackDragger>());
    if (!renderer)
        return TraceSeeds(*lattice) ? ModuleOk : ModuleAborted;
    if (m_ShowDragger)
        AddDragger(*renderer, *lattice);
    if (m_ColorMethod == Fixed)
        renderer->setBaseColor(m_FixedColor);
    bool done = false;
    switch (m_StreamMethod) {
    case Points: done = CreateStreamPoints(*renderer, *lattice); break;
    case Spheres: done = CreateStreamSpheres(*renderer, *lattice); break;
    default: done = CreateStreamLines(*renderer, *lattice); break;
    }
    if (!done)
        return ModuleAborted;
    if (m_ColorMethod == Magnitude)
        m_Legend.Execute(*renderer);
    return ModuleOk;
}

// The jack in the lattice's frame (the scene offset, then the lattice's
// transform), and the seeds it places, marked in lime.
void VoStreamLines::AddDragger(VgRenderer& renderer, const VdLattice& lattice)
{
    auto dragger = std::make_shared<VgJackDragger>();
    dragger->SetTranslation(m_SeedCentre);
    dragger->SetScale(m_SeedScale * GetUnitScale());
    dragger->SetRotation(Rotation(shr::Vec3d::UNIT_Y, m_SeedNormal));
    dragger->Callback(&VoStreamLines::DraggerCallback, this);
    std::atomic_store(&m_Dragger, dragger);

    renderer.UpdateTransform(m_DataBox, lattice.GetUserTransform());
    {
        const VgStateScope offset(renderer, VgRenderer::TRANSFORM_SEPARATOR);
        const SceneTransform& scene = renderer.Transform();
        renderer.multTransform(shr::Mat4d::MakeTranslation(scene.XTransform(), scene.YTransform(), 0.0));
        std::unique_ptr<VgStateScope> frame;
        if (lattice.HasUserTransform()) {
            frame = std::make_unique<VgStateScope>(renderer, VgRenderer::TRANSFORM_SEPARATOR);
            renderer.multTransform(lattice.GetUserTransform());
        }
        renderer.setPickStyle(VgRenderer::PICK_SHAPE);
        renderer.addDragger(*dragger);
        renderer.setPickStyle(VgRenderer::UNPICKABLE);
    }
    VgVertexData marks;
    for (const shr::Vec3d& seed : m_Seeds)
        marks.vertices.push_back(lattice.UVWToXYZ(seed));
    renderer.setPointSize(3.0);
    renderer.setBaseColor(shr::Color4b::Lime);
    renderer.drawPointSet(marks);
}

bool VoStreamLines::TraceSeeds(const VdLattice& lattice)
{
    m_Paths.clear();
    m_PathCounts.clear();
    const bool colored = m_ColorMethod == Magnitude;
    m_Paths.materialBinding = colored ? VgVertexData::PER_VERTEX : VgVertexData::OVERALL;
    VbProgress progress("Compute the streamlines.", 0, 500, 500);
    std::vector<shr::Vec3d> points;
    std::vector<shr::Color4b> colors;
    for (size_t s = 0; s < m_Seeds.size(); ++s) {
        if (!progress.Update(double(s) / double(m_Seeds.size())))
            return false;
        InterpStreamLine(points, colors, m_Seeds[s]);
        if (points.empty())
            continue;
        m_Paths.vertices.insert(m_Paths.vertices.end(), points.begin(), points.end());
        if (colored)
            m_Paths.colors.insert(m_Paths.colors.end(), colors.begin(), colors.end());
        m_PathCounts.push_back(static_cast<int>(points.size()));
    }
    if (lattice.HasUserTransform())
        lattice.GetUserTransform().Transform(m_Paths.vertices.data(), m_Paths.vertices.data(),
                                             m_Paths.vertices.size());
    return true;
}

bool VoStreamLines::CreateStreamPoints(VgRenderer& renderer, const VdLattice& lattice)
{
    if (!TraceSeeds(lattice))
        return false;
    renderer.setPointSize(m_PointSize);
    renderer.drawPointSet(m_Paths);
    return true;
}

// One sphere node serves every point; the point size row carries the line
// width, as it always has.
bool VoStreamLines::CreateStreamSpheres(VgRenderer& renderer, const VdLattice& lattice)
{
    renderer.setComplexity(m_SphereQuality, VgRenderer::SCREEN_SPACE);
    if (!TraceSeeds(lattice))
        return false;
    renderer.setPointSize(m_LineWidth);
    renderer.drawMarkerSet(m_Paths, VgRenderer::SPHERE, m_DataBox.Diagonal() * m_SphereSize * 0.05);
    return true;
}

bool VoStreamLines::CreateStreamLines(VgRenderer& renderer, const VdLattice& lattice)
{
    if (!TraceSeeds(lattice))
        return false;
    renderer.setLineWidth(m_LineWidth);
    renderer.drawLineStripSet(m_Paths, m_PathCounts.data(), m_PathCounts.size());
    return true;
}

// ---- the dragger -----------------------------------------------------------------------------

void VoStreamLines::DraggerCallback(VgDragger::Event event, const VgDragger* sender, void* data)
{
    auto* self = static_cast<VoStreamLines*>(data);
    if (!self)
        return;
    if (event == VgDragger::FINISHED) {
        if (self->m_DraggerChanged) {
            self->m_DraggerChanged = false;
            self->SetModified();
        }
        return;
    }
    VoNetwork::Instance().AbortIfBusy(true);
    const auto* jack = dynamic_cast<const VgJackDragger*>(sender);
    if (!jack || !std::atomic_load(&self->m_Dragger))
        return;
    self->m_SeedCentre = jack->Translation();
    // A box without extent has no unit to divide by: the scale stays.
    const double unit = self->GetUnitScale();
    if (unit > 0.0)
        self->m_SeedScale = jack->Scale() * (1.0 / unit);
    self->m_SeedNormal = jack->Rotation().MultVec(shr::Vec3d::UNIT_Y);
    self->m_DraggerChanged = true;
    UiProxy::Instance()->UpdatePropertyList(self, self->DraggerEventId(), true);
}

// ---- properties ------------------------------------------------------------------------------

void VoStreamLines::UpdatePropertiesImpl(VbPropList& list)
{
    AddGeneralRows(list);
    AddRenderingRows(list);
    m_Legend.GetProperties(Id(), list, kPrefix, IdLegend, "Legend", "Legend");
    UpdateColorMethod(list);
    AddSeedRows(list);
}

void VoStreamLines::AddGeneralRows(VbPropList& list)
{
    const VoModule* lattice = GetInputConnection(0, 0);
    const VoModule* seeds = GetInputConnection(1, 0);
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), IdInput, "Input lattice", "The vector lattice this module is connected to.",
                   lattice ? lattice->Name().c_str() : "Nothing");
    list.AddStatic(Id(), IdSeedInput, "Input seed points", "The point set that seeds the streamlines.",
                   seeds ? seeds->Name().c_str() : "Nothing");
    list.AddCheck(Id(), "StreamLinesAutoStep", IdAutoStep, "AutoCalc step interval",
                  "Derive the step interval from the size of the lattice and the speeds in it.", m_AutoStep);
    list.AddDouble(Id(), "StreamLinesStepSize", IdStepSize, "Step interval",
                   "The distance between steps as measured along the streamline.", m_StepInterval, ValCheckMinMax,
                   DBL_MIN, DBL_MAX, 0.0);
    list.Enabled(IdStepSize, !m_AutoStep);
    list.AddInt(Id(), "StreamLinesNumSteps", IdNumSteps, "Number of steps",
                "The number of steps to trace the streamline.", int(m_NumSteps), ValCheckMinMax, 1, MaxSteps, 10);
    list.AddDouble(Id(), "StreamLinesMinVelocity", IdMinVelocity, "Minimum velocity",
                   "Stop the current streamline if the velocity field is less than this value.", m_MinVelocity,
                   ValCheckMinMax, 0.0, DBL_MAX, 0.0);
    list.Outdent();
}

void VoStreamLines::AddRenderingRows(VbPropList& list)
{
    list.AddHeader(Id(), IdRendering, "Rendering", "Rendering", "", "");
    list.Indent();
    list.AddCombo(Id(), "StreamLinesDirection", IdDirection, "Direction", "The direction to trace from each seed.",
                  m_Direction, std::size(kDirectionNames), const_cast<const char**>(kDirectionNames), 0);
    list.AddCombo(Id(), "StreamLinesStreamMethod", IdStreamMethod, "Type", "How the streamlines are drawn.",
                  m_StreamMethod, std::size(kStreamMethodNames), const_cast<const char**>(kStreamMethodNames), 0);
    list.AddDouble(Id(), "StreamLinesPointSize", IdPointSize, "Point size", "The size of the points, in pixels.",
                   m_PointSize, ValCheckMinMax, 0.0, MaxPointSize, 1.0);
    list.AddDouble(Id(), "StreamLinesSphereSize", IdSphereSize, "Sphere size",
                   "The sphere radius, relative to the size of the lattice.", m_SphereSize, ValCheckMinMax, 0.0, 1.0,
                   0.1);
    list.AddDouble(Id(), "StreamLinesSphereQuality", IdSphereQuality, "Sphere quality",
                   "0.0 draws coarse spheres, 1.0 smooth ones.", m_SphereQuality, ValCheckMinMax, 0.0, 1.0, 0.1);
    list.AddDouble(Id(), "StreamLinesLineWidth", IdLineWidth, "Line width (points)", "The width of the lines.",
                   m_LineWidth, ValCheckMinMax, 0.0, MaxLineWidth, 0.5);
    UpdateStreamMethod(list);
    list.AddCombo(Id(), "StreamLinesColorMethod", IdColorMethod, "Color method", "How the streamlines are colored.",
                  m_ColorMethod, std::size(kColorMethodNames), const_cast<const char**>(kColorMethodNames), 0);
    list.AddColor(Id(), "StreamLinesColor", IdColor, "Color", "Color of the vectors.", m_FixedColor);
    list.AddColorMap(Id(), "StreamLinesColormap", IdColormap, "Colormap", "Maps the vector magnitude to color.",
                     m_ColorMap, nullptr, false);
    list.Outdent();
}

void VoStreamLines::AddSeedRows(VbPropList& list)
{
    list.AddHeader(Id(), IdSeeds, "Seeds", "Seeds", "", "");
    list.Indent();
    list.AddCombo(Id(), "StreamLinesSeedMethod", IdSeedMethod, "Seed method", "Where the streamlines start.",
                  m_SeedMethod, std::size(kSeedMethodNames), const_cast<const char**>(kSeedMethodNames), 0);
    list.AddInt(Id(), "StreamLinesNumSeeds", IdNumSeeds, "Number of seeds",
                "The number of seeds (on each side for 'Square').", int(m_NumSeeds), ValCheckMinMax, 1, MaxSeeds, 1);
    list.AddHeader(Id(), IdSeedPlane, "Seed Plane", "Seed Plane", "", "");
    list.Indent();
    const struct {
        int group;
        const char* label;
        const char* keys[3];
        int rows;
        const shr::Vec3d& value;
    } groups[] = {
        {IdNormalGroup, "Normal Direction", {"StreamLinesXNormal", "StreamLinesYNormal", "StreamLinesZNormal"}, 3,
         m_SeedNormal},
        {IdCentreGroup, "Center Position", {"StreamLinesXPos", "StreamLinesYPos", "StreamLinesZPos"}, 3, m_SeedCentre},
        {IdScaleGroup, "Scale Factors", {"StreamLinesXScale", "StreamLinesYScale", nullptr}, kScaleRows, m_SeedScale},
    };
    for (const auto& g : groups) {
        list.AddHeader(Id(), g.group, g.label, "Seed Plane", "", "");
        list.Indent();
        for (int axis = 0; axis < g.rows; ++axis)
            list.AddDouble(Id(), g.keys[axis], g.group + 1 + axis, kAxisLabels[axis], "", g.value[size_t(axis)],
                           ValCheckNone, 0.0, 0.0, 0.0);
        list.Outdent();
    }
    list.AddCheck(Id(), "StreamLinesShowDragger", IdShowDragger, "Show dragger",
                  "Show the seed probe dragger.  Use the dragger to orient the seed points.", m_ShowDragger);
    list.AddButton(Id(), "StreamLinesResetDragger", IdResetDragger, "Reset dragger",
                   "Reset the seed points to the XY plane at the center of the lattice.", "Reset");
    list.Outdent();
    list.Outdent();
    ShowSeedPlane(list);
    EnableSeedPlane(list);
}

void VoStreamLines::EnableSeedPlane(VbPropList& list) const
{
    for (int id = IdSeedPlane; id <= IdResetDragger; ++id)
        if (list.IsProp(id))
            list.Enabled(id, m_SeedMethod != SeedPointSet);
}

void VoStreamLines::ShowSeedPlane(VbPropList& list) const
{
    for (int axis = 0; axis < 3; ++axis) {
        list.SetNum(IdXNormal + axis, m_SeedNormal[size_t(axis)]);
        list.SetNum(IdXPos + axis, m_SeedCentre[size_t(axis)]);
        if (axis < kScaleRows)
            list.SetNum(IdXScale + axis, m_SeedScale[size_t(axis)]);
    }
    PropertyUtility::UpdateComment(IdNormalGroup, list, m_SeedNormal);
}

void VoStreamLines::UpdateStreamMethod(VbPropList& list) const
{
    list.Visible(IdPointSize, m_StreamMethod == Points);
    list.Visible(IdSphereSize, m_StreamMethod == Spheres);
    list.Visible(IdSphereQuality, m_StreamMethod == Spheres);
    list.Visible(IdLineWidth, m_StreamMethod == Lines);
}

void VoStreamLines::UpdateColorMethod(VbPropList& list)
{
    list.Visible(IdColor, m_ColorMethod == Fixed);
    list.Visible(IdColormap, m_ColorMethod == Magnitude);
    m_Legend.Enabled(list, IdLegend, m_ColorMethod == Magnitude);
}

void VoStreamLines::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    if (id >= IdLegend && id < IdLegend + VbLegend::RowCount) {
        m_Legend.PropertyEvent(Id(), list, event, IdLegend);
        SetModified();
        return;
    }
    switch (id) {
    case IdAutoStep:
        list.GetValue(id, m_AutoStep);
        if (m_AutoStep) {
            CalcAutoStepSize();
            list.SetNum(IdStepSize, m_StepInterval);
        }
        list.Enabled(IdStepSize, !m_AutoStep);
        break;
    case IdStepSize: {
        double step = m_StepInterval;
        list.GetValue(id, step);
        if (step > 0.0 && step <= DBL_MAX)
            m_StepInterval = step;
        list.SetNum(id, m_StepInterval);
        m_AutoStep = false;
        if (list.IsProp(IdAutoStep))
            list.SetCheck(IdAutoStep, false);
        break;
    }
    case IdNumSteps: {
        int steps = int(m_NumSteps);
        RowReader::Clamped(list, id, 1, MaxSteps, steps);
        m_NumSteps = uint32_t(steps);
        if (m_AutoStep) {
            CalcAutoStepSize();
            if (list.IsProp(IdStepSize))
                list.SetNum(IdStepSize, m_StepInterval);
        }
        break;
    }
    case IdMinVelocity: RowReader::Clamped(list, id, 0.0, DBL_MAX, m_MinVelocity); break;
    case IdDirection: RowReader::Choice(list, id, Both + 1, m_Direction); break;
    case IdStreamMethod:
        RowReader::Choice(list, id, Lines + 1, m_StreamMethod);
        UpdateStreamMethod(list);
        break;
    case IdPointSize: RowReader::Clamped(list, id, 0.0, MaxPointSize, m_PointSize); break;
    case IdSphereSize: RowReader::Clamped(list, id, 0.0, 1.0, m_SphereSize); break;
    case IdSphereQuality: RowReader::Clamped(list, id, 0.0, 1.0, m_SphereQuality); break;
    case IdLineWidth: RowReader::Clamped(list, id, 0.0, MaxLineWidth, m_LineWidth); break;
    case IdColorMethod:
        RowReader::Choice(list, id, Magnitude + 1, m_ColorMethod);
        UpdateColorMethod(list);
        break;
    case IdColor: list.GetValue(id, m_FixedColor); break;
    case IdColormap:
        list.GetValue(id, m_ColorMap);
        UpdateColorMapDataLimits();
        break;
    case IdSeedMethod:
        RowReader::Choice(list, id, SeedPointSet + 1, m_SeedMethod);
        EnableSeedPlane(list);
        break;
    case IdNumSeeds: {
        int seeds = int(m_NumSeeds);
        RowReader::Clamped(list, id, 1, MaxSeeds, seeds);
        m_NumSeeds = uint32_t(seeds);
        break;
    }
    case IdXNormal:
    case IdYNormal:
    case IdZNormal:
        RowReader::Clamped(list, id, -DBL_MAX, DBL_MAX, m_SeedNormal[size_t(id - IdXNormal)]);
        PropertyUtility::UpdateComment(IdNormalGroup, list, m_SeedNormal);
        break;
    case IdXPos:
    case IdYPos:
    case IdZPos: RowReader::Clamped(list, id, -DBL_MAX, DBL_MAX, m_SeedCentre[size_t(id - IdXPos)]); break;
    case IdXScale:
    case IdYScale: RowReader::Clamped(list, id, -DBL_MAX, DBL_MAX, m_SeedScale[size_t(id - IdXScale)]); break;
    case IdShowDragger: list.GetValue(id, m_ShowDragger); break;
    case IdResetDragger: InitSeedTransform(&list); break;
    default: return;
    }
    SetModified();
}

void VoStreamLines::RestoreProperties(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    const shr::Vec3d* vector = boost::any_cast<shr::Vec3d>(&event.Data());
    if (!vector || (id != IdNormalGroup && id != IdCentreGroup && id != IdScaleGroup)) {
        PropertyEvent(list, event);
        return;
    }
    shr::Vec3d& target = id == IdNormalGroup ? m_SeedNormal : id == IdCentreGroup ? m_SeedCentre : m_SeedScale;
    target = *vector;
    if (list.IsProp(IdXNormal))
        ShowSeedPlane(list);
    SetModified();
}

// ---- persistence -----------------------------------------------------------------------------

void VoStreamLines::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    StoredFields f;
    if (archive.IsStoring()) {
        f = {m_StreamMethod, m_PointSize,   m_LineWidth,    m_SphereSize,  m_SphereQuality, m_AutoStep,
             m_StepInterval, m_StepReserved, m_NumSteps,    m_Direction,   m_MinVelocity,   m_ColorMethod,
             m_FixedColor,   m_SeedMethod,  m_NumSeeds,     m_MagnitudeMin, m_MagnitudeMax, m_VectorComponents,
             m_ShowDragger,  m_DataBox,     m_SeedScale,    m_SeedNormal,  m_SeedCentre,    m_Seeds,
             m_ColorMap,     m_Legend};
        TransferFields(archive, f);
        return;
    }
    TransferFields(archive, f);
    CheckLoaded(archive, f);
    m_StreamMethod = f.streamMethod;
    m_PointSize = f.pointSize;
    m_LineWidth = f.lineWidth;
    m_SphereSize = f.sphereSize;
    m_SphereQuality = f.sphereQuality;
    m_AutoStep = f.autoStep;
    m_StepInterval = f.stepInterval;
    m_StepReserved = f.stepReserved;
    m_NumSteps = f.numSteps;
    m_Direction = f.direction;
    m_MinVelocity = f.minVelocity;
    m_ColorMethod = f.colorMethod;
    m_FixedColor = f.fixedColor;
    m_SeedMethod = f.seedMethod;
    m_NumSeeds = f.numSeeds;
    m_MagnitudeMin = f.magnitudeMin;
    m_MagnitudeMax = f.magnitudeMax;
    m_VectorComponents = f.vectorComponents;
    m_ShowDragger = f.showDragger;
    m_DataBox = f.dataBox;
    m_SeedScale = f.seedScale;
    m_SeedNormal = f.seedNormal;
    m_SeedCentre = f.seedCentre;
    m_Seeds = std::move(f.seeds);
    m_ColorMap = f.colorMap;
    m_Legend = f.legend;
    m_Legend.SetColorMap(&m_ColorMap);
}

} // namespace core
