#include "core/processing/VoCast.h"

#include "core/data/LatticeUtility.h"
#include "core/data/ParallelFor.h"
#include "core/data/PrimConvert.h"
#include "core/data/VdPoints.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/network/VbProgress.h"
#include "core/processing/VectorClones.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/StringUtil.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoCast, VoModule)
const VbModuleInfo VoCast::s_ModuleInfo("Computational\\ChangeType", VoCast::GetClassTypeId(),
                                        PortPoints | PortUniformLattice | PortRectilinearLattice |
                                            PortCurvilinearLattice,
                                        PortPoints | PortUniformLattice | PortRectilinearLattice |
                                            PortCurvilinearLattice,
                                        "Changes the data type of the input module", 0);

namespace VoCastPrivate {

const unsigned int kDataPorts = PortPoints | PortUniformLattice | PortRectilinearLattice | PortCurvilinearLattice;
const unsigned char kDouble = VbDoublePropertyConverter::Key();

const VbPropertyRegistrar s_Registrars[] = {
    {"ChangeTypeOutputType", VoCast::IdOutputType, VbUnsignedPropertyConverter::Key()},
    {"ChangeTypeOffset", VoCast::IdOffset, kDouble},
    {"ChangeTypeScale", VoCast::IdScale, kDouble},
    {"ChangeTypeStretch", VoCast::IdStretch, VbBoolPropertyConverter::Key()},
};

const char* const kNotAvailable = "Not available";

[[noreturn]] void ThrowInvalidInput(int line)
{
    shr::ThrowSharedError("Core", __FILE__, line, 0, "Invalid input data.");
}

// A value already clipped to O's range in O. Such a value converts to int64
// without overflow, so the cast truncates towards zero as PrimConvert does;
// NaN, which clipping passes through, becomes 0 as there.
template <class O>
O ConvertClipped(double value)
{
    if constexpr (std::is_floating_point<O>::value)
        return static_cast<O>(value);
    else if constexpr (sizeof(O) < 4 || std::is_same<O, int32_t>::value)
        return value == value ? static_cast<O>(static_cast<int32_t>(value)) : O(0);
    else
        return value == value ? static_cast<O>(static_cast<int64_t>(value)) : O(0);
}

// (value + offset) x scale, clipped to [low, high], in O.
template <class I, class O>
inline O CastValue(I value, double offset, double scale, double low, double high)
{
    const double x = (PrimConvert<double>(value) + offset) * scale;
    return ConvertClipped<O>(x < low ? low : x > high ? high : x);
}

// The loop of blank-free data.
template <class I, class O>
FENRAK_VECTOR_CLONES void CastRun(const I* __restrict source, O* __restrict target, uint64_t count, double offset,
                                  double scale, double low, double high)
{
    for (uint64_t e = 0; e < count; ++e)
        target[e] = CastValue<I, O>(source[e], offset, scale, low, high);
}

// The body of CastNodes over a range of tuples.
class NodeCaster {
public:
    NodeCaster(const VdVertexData& input, VdVertexData& output, double offset, double scale)
        : m_Input(input), m_Output(output), m_Offset(offset), m_Scale(scale), m_Blanks(input.HasBlanks()),
          m_Min(shr::CPrimType::TypeMin[output.DataType()]), m_Max(shr::CPrimType::TypeMax[output.DataType()])
    {
    }

    void operator()(const tbb::blocked_range<unsigned int>& tuples) const
    {
        DispatchPrimType(m_Input.DataType(), [&](auto in) {
            DispatchPrimType(m_Output.DataType(), [&](auto out) {
                Cast<typename decltype(in)::Type, typename decltype(out)::Type>(tuples.begin(), tuples.end());
            });
        });
    }

private:
    template <class I, class O>
    void Cast(unsigned int first, unsigned int end) const
    {
        const I* source = static_cast<const I*>(m_Input.DataPtr());
        O* target = static_cast<O*>(m_Output.DataWritePtr());
        const unsigned int components = m_Input.ComponentCount();
        const double offset = m_Offset, scale = m_Scale, low = m_Min, high = m_Max;
        if (!m_Blanks) {
            const uint64_t from = uint64_t(first) * components;
            CastRun(source + from, target + from, uint64_t(end) * components - from, offset, scale, low, high);
            return;
        }
        for (unsigned int tuple = first; tuple < end; ++tuple)
            for (unsigned int c = 0; c < components; ++c) {
                const uint64_t e = uint64_t(tuple) * components + c;
                if (m_Input.IsBlank(tuple, c))
                    m_Output.SetBlank(tuple, c);
                else
                    target[e] = CastValue<I, O>(source[e], offset, scale, low, high);
            }
    }

