#include "core/processing/VoLatticeFilter.h"

#include "core/data/VdUniformLattice.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbIntPropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/StringUtil.h"

#include <algorithm>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoLatticeFilter, VoModule)
const VbModuleInfo VoLatticeFilter::s_ModuleInfo("Computational\\Filter", VoLatticeFilter::GetClassTypeId(),
                                                 PortUniformLattice, PortUniformLattice, "Filters a uniform lattice",
                                                 3);

namespace VoLatticeFilterPrivate {

using F = CLatticeFilter;
constexpr unsigned int kComponentRows = VoLatticeFilter::IdComponentLast - VoLatticeFilter::IdComponentFirst + 1;

const VbPropertyRegistrar s_Registrars[] = {
    {"LatticeFilterFilter", VoLatticeFilter::IdFilter, VbUnsignedPropertyConverter::Key()},
    {"LatticeFilterOrientation", VoLatticeFilter::IdOrientation, VbUnsignedPropertyConverter::Key()},
    {"LatticeFilterKernelSize", VoLatticeFilter::IdKernelSize, VbIntPropertyConverter::Key()},
    {"LatticeFilterParam0", VoLatticeFilter::IdParam0, VbDoublePropertyConverter::Key()},
    {"LatticeFilterParam1", VoLatticeFilter::IdParam1, VbDoublePropertyConverter::Key()},
    {"LatticeFilterEdge", VoLatticeFilter::IdEdge, VbUnsignedPropertyConverter::Key()},
    {"LatticeFilterEdgeValue", VoLatticeFilter::IdEdgeFill, VbDoublePropertyConverter::Key()},
    {"LatticeFilterBlank", VoLatticeFilter::IdBlank, VbUnsignedPropertyConverter::Key()},
    {"LatticeFilterBlankValue", VoLatticeFilter::IdBlankFill, VbDoublePropertyConverter::Key()},
};

bool RegisterComponentKeys()
{
    for (unsigned int c = 0; c < kComponentRows; ++c)
        VbPropertyRegistry::Instance().Set(shr::ToString("LatticeFilterComp%u", c + 1),
                                           static_cast<unsigned short>(VoLatticeFilter::IdComponentFirst + c),
                                           VbBoolPropertyConverter::Key());
    return true;
}
const bool s_ComponentKeys = RegisterComponentKeys();

const char* const kOrientationLabels[] = {"XY planes", "XZ planes", "YZ planes"};
const char* const kEdgeLabels[] = {"Blank", "Ignore", "Replicate", "Mirror", "Cyclic wrap", "Fill"};
const char* const kBlankLabels[] = {"Expanded", "Leave alone", "Ignore", "Fill"};

std::vector<shr::GString> FilterLabels()
{
    std::vector<shr::GString> labels;
    for (uint32_t f = 0; f < F::FilterCount; ++f)
        labels.push_back(F::GetInfo(f).label);
    return labels;
}

// An even size grows by one, so that the window has a middle.
uint32_t OddKernelSize(int size)
{
    if (size < 1 || size > int(F::MaxWindowSize))
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid kernel size %d.", size);
    return static_cast<uint32_t>(size % 2 == 0 ? size + 1 : size);
}

// A choice row's value; one beyond the choices raises "Invalid <what> <value>.".
uint32_t ReadSetting(VbPropList& list, int id, uint32_t count, const char* what)
{
    uint32_t value = 0;
    list.GetValue(id, value);
    F::CheckSetting(value, count, what);
    return value;
}

// The fields of a document, read whole before any is taken over.
struct StoredFields {
    uint32_t filter, edge, blank, kernel;
    double edgeFill, blankFill;
    double params[F::ParameterSlots];
    uint32_t orientation;
    int32_t reserved;
    std::vector<bool> components;
};

void TransferComponents(shr::Archive& archive, std::vector<bool>& components)
{
    uint32_t count = static_cast<uint32_t>(components.size());
    archive.Transfer(count);
    if (archive.IsLoading()) {
        archive.CheckCount(count, 1);
        components.assign(count, true);
    }
    for (uint32_t c = 0; c < count; ++c) {
        bool flag = components[c];
        archive.Transfer(flag);
        components[c] = flag;
    }
}

void CheckStored(shr::Archive& archive, const StoredFields& f)
{
    if (f.filter >= F::FilterCount || f.edge >= F::EdgeCount || f.blank >= F::BlankCount ||
        f.orientation >= F::OrientationCount || f.kernel < 1 || f.kernel > F::MaxWindowSize)
        archive.ThrowFormatError("lattice filter settings out of range (filter %u, edge %u, blank %u, orientation "
                                 "%u, kernel %u)",
                                 f.filter, f.edge, f.blank, f.orientation, f.kernel);
}

} // namespace VoLatticeFilterPrivate

