#include "core/processing/VoSampleLattice.h"

#include "core/data/MemoryBudget.h"
#include "core/data/VdUniformLattice.h"
#include "core/network/CoreError.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/processing/DataInfoRows.h"
#include "core/processing/ExpressionLattice.h"
#include "core/properties/PropertyUtility.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <tbb/blocked_range3d.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <tuple>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoSampleLattice, VoModule)

const VbModuleInfo VoSampleLattice::s_ModuleInfo("Data Source\\TestLattice", VoSampleLattice::GetClassTypeId(), 0,
                                                 PortUniformLattice, "Generates various lattices for testing", 13);

namespace VoSampleLatticePrivate {

const unsigned char kDouble = VbDoublePropertyConverter::Key();
const unsigned char kUnsigned = VbUnsignedPropertyConverter::Key();

const VbPropertyRegistrar s_Registrars[] = {
    {"SampleLatticeFunction", VoSampleLattice::IdFunction, kUnsigned},
    {"SampleLatticeOutType", VoSampleLattice::IdOutType, kUnsigned},
    {"SampleLatticeXMin", VoSampleLattice::IdLimits + 1, kDouble},
    {"SampleLatticeXMax", VoSampleLattice::IdLimits + 2, kDouble},
    {"SampleLatticeYMin", VoSampleLattice::IdLimits + 4, kDouble},
    {"SampleLatticeYMax", VoSampleLattice::IdLimits + 5, kDouble},
    {"SampleLatticeZMin", VoSampleLattice::IdLimits + 7, kDouble},
    {"SampleLatticeZMax", VoSampleLattice::IdLimits + 8, kDouble},
    {"SampleLatticeXNum", VoSampleLattice::IdResolution + 1, kUnsigned},
    {"SampleLatticeYNum", VoSampleLattice::IdResolution + 2, kUnsigned},
    {"SampleLatticeZNum", VoSampleLattice::IdResolution + 3, kUnsigned},
};

const char* const kFunctionNames[VoSampleLattice::FunctionCount] = {
    "Sphere distance", "Gaussian blobs", "Wave field", "Saddle", "Vortex", "Faulted layers",
};
const char kAxisLetters[3] = {'X', 'Y', 'Z'};
const double kPi = 3.14159265358979323846;

// Nodes per slab of the parallel fill: one progress report and abort test each.
constexpr uint64_t kSlabNodes = 1u << 18;

struct Blob {
    double centre[3];
    double height;
    double width;
};
const Blob kBlobs[3] = {
    {{-0.4, -0.3, -0.2}, 1.0, 0.3},
    {{0.45, 0.35, 0.1}, 0.7, 0.25},
    {{0.0, 0.5, -0.5}, 0.5, 0.4},
};

// Squared core radius of the vortex.
constexpr double kVortexCore = 0.1;
// The fault plane u = kFaultSlope * v; the side u > kFaultSlope * v is shifted by kFaultThrow.
constexpr double kFaultSlope = 0.2;
constexpr double kFaultThrow = 0.3;
constexpr double kLayerDip = 0.15;
constexpr double kLayersPerUnit = 4.0;

double Sphere(const shr::Vec3d& u) { return std::sqrt(u.x * u.x + u.y * u.y + u.z * u.z) - 0.5; }

double Blobs(const shr::Vec3d& u)
{
    double sum = 0.0;
    for (const Blob& blob : kBlobs) {
        const double dx = u.x - blob.centre[0], dy = u.y - blob.centre[1], dz = u.z - blob.centre[2];
        sum += blob.height * std::exp(-(dx * dx + dy * dy + dz * dz) / (2.0 * blob.width * blob.width));
    }
    return sum;
}

double Wave(const shr::Vec3d& u)
{
    return std::sin(kPi * u.x) * std::cos(kPi * u.y) + 0.5 * std::sin(2.0 * kPi * u.z);
}

// A swirl whose speed grows like a solid body inside the core and falls off
// as 1/r outside, with an upflow concentrated in the core.
void VortexAt(const shr::Vec3d& u, double* values)
{
    const double r2 = u.x * u.x + u.y * u.y;
    const double core = std::exp(-r2 / kVortexCore);
    // (1 - core) / r2 tends to 1 / kVortexCore on the axis.
    const double swirl = r2 > 0.0 ? (1.0 - core) / r2 : 1.0 / kVortexCore;
    values[0] = -u.y * swirl;
    values[1] = u.x * swirl;
    values[2] = 0.5 * core;
}

double Layers(const shr::Vec3d& u)
{
    const double throwAcross = u.x > kFaultSlope * u.y ? kFaultThrow : 0.0;
    const double level = u.z + kLayerDip * u.x + throwAcross;
    return std::floor(kLayersPerUnit * (level + 1.5));
}

// Fills the nodes of a block; each node from its own position only.
class SlabFiller {
public:
    SlabFiller(uint32_t function, VdUniformLattice& lattice) : m_Function(function), m_Lattice(lattice)
    {
        const shr::Box3d bounds = lattice.GetUVWBounds();
        for (int axis = 0; axis < 3; ++axis) {
            m_Centre[axis] = (bounds.min[axis] + bounds.max[axis]) / 2.0;
            m_Half[axis] = (bounds.max[axis] - bounds.min[axis]) / 2.0;
        }
    }