    const VdVertexData& m_Input;
    VdVertexData& m_Output;
    double m_Offset;
    double m_Scale;
    bool m_Blanks;
    double m_Min;
    double m_Max;
};

// The same points and labels, with zero values of `type`.
std::unique_ptr<VdVertexData> CastPoints(const VdPoints& input, shr::PrimType type)
{
    auto points = std::make_unique<VdPoints>(input.GetCoordType(), type, input.VertexCount(), input.GetCoordPtr(),
                                             nullptr, input.ComponentCount());
    for (auto label = input.labels_begin(); label != input.labels_end(); ++label)
        points->AddLabel(*label);
    if (input.HasUserTransform())
        points->SetUserTransform(input.GetUserTransform());
    return points;
}

// An empty object of the input's kind and shape with elements of `type`,
// tested in the order points, uniform, rectilinear, curvilinear lattice; the
// user transform is kept for every kind.
std::unique_ptr<VdVertexData> MakeTarget(const VdData& input, shr::PrimType type)
{
    const unsigned int kind = input.GetType();
    if (kind == PortPoints) {
        if (const auto* points = dynamic_cast<const VdPoints*>(&input))
            return CastPoints(*points, type);
    } else if (kind == PortUniformLattice || kind == PortRectilinearLattice || kind == PortCurvilinearLattice) {
        if (const auto* lattice = dynamic_cast<const VdLattice*>(&input))
            return MakeLatticeLike(*lattice, type, lattice->ComponentCount());
    }
    ThrowInvalidInput(__LINE__);
}

} // namespace VoCastPrivate

using namespace VoCastPrivate;

VoCast::VoCast()
{
    AddInput("Input Data", kDataPorts);
    AddOutput("Output Data", kDataPorts);
}

const VdVertexData* VoCast::InputData() const { return dynamic_cast<const VdVertexData*>(GetInputData(0)); }

void VoCast::OutputType(int type)
{
    if (!shr::CPrimType::IsValid(type))
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Invalid data type.");
    m_OutputType = static_cast<shr::PrimType>(type);
}

void VoCast::OnInputChanged(int, bool)
{
    if (const VdVertexData* data = InputData())
        m_InputType = data->DataType();
}

bool VoCast::CastNodes(const VdVertexData& input, VdVertexData& output, double offset, double scale,
                       VbProgress* progress)
{
    if (input.VertexCount() != output.VertexCount() || input.ComponentCount() != output.ComponentCount())
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "The output does not match the input.");
    const NodeCaster caster(input, output, offset, scale);
    const unsigned int count = input.VertexCount();
    const bool completed = ParallelForWithProgress(count, 1u, caster, progress, 0, count, output.DataPtr());
    output.DataModified();
    return completed;
}

VoModule::ModuleStatus VoCast::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    GetOutput(0)->Data(nullptr);
    const VdData* input = GetInputData(0);
    if (!input)
        return ModuleOk;
    std::unique_ptr<VdVertexData> output = MakeTarget(*input, m_OutputType);
    const auto& data = static_cast<const VdVertexData&>(*input); // MakeTarget took it as points or a lattice
    m_InputType = data.DataType();
    VbProgress progress("Changing the data type", 0, 500, 100);
    if (!CastNodes(data, *output, m_Offset, m_Scale, &progress))
        return ModuleAborted;
    GetOutput(0)->Data(output.release());
    return ModuleOk;
}

// ---- ranges and the stretch -------------------------------------------------------

std::pair<double, double> VoCast::InputRange() const
{
    std::pair<double, double> range(VdVertexData::BlankVal, -VdVertexData::BlankVal);
    const VdVertexData* data = InputData();
    for (unsigned int c = 0; data && c < data->ComponentCount(); ++c) {
        const std::pair<double, double> limits = data->DataMinMax(c);
        range.first = std::min(range.first, limits.first);
        range.second = std::max(range.second, limits.second);
    }
    return range;
}

shr::GString VoCast::InputRangeText() const
{
    const std::pair<double, double> range = InputRange();
    if (!(range.first <= range.second))
        return kNotAvailable;
    return shr::ToString("%.10g, %.10g", range.first, range.second);
}