using namespace VoLatticeFilterPrivate;

VoLatticeFilter::VoLatticeFilter()
{
    AddInput("Input Lattice", PortUniformLattice);
    AddOutput("Output Lattice", PortUniformLattice);
}

void VoLatticeFilter::SaveParams(uint32_t filter)
{
    for (unsigned int p = 0; p < F::GetInfo(filter).parameterCount; ++p)
        m_SavedParams[int(filter) * 10 + int(p)] = m_Params[p];
}

void VoLatticeFilter::LoadParams(uint32_t filter)
{
    for (unsigned int p = 0; p < F::ParameterSlots; ++p) {
        const auto saved = m_SavedParams.find(int(filter) * 10 + int(p));
        m_Params[p] = saved != m_SavedParams.end() ? saved->second : 0.0;
    }
}

// ---- input and execution -----------------------------------------------------------------------

void VoLatticeFilter::OnInputChanged(int, bool recalc)
{
    const auto* lattice = dynamic_cast<const VdLattice*>(GetInputData(0));
    if (!lattice)
        return;
    const unsigned int* dims = lattice->GetDims();
    if (recalc) {
        if (dims[2] == 1)
            m_Orientation = F::XYPlanes;
        else if (dims[1] == 1)
            m_Orientation = F::XZPlanes;
        else if (dims[0] == 1)
            m_Orientation = F::YZPlanes;
    }
    const unsigned int components = lattice->ComponentCount();
    if (m_Components.size() != components) {
        m_Components.resize(components, true);
        // The alpha of a colour lattice stays out of the filter.
        if (components == 4 && lattice->DataType() == shr::UInt8)
            m_Components[3] = false;
    }
}

CLatticeFilter::Params VoLatticeFilter::MakeParams(const VdUniformLattice& input, VdUniformLattice& output) const
{
    const unsigned int components = input.ComponentCount();
    F::Params params;
    params.input = &input;
    params.output = &output;
    params.filter = m_Filter;
    params.edgeHandling = m_EdgeHandling;
    params.blankHandling = m_BlankHandling;
    params.orientation = m_Orientation;
    // One node across the planes of a planar orientation.
    for (int axis = 0; axis < 3; ++axis)
        params.window[axis] = axis == F::NormalAxis(m_Orientation) ? 1 : m_KernelSize;
    for (unsigned int c = 0; c < components; ++c)
        params.components.push_back(c < m_Components.size() ? m_Components[c] : true);
    params.edgeFill.assign(components, m_EdgeFill);
    params.blankFill.assign(components, m_BlankFill);
    params.params = F::ParameterVector(m_Filter, m_Params, components);
    return params;
}

