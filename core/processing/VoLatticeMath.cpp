#include "core/processing/VoLatticeMath.h"

#include "core/data/VdUniformLattice.h"
#include "core/network/CoreError.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/StringUtil.h"
#include "tzexpr/CExpression.h"
#include "tzexpr/ErrorCodes.h"

#include <algorithm>
#include <cctype>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoLatticeMath, VoModule)
const VbModuleInfo VoLatticeMath::s_ModuleInfo("Computational\\Math", VoLatticeMath::GetClassTypeId(),
                                               PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice,
                                               PortUniformLattice,
                                               "Performs a user specified mathematical function on one or more lattices",
                                               6);

namespace VoLatticeMathPrivate {

const bool s_KeysRegistered = (ExpressionLattice::RegisterKeys("LatticeMath", true), true);
const char* const kDefaultExpression = "A";
const char* const kBaseDeclarations = "double:W double:X double:Y double:Z double:i double:j double:k";
// Slots of W, X, Y, Z, i, j, k; the inputs follow.
enum Slot { SlotW, SlotX, SlotY, SlotZ, SlotI, SlotJ, SlotK, SlotCount };

char InputLetter(int input) { return static_cast<char>('A' + input); }

// "A", "B", "C", or one of them followed by a digit.
bool NamesAnInput(const shr::GString& symbol)
{
    if (symbol.empty() || symbol.size() > 2 || symbol[0] < 'A' || symbol[0] > 'C')
        return false;
    return symbol.size() == 1 || std::isdigit(static_cast<unsigned char>(symbol[1]));
}

} // namespace VoLatticeMathPrivate

using namespace VoLatticeMathPrivate;

VoLatticeMath::VoLatticeMath() : m_Settings(kDefaultExpression)
{
    for (int input = 0; input < InputCount; ++input)
        AddInput(shr::ToString("Input Lattice %c", InputLetter(input)).c_str(),
                 PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice);
    AddOutput("Output Lattice", PortUniformLattice);
}

const VdLattice* VoLatticeMath::InputLattice(int input) const
{
    return dynamic_cast<const VdLattice*>(GetInputData(static_cast<size_t>(input)));
}

void VoLatticeMath::UpdatePropertiesImpl(VbPropList& list)
{
    m_Settings.AddRows(Id(), list, NameAndId(), "LatticeMath", true);
    for (int input = 0; input < InputCount; ++input) {
        const VoModule* source = GetInputConnection(static_cast<size_t>(input), 0);
        list.AddStatic(Id(), InputFirstId + input, shr::ToString("Input lattice %c", InputLetter(input)).c_str(),
                       "The lattice connected to this input.", source ? source->Name().c_str() : "Not connected");
    }
}

void VoLatticeMath::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    if (!m_Settings.PropertyEvent(list, event.Id()))
        return;
    if (event.Id() == ExpressionLattice::OutCompsId || event.Id() == ExpressionLattice::AutoId)
        UpdatePropertiesImpl(list);
    SetModified();
}

void VoLatticeMath::HandleParseError(int code, const shr::GString& message, const shr::GString& symbol)
{
    shr::GString upper = symbol;
    std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) { return char(std::toupper(c)); });
    if (code == tzexpr::kErrUnknownName && NamesAnInput(upper))
        CORE_THROW(14, tzexpr::kErrUnknownName, symbol.c_str());
    CORE_THROW(15, code, StripAssignment(message).c_str());
    // CORE_THROW always raises for these codes; this keeps the promise of [[noreturn]].
    shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "%s", message.c_str());
}

shr::GString VoLatticeMath::Declarations() const
{
    shr::GString declarations = kBaseDeclarations;
    for (int input = 0; input < InputCount; ++input) {
        const VdLattice* lattice = InputLattice(input);
        if (!lattice)
            continue;
        const char letter = InputLetter(input);
        declarations += shr::ToString(" double:%c", letter);
        for (unsigned int c = 1; c <= lattice->ComponentCount(); ++c)
            declarations += shr::ToString(" double:%c%u", letter, c);
    }
    return declarations;
}

std::vector<VoLatticeMath::Source> VoLatticeMath::ConnectedSources() const
{
    std::vector<Source> sources;
    size_t slot = SlotCount;
    for (int input = 0; input < InputCount; ++input) {
        const VdLattice* lattice = InputLattice(input);
        if (!lattice)
            continue;
        sources.push_back({lattice, slot});
        slot += 1 + lattice->ComponentCount();
    }
    return sources;
}