    void operator()(const tbb::blocked_range3d<unsigned int>& block) const
    {
        const unsigned int components = m_Lattice.ComponentCount();
        double values[3];
        for (unsigned int k = block.pages().begin(); k != block.pages().end(); ++k)
            for (unsigned int j = block.rows().begin(); j != block.rows().end(); ++j)
                for (unsigned int i = block.cols().begin(); i != block.cols().end(); ++i) {
                    VoSampleLattice::Evaluate(m_Function, Normalised(m_Lattice.IJKToUVW(i, j, k)), values);
                    const unsigned int node = m_Lattice.Index(i, j, k);
                    for (unsigned int c = 0; c < components; ++c)
                        StoreElement(m_Lattice, node, c, values[c]);
                }
    }

private:
    // An axis without extent maps to 0.
    shr::Vec3d Normalised(const shr::Vec3d& p) const
    {
        shr::Vec3d u;
        for (int axis = 0; axis < 3; ++axis)
            u[axis] = m_Half[axis] > 0.0 ? (p[axis] - m_Centre[axis]) / m_Half[axis] : 0.0;
        return u;
    }

    uint32_t m_Function;
    VdUniformLattice& m_Lattice;
    shr::Vec3d m_Centre;
    shr::Vec3d m_Half;
};

void ThrowInvalid(const char* what, unsigned int value)
{
    shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid %s %u.", what, value);
}

} // namespace VoSampleLatticePrivate

using namespace VoSampleLatticePrivate;

VoSampleLattice::VoSampleLattice()
{
    AddOutput("Output Lattice", PortUniformLattice);
}

const char* VoSampleLattice::FunctionName(uint32_t function)
{
    return function < FunctionCount ? kFunctionNames[function] : "";
}

unsigned int VoSampleLattice::ComponentCount(uint32_t function)
{
    return function == Vortex ? 3u : 1u;
}

void VoSampleLattice::Evaluate(uint32_t function, const shr::Vec3d& u, double* values)
{
    switch (function) {
    case SphereDistance: values[0] = Sphere(u); break;
    case GaussianBlobs: values[0] = Blobs(u); break;
    case WaveField: values[0] = Wave(u); break;
    case Saddle: values[0] = u.x * u.x - u.y * u.y; break;
    case Vortex: VortexAt(u, values); break;
    case FaultedLayers: values[0] = Layers(u); break;
    default: ThrowInvalid("test function", function);
    }
}

bool VoSampleLattice::Fill(uint32_t function, VdUniformLattice& lattice, bool parallel, VbProgress* progress)
{
    if (function >= FunctionCount)
        ThrowInvalid("test function", function);
    if (lattice.ComponentCount() != ComponentCount(function))
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 2);
    unsigned int ni, nj, nk;
    lattice.GetDims(ni, nj, nk);
    const SlabFiller filler(function, lattice);
    if (!parallel) {
        filler(tbb::blocked_range3d<unsigned int>(0, nk, 0, nj, 0, ni));
        lattice.DataModified();
        return true;
    }
    const uint64_t layer = uint64_t(ni) * nj;
    const unsigned int slab = static_cast<unsigned int>(std::max<uint64_t>(1, kSlabNodes / std::max<uint64_t>(layer, 1)));
    for (unsigned int k = 0; k < nk;) {
        const unsigned int end = std::min(nk, k + std::min(slab, nk - k));
        tbb::parallel_for(tbb::blocked_range3d<unsigned int>(k, end, 0, nj, 0, ni), filler);
        k = end;
        if (progress && !progress->Update(k, nk))
            return false;
    }
    lattice.DataModified();
    return true;
}