VoModule::ModuleStatus VoLatticeFilter::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    GetOutput(0)->Data(nullptr);
    const auto* input = dynamic_cast<const VdUniformLattice*>(GetInputData(0));
    if (!input)
        return ModuleOk;
    auto output = input->VertexCount() == 0
                      ? std::make_unique<VdUniformLattice>()
                      : std::make_unique<VdUniformLattice>(input->DataType(), input->GetDims(), nullptr,
                                                           input->ComponentCount());
    output->SetUVWBounds(input->GetUVWBounds());
    if (input->HasUserTransform())
        output->SetUserTransform(input->GetUserTransform());
    if (!F::Execute(MakeParams(*input, *output)))
        return ModuleAborted;
    output->DataModified();
    GetOutput(0)->Data(output.release());
    return ModuleOk;
}

// ---- properties --------------------------------------------------------------------------------

void VoLatticeFilter::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), IdGeneral, NameAndId(), "General", "", "");
    list.Indent();
    list.AddCombo(Id(), "LatticeFilterFilter", IdFilter, "Filter type",
                  "The type of filter to apply to the input lattice.", m_Filter, FilterLabels(), 0);
    list.AddCombo(Id(), "LatticeFilterOrientation", IdOrientation, "Orientation",
                  "The planar orientation of the filter.", m_Orientation, 3,
                  const_cast<const char**>(kOrientationLabels), 0);
    list.AddInt(Id(), "LatticeFilterKernelSize", IdKernelSize, "Kernel size",
                "The size of the convolution kernel.  If 3 is entered, the kernel will be 3 x 3 x 3 for a 3D "
                "lattice.",
                int(m_KernelSize), ValCheckMinMax, 1, int(F::MaxWindowSize), 2);
    AddParameterRows(list);
    list.Outdent();

    list.AddHeader(Id(), IdEdgeHeader, "Edge Handling", "Edge Handling", "", "");
    list.Indent();
    list.AddCombo(Id(), "LatticeFilterEdge", IdEdge, "Edge handling",
                  "How to handle edge effects when the kernel overhangs the edge of the lattice.", m_EdgeHandling,
                  F::EdgeCount, const_cast<const char**>(kEdgeLabels), 0);
    list.AddDouble(Id(), "LatticeFilterEdgeValue", IdEdgeFill, "Edge fill",
                   "Values off the edge of the lattice are set equal to this.", m_EdgeFill, ValCheckNone, 0.0, 0.0,
                   0.0);
    list.Enabled(IdEdgeFill, m_EdgeHandling == F::EdgeFill);
    list.Outdent();

    list.AddHeader(Id(), IdBlankHeader, "Blank Handling", "Blank Handling", "", "");
    list.Indent();
    list.AddCombo(Id(), "LatticeFilterBlank", IdBlank, "Blank handling",
                  "How to handle blanked nodes within the lattice.", m_BlankHandling, F::BlankCount,
                  const_cast<const char**>(kBlankLabels), 0);
    list.AddDouble(Id(), "LatticeFilterBlankValue", IdBlankFill, "Blank fill",
                   "This value will be substituted for blanked nodes.", m_BlankFill, ValCheckNone, 0.0, 0.0, 0.0);
    list.Enabled(IdBlankFill, m_BlankHandling == F::BlankFill);
    list.Outdent();

    AddComponentRows(list);
}

void VoLatticeFilter::AddParameterRows(VbPropList& list) const
{
    const F::Info& info = F::GetInfo(m_Filter);
    for (unsigned int p = 0; p < info.parameterCount; ++p)
        list.AddDouble(Id(), shr::ToString("LatticeFilterParam%u", p), IdParam0 + int(p), info.parameters[p].label,
                       info.parameters[p].comment, m_Params[p], ValCheckNone, 0.0, 0.0, 0.0);
}

void VoLatticeFilter::UpdateFilterOptions(VbPropList& list)
{
    LoadParams(m_Filter);
    for (int id : {IdParam0, IdParam1})
        if (list.IsProp(id))
            list.Remove(id);
    list.SetInsertionPos(IdGeneral, IdKernelSize, 1);
    AddParameterRows(list);
    list.SetInsertionPos(-1, -1, 0);
}