void VoLatticeMath::CalcAutoParameters()
{
    shr::Box3d bounds;
    for (int input = 0; input < InputCount; ++input)
        if (const VdLattice* lattice = InputLattice(input))
            bounds.ExtendBy(lattice->GetXYZBounds());
    if (!bounds.IsEmpty())
        m_Settings.limits = bounds;
}

VoModule::ModuleStatus VoLatticeMath::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    GetOutput(0)->Data(nullptr);
    if (m_Settings.autoLimits)
        CalcAutoParameters();
    m_Settings.Validate();
    std::vector<tzexpr::CExpression> expressions = m_Settings.Parse(Declarations(), HandleParseError);
    for (tzexpr::CExpression& expression : expressions)
        expression.SetNodataHandling(true, m_Nodata);
    std::unique_ptr<VdUniformLattice> lattice = m_Settings.MakeLattice();
    const ModuleStatus status = Compute(expressions, ConnectedSources(), *lattice);
    if (status == ModuleOk)
        GetOutput(0)->Data(lattice.release());
    return status;
}

VoModule::ModuleStatus VoLatticeMath::Compute(const std::vector<tzexpr::CExpression>& expressions,
                                              const std::vector<Source>& sources, VdUniformLattice& output) const
{
    size_t slotCount = SlotCount;
    for (const Source& source : sources)
        slotCount += 1 + source.lattice->ComponentCount();
    std::vector<double> variables(slotCount, 0.0);
    std::vector<const void*> pointers(slotCount);
    for (size_t s = 0; s < slotCount; ++s)
        pointers[s] = &variables[s];

    VbProgress progress("Computing output lattice", 0, 500, 100);
    const unsigned int count = output.VertexCount();
    const unsigned int step = std::max(1u, count / 100);
    for (unsigned int n = 0; n < count; ++n) {
        if (n % step == 0 && !progress.Update(n, count))
            return ModuleAborted;
        unsigned int ijk[3];
        output.IndexToIJK(n, ijk[0], ijk[1], ijk[2]);
        const shr::Vec3d position = output.IJKToXYZ(ijk[0], ijk[1], ijk[2]);
        variables[SlotX] = position.x;
        variables[SlotY] = position.y;
        variables[SlotZ] = position.z;
        for (int a = 0; a < 3; ++a)
            variables[SlotI + a] = ijk[a];
        for (const Source& source : sources)
            Sample(source, position, ijk, variables);
        for (unsigned int c = 0; c < expressions.size(); ++c) {
            double& w = variables[SlotW];
            if (expressions[c].IsEmpty() || !expressions[c].Evaluate(pointers.data(), &w, nullptr, nullptr) ||
                w == m_Nodata)
                output.SetBlank(n, c);
            else
                StoreElement(output, n, c, w);
        }
    }
    output.DataModified();
    return ModuleOk;
}

void VoLatticeMath::Sample(const Source& source, const shr::Vec3d& position, const unsigned int* ijk,
                           std::vector<double>& variables) const
{
    const VdLattice& input = *source.lattice;
    const unsigned int components = input.ComponentCount();
    double* values = &variables[source.slot + 1];
    if (!m_SampleByIndex) {
        if (input.Interpolate(VdLattice::INTERP_LINEAR, position, values, 0, components) != 0)
            std::replace(values, values + components, VdVertexData::BlankVal, m_Nodata);
    } else if (!input.InRange(ijk[0], ijk[1], ijk[2])) {
        std::fill(values, values + components, m_Nodata);
    } else {
        const uint32_t node = input.Index(ijk[0], ijk[1], ijk[2]);
        for (unsigned int c = 0; c < components; ++c)
            values[c] = input.IsBlank(node, c) ? m_Nodata : ReadElement(input.DataPtr(node, c), input.DataType());
    }
    variables[source.slot] = components ? values[0] : m_Nodata;
}

void VoLatticeMath::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    ExpressionLattice settings = m_Settings;
    settings.Serialize(archive);
    bool byIndex = m_SampleByIndex;
    double nodata = m_Nodata;
    archive.Transfer(byIndex);
    archive.Transfer(nodata);
    m_Settings = settings;
    m_SampleByIndex = byIndex;
    m_Nodata = nodata;
}

} // namespace core