VoModule::ModuleStatus VoSampleLattice::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    // A failed or stopped run leaves no output behind.
    GetOutput(0)->Data(nullptr);
    Validate();
    const Settings& s = m_Settings;
    std::unique_ptr<VdUniformLattice> lattice;
    MemoryBudget::CheckLattice(s.nodes, ComponentCount(s.function), s.outType);
    try {
        lattice = std::make_unique<VdUniformLattice>(s.outType, s.nodes, nullptr, ComponentCount(s.function));
    } catch (const std::bad_alloc&) {
        CORE_THROW(46);
    }
    lattice->SetUVWBounds(s.limits);
    VbProgress progress("Generating test lattice", 0, 500, 100);
    if (!Fill(s.function, *lattice, true, &progress))
        return ModuleAborted;
    GetOutput(0)->Data(lattice.release());
    return ModuleOk;
}

// NaN limits fail the test.
void VoSampleLattice::Validate() const
{
    const Settings& s = m_Settings;
    if (s.function >= FunctionCount)
        ThrowInvalid("test function", s.function);
    for (int axis = 0; axis < 3; ++axis) {
        if (!(s.limits.min[axis] < s.limits.max[axis]))
            CORE_THROW(2, kAxisLetters[axis]);
        if (s.nodes[axis] < MinNodes || s.nodes[axis] > MaxNodes)
            CORE_THROW(23, kAxisLetters[axis], MaxNodes);
    }
}

// ---- properties ----------------------------------------------------------------

void VoSampleLattice::UpdatePropertiesImpl(VbPropList& list)
{
    const Settings& s = m_Settings;
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddCombo(Id(), "SampleLatticeFunction", IdFunction, "Function", "The test function sampled at the nodes.",
                  s.function, FunctionCount, const_cast<const char**>(kFunctionNames), 0);
    list.AddCombo(Id(), "SampleLatticeOutType", IdOutType, "Output type",
                  "The type of values stored in the output lattice.", static_cast<unsigned int>(s.outType),
                  shr::PrimTypeCount, const_cast<const char**>(shr::CPrimType::TypeName), 0);
    list.Outdent();
    list.AddHeader(Id(), IdGeometry, "Geometry", "Geometry", "", "");
    list.Indent();
    DataInfoRows::AddLimits(Id(), list, IdLimits, "SampleLattice", s.limits, true);
    PropertyUtility::UpdateResolution(Id(), IdResolution, "SampleLattice", list,
                                      std::make_tuple(s.nodes[0], s.nodes[1], s.nodes[2]), true);
    for (int axis = 0; axis < 3; ++axis)
        list.SetNumLimits(IdResolution + 1 + axis, ValCheckMinMax, MinNodes, MaxNodes);
    list.Outdent();
}

void VoSampleLattice::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    Settings& s = m_Settings;
    if (id == IdFunction || id == IdOutType) {
        unsigned int value = 0;
        list.GetValue(id, value);
        if (id == IdFunction && value >= FunctionCount)
            ThrowInvalid("test function", value);
        if (id == IdOutType && !shr::CPrimType::IsValid(static_cast<int>(value)))
            ThrowInvalid("data type", value);
        if (id == IdFunction)
            s.function = value;
        else
            s.outType = static_cast<shr::PrimType>(value);
    } else if (id > IdLimits && id < IdLimits + 9 && (id - IdLimits) % 3 != 0) {
        const int axis = (id - IdLimits) / 3;
        const bool isMin = (id - IdLimits) % 3 == 1;
        list.GetValue(id, isMin ? s.limits.min[axis] : s.limits.max[axis]);
        PropertyUtility::UpdateComment(IdLimits + 3 * axis, list, s.limits.min[axis], s.limits.max[axis]);
    } else if (id > IdResolution && id <= IdResolution + 3) {
        list.GetValue(id, s.nodes[id - IdResolution - 1]);
        PropertyUtility::UpdateComment(IdResolution, list, std::make_tuple(s.nodes[0], s.nodes[1], s.nodes[2]));
    } else {
        return;
    }
    SetModified();
}

// ---- persistence ----------------------------------------------------------------

void VoSampleLattice::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    // Loaded into a copy, so that a bad document leaves the module as it was.
    Settings s = m_Settings;
    archive.Transfer(s.function);
    int32_t type = s.outType;
    archive.Transfer(type);
    archive.Transfer(s.limits);
    for (uint32_t& n : s.nodes)
        archive.Transfer(n);
    if (archive.IsStoring())
        return;
    if (s.function >= FunctionCount)
        archive.ThrowFormatError("invalid test function %u", s.function);
    if (!shr::CPrimType::IsValid(type))
        archive.ThrowFormatError("invalid data type %d", static_cast<int>(type));
    for (const uint32_t n : s.nodes)
        archive.CheckRange(n, MinNodes, MaxNodes, "the test lattice's node count");
    s.outType = static_cast<shr::PrimType>(type);
    m_Settings = s;
}

} // namespace core