void VoLatticeFilter::AddComponentRows(VbPropList& list) const
{
    const auto* lattice = dynamic_cast<const VdLattice*>(GetInputData(0));
    list.AddHeader(Id(), IdComponentsHeader, "Input Components", "Input Components",
                   lattice ? "" : "(No data available)", "");
    if (!lattice)
        return;
    list.Indent();
    const unsigned int rows = std::min<unsigned int>(lattice->ComponentCount(), kComponentRows);
    for (unsigned int c = 0; c < rows; ++c)
        list.AddCheck(Id(), shr::ToString("LatticeFilterComp%u", c + 1), IdComponentFirst + int(c),
                      lattice->GetComponentName(c).c_str(), "Filter this component.",
                      c < m_Components.size() ? bool(m_Components[c]) : true);
    list.Outdent();
}

void VoLatticeFilter::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    const int id = event.Id();
    switch (id) {
    case IdFilter:
        m_Filter = ReadSetting(list, id, F::FilterCount, "lattice filter");
        UpdateFilterOptions(list);
        break;
    case IdOrientation: m_Orientation = ReadSetting(list, id, F::OrientationCount, "filter orientation"); break;
    case IdKernelSize: {
        int size = int(m_KernelSize);
        list.GetValue(id, size);
        m_KernelSize = OddKernelSize(size);
        list.SetNum(id, int(m_KernelSize));
        break;
    }
    case IdParam0:
    case IdParam1:
        list.GetValue(id, m_Params[id - IdParam0]);
        SaveParams(m_Filter);
        break;
    case IdEdge:
        m_EdgeHandling = ReadSetting(list, id, F::EdgeCount, "edge handling");
        list.Enabled(IdEdgeFill, m_EdgeHandling == F::EdgeFill);
        break;
    case IdEdgeFill: list.GetValue(id, m_EdgeFill); break;
    case IdBlank:
        m_BlankHandling = ReadSetting(list, id, F::BlankCount, "blank handling");
        list.Enabled(IdBlankFill, m_BlankHandling == F::BlankFill);
        break;
    case IdBlankFill: list.GetValue(id, m_BlankFill); break;
    default: {
        if (id < IdComponentFirst || id > IdComponentLast)
            return;
        const size_t component = size_t(id - IdComponentFirst);
        bool flag = true;
        list.GetValue(id, flag);
        if (m_Components.size() <= component)
            m_Components.resize(component + 1, true);
        m_Components[component] = flag;
        break;
    }
    }
    SetModified();
}

// ---- the stored form ----------------------------------------------------------------------------

void VoLatticeFilter::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    StoredFields f{m_Filter,       m_EdgeHandling, m_BlankHandling, m_KernelSize, m_EdgeFill, m_BlankFill, {},
                   m_Orientation, m_Reserved,     m_Components};
    std::copy(m_Params, m_Params + F::ParameterSlots, f.params);
    archive.Transfer(f.filter);
    archive.Transfer(f.edge);
    archive.Transfer(f.blank);
    archive.Transfer(f.kernel);
    archive.Transfer(f.edgeFill);
    archive.Transfer(f.blankFill);
    for (double& param : f.params)
        archive.Transfer(param);
    if (archive.IsStoring() || archive.GetVersion() >= OrientationVersion) {
        archive.Transfer(f.orientation);
        archive.Transfer(f.reserved);
        TransferComponents(archive, f.components);
    }
    if (archive.IsStoring())
        return;
    CheckStored(archive, f);
    m_Filter = f.filter;
    m_EdgeHandling = f.edge;
    m_BlankHandling = f.blank;
    m_KernelSize = OddKernelSize(int(f.kernel));
    m_EdgeFill = f.edgeFill;
    m_BlankFill = f.blankFill;
    std::copy(f.params, f.params + F::ParameterSlots, m_Params);
    m_Orientation = f.orientation;
    m_Reserved = f.reserved;
    m_Components = f.components;
    SaveParams(m_Filter);
}

} // namespace core
