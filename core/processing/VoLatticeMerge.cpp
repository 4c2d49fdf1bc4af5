#include "core/processing/VoLatticeMerge.h"

#include "core/data/VdUniformLattice.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/processing/LatticeMerger.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/PrimType.h"
#include "shr/StringUtil.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <vector>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoLatticeMerge, VoLatticeSampler)
const VbModuleInfo VoLatticeMerge::s_ModuleInfo("Computational\\Merge", VoLatticeMerge::GetClassTypeId(),
                                                PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice,
                                                PortUniformLattice, "Merges one or more coordinate-compatible lattices",
                                                7);

const char* const VoLatticeMerge::OverlapNames[7] = {"Average", "Count", "First", "Last",
                                                     "Maximum", "Median", "Minimum"};

namespace VoLatticeMergePrivate {

const char* const kPrefix = "LatticeMerge";
const unsigned char kUnsigned = VbUnsignedPropertyConverter::Key();
const bool s_KeysRegistered = (LatticeGeometry::RegisterKeys(kPrefix, true), true);
const VbPropertyRegistrar s_Registrars[] = {
    {"LatticeMergeResample", VoLatticeMerge::IdMethod, kUnsigned},
    {"LatticeMergeOverlap", VoLatticeMerge::IdOverlap, kUnsigned},
};

char InputLetter(int input) { return static_cast<char>('A' + input); }

// The inputs that have nodes and a box.
std::vector<const VdLattice*> WithNodes(const shr::Array<const VdLattice*>& inputs)
{
    std::vector<const VdLattice*> used;
    for (const VdLattice* input : inputs)
        if (!input->DataEmpty() && !input->GetUVWBounds().IsEmpty())
            used.push_back(input);
    return used;
}

// Whether all the lattices stand in one frame: none has a user transform, or all the same one.
bool ShareOneFrame(const std::vector<const VdLattice*>& lattices)
{
    const VdLattice& first = *lattices.front();
    return std::all_of(lattices.begin(), lattices.end(), [&](const VdLattice* lattice) {
        return lattice->HasUserTransform() == first.HasUserTransform() &&
               (!first.HasUserTransform() || lattice->GetUserTransform() == first.GetUserTransform());
    });
}

// Nodes over `extent` at about `spacing` apart, 1 to MaxNodes; two for an
// extent without a known spacing.
unsigned int NodesFor(double extent, double spacing)
{
    if (!(extent > 0.0))
        return 1;
    if (spacing == DBL_MAX)
        return 2;
    const double nodes = std::round(extent / spacing) + 1.0;
    return nodes >= LatticeGeometry::MaxNodes ? LatticeGeometry::MaxNodes : static_cast<unsigned int>(nodes);
}

} // namespace VoLatticeMergePrivate

using namespace VoLatticeMergePrivate;

VoLatticeMerge::VoLatticeMerge() : VoLatticeSampler(kPrefix, "Uses the union of the input lattice extents.")
{
    for (int input = 0; input < InputCount; ++input)
        AddInput(shr::ToString("Input Lattice %c", InputLetter(input)).c_str(),
                 PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice);
    AddOutput("Output Lattice", PortUniformLattice);
}

void VoLatticeMerge::Overlap(unsigned int overlap) { m_Overlap = LatticeMerger::CheckedOverlap(overlap); }

shr::Array<const VdLattice*> VoLatticeMerge::ConnectedInputs() const
{
    shr::Array<const VdLattice*> inputs;
    for (int input = 0; input < InputCount; ++input)
        if (const auto* lattice = dynamic_cast<const VdLattice*>(GetInputData(static_cast<size_t>(input))))
            inputs.Add(lattice);
    return inputs;
}