shr::GString VoCast::OutputRangeText() const
{
    const std::pair<double, double> range = InputRange();
    if (!(range.first <= range.second))
        return kNotAvailable;
    double x2 = (m_Offset + range.first) * m_Scale;
    double x1 = (m_Offset + range.second) * m_Scale;
    bool truncated = false;
    if (shr::CPrimType::IsInteger(m_OutputType)) {
        x2 = std::trunc(x2);
        x1 = std::trunc(x1);
        truncated = x2 < shr::CPrimType::TypeMin[m_OutputType] || x1 > shr::CPrimType::TypeMax[m_OutputType];
    }
    return shr::ToString("%.10g, %.10g%s", x2, x1, truncated ? " (truncated!)" : "");
}

bool VoCast::Stretch()
{
    const std::pair<double, double> range = InputRange();
    return StretchParameters(m_OutputType, range.first, range.second, m_Offset, m_Scale);
}

// A range of no width is taken as empty: its scale would be infinite.
bool VoCast::StretchParameters(shr::PrimType type, double min, double max, double& offset, double& scale)
{
    if (!shr::CPrimType::IsInteger(type) || !(min < max))
        return false;
    const double low = shr::CPrimType::TypeMin[type], high = shr::CPrimType::TypeMax[type];
    scale = (high - low + 1.0) / (max - min);
    offset = (low - 0.5) / scale - min;
    return true;
}

// ---- properties ----------------------------------------------------------------

void VoCast::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), IdHeader, NameAndId(), "General", "", "");
    list.Indent();
    list.AddStatic(Id(), IdInputType, "Input type", "The type of values in the input data.", "");
    list.AddStatic(Id(), IdInputRange, "Input range", "The limits of the input values over all components.", "");
    list.AddCombo(Id(), "ChangeTypeOutputType", IdOutputType, "Output type",
                  "The type of values stored in the output data.", static_cast<unsigned int>(m_OutputType),
                  shr::PrimTypeCount, const_cast<const char**>(shr::CPrimType::TypeName), 0);
    list.AddDouble(Id(), "ChangeTypeOffset", IdOffset, "Offset", "Added to each value before the scale.", m_Offset,
                   ValCheckNone, 0.0, 0.0, 1.0);
    list.AddDouble(Id(), "ChangeTypeScale", IdScale, "Scale", "Multiplies each value after the offset.", m_Scale,
                   ValCheckNone, 0.0, 0.0, 1.0);
    list.AddButton(Id(), "ChangeTypeStretch", IdStretch, "Stretch",
                   "Sets offset and scale so that the input range fills the integer output type.", "Stretch");
    list.AddStatic(Id(), IdOutputRange, "Output range", "The limits of the output values.", "");
    list.Outdent();
    UpdateRanges(list);
}

void VoCast::UpdateRanges(VbPropList& list) const
{
    const VdVertexData* data = InputData();
    const shr::GString inputRange = InputRangeText();
    const bool available = inputRange != kNotAvailable;
    list.SetStatic(IdInputType, available ? shr::CPrimType::TypeName[data->DataType()] : kNotAvailable);
    list.SetStatic(IdInputRange, inputRange.c_str());
    list.SetStatic(IdOutputRange, OutputRangeText().c_str());
}

void VoCast::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    switch (event.Id()) {
    case IdOutputType: {
        unsigned int type = m_OutputType;
        list.GetValue(IdOutputType, type);
        OutputType(static_cast<int>(type));
        break;
    }
    case IdOffset: list.GetValue(IdOffset, m_Offset); break;
    case IdScale: list.GetValue(IdScale, m_Scale); break;
    case IdStretch:
        if (!Stretch())
            return;
        list.SetNum(IdOffset, m_Offset);
        list.SetNum(IdScale, m_Scale);
        break;
    default: return;
    }
    UpdateRanges(list);
    SetModified();
}

// ---- persistence ----------------------------------------------------------------

void VoCast::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    int32_t inputType = m_InputType, outputType = m_OutputType;
    double offset = m_Offset, scale = m_Scale;
    archive.Transfer(inputType);
    archive.Transfer(outputType);
    archive.Transfer(offset);
    archive.Transfer(scale);
    if (archive.IsStoring())
        return;
    if (!shr::CPrimType::IsValid(inputType) || !shr::CPrimType::IsValid(outputType))
        archive.ThrowFormatError("invalid data type %d or %d", static_cast<int>(inputType),
                                 static_cast<int>(outputType));
    m_InputType = static_cast<shr::PrimType>(inputType);
    m_OutputType = static_cast<shr::PrimType>(outputType);
    m_Offset = offset;
    m_Scale = scale;
}

} // namespace core