void VoLatticeMerge::CalcAutoParameters()
{
    const std::vector<const VdLattice*> inputs = WithNodes(ConnectedInputs());
    if (inputs.empty())
        return;
    const bool oneFrame = ShareOneFrame(inputs);
    shr::Box3d box;
    shr::Vec3d spacing(DBL_MAX, DBL_MAX, DBL_MAX);
    for (const VdLattice* input : inputs) {
        const shr::Box3d bounds = oneFrame ? input->GetUVWBounds() : input->GetXYZBounds();
        box.ExtendBy(bounds);
        for (int axis = 0; axis < 3; ++axis) {
            const unsigned int dim = input->GetDims()[axis];
            const double extent = bounds.max[axis] - bounds.min[axis];
            if (dim >= 2 && extent > 0.0)
                spacing[axis] = std::min(spacing[axis], extent / (dim - 1));
        }
    }
    m_Geometry.limits = box;
    for (int axis = 0; axis < 3; ++axis)
        m_Geometry.nodes[axis] = NodesFor(box.max[axis] - box.min[axis], spacing[axis]);
    m_Transform = oneFrame ? inputs.front()->GetUserTransform() : shr::Mat4d();
}

VoModule::ModuleStatus VoLatticeMerge::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    GetOutput(0)->Data(nullptr);
    const shr::Array<const VdLattice*> inputs = ConnectedInputs();
    if (inputs.empty())
        return ModuleOk;
    if (m_Geometry.autoLimits)
        CalcAutoParameters();
    m_Geometry.Validate();
    shr::PrimType type = inputs[0]->DataType();
    unsigned int components = 0;
    for (const VdLattice* input : inputs) {
        type = shr::CPrimType::Promotion[type][input->DataType()];
        components = std::max(components, input->ComponentCount());
    }
    std::unique_ptr<VdUniformLattice> output = m_Geometry.MakeLattice(type, components);
    output->SetUserTransform(m_Transform);
    const ModuleStatus status = Compute(inputs, *output);
    if (status == ModuleOk)
        GetOutput(0)->Data(output.release());
    return status;
}

VoModule::ModuleStatus VoLatticeMerge::Compute(const shr::Array<const VdLattice*>& inputs,
                                               VdUniformLattice& output) const
{
    VbProgress progress("Merging lattices", 0, 500, 100);
    const LatticeMerger merger(inputs, output, m_Method, m_Overlap);
    return merger.Run(&progress) ? ModuleOk : ModuleAborted;
}

void VoLatticeMerge::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), IdHeader, NameAndId(), "General", "", "");
    list.Indent();
    for (int input = 0; input < InputCount; ++input) {
        const VoModule* source = GetInputConnection(static_cast<size_t>(input), 0);
        list.AddStatic(Id(), IdInputFirst + input, shr::ToString("Input lattice %c", InputLetter(input)).c_str(),
                       "The lattice connected to this input.", source ? source->Name().c_str() : "Not connected");
    }
    AddMethodRow(list, "LatticeMergeResample");
    list.AddCombo(Id(), "LatticeMergeOverlap", IdOverlap, "Overlap method",
                  "The method used to combine multiple values from different input lattices.", m_Overlap,
                  LatticeMerger::OverlapMethods, const_cast<const char**>(OverlapNames), 0);
    list.Outdent();
    AddGeometryRows(list);
}

void VoLatticeMerge::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    if (event.Id() == IdOverlap) {
        unsigned int overlap = m_Overlap;
        list.GetValue(IdOverlap, overlap);
        Overlap(overlap);
    } else if (!SamplerPropertyEvent(list, event.Id())) {
        return;
    }
    SetModified();
}

void VoLatticeMerge::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    LatticeGeometry geometry = m_Geometry;
    uint32_t method = m_Method, overlap = m_Overlap, unused = 0;
    shr::Mat4d transform = m_Transform;
    archive.Transfer(geometry.autoLimits);
    archive.Transfer(method);
    archive.Transfer(overlap);
    archive.Transfer(unused);
    geometry.TransferLimits(archive);
    geometry.TransferNodes(archive);
    archive.Transfer(transform);
    if (archive.IsStoring())
        return;
    CheckLoaded(archive, method, geometry);
    if (overlap >= LatticeMerger::OverlapMethods)
        archive.ThrowFormatError("invalid overlap method %u", overlap);
    m_Geometry = geometry;
    m_Method = static_cast<VdLattice::InterpMethod>(method);
    m_Overlap = overlap;
    m_Transform = transform;
}

} // namespace core
