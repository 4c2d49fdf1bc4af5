#include "core/processing/VoExclusionFilter.h"

#include "core/data/VdPoints.h"
#include "core/gridding/CDatum.h"
#include "core/network/CoreError.h"
#include "core/network/VbModuleInfo.h"
#include "core/network/VbPort.h"
#include "core/processing/ExpressionLattice.h"
#include "core/properties/VbPropList.h"
#include "core/properties/VbPropertyEvent.h"
#include "core/properties/VbPropertyRegistry.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/StringUtil.h"
#include "tzexpr/CExpression.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <cstring>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VoExclusionFilter, VoModule)
const VbModuleInfo VoExclusionFilter::s_ModuleInfo(
    "Computational\\ExclusionFilter", VoExclusionFilter::GetClassTypeId(), PortPoints, PortPoints,
    "Excludes points from the point set according to a user specified criterion", 2);

namespace VoExclusionFilterPrivate {

const VbPropertyRegistrar s_ExpressionKey("ExclusionFilterExpression", VoExclusionFilter::ExpressionId,
                                          VbStringPropertyConverter::Key());

// Slots of the variable table: B (the result), X, Y, Z, n, C, then C1, C2, ...
enum Slot { SlotB, SlotX, SlotY, SlotZ, SlotN, SlotC, SlotCount };

size_t CountExpressions(const shr::GString& text)
{
    size_t count = 0;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find(';', start);
        if (end == shr::GString::npos)
            end = text.size();
        shr::GString piece = text.substr(start, end - start);
        shr::Trim(piece);
        count += piece.empty() ? 0 : 1;
        start = end + 1;
    }
    return count;
}

// Decides, for a range of points, which stay. The expression is shared;
// each call has its own variables.
class ExclusionEvaluator {
public:
    ExclusionEvaluator(const tzexpr::CExpression* expression, const VdPoints* points, std::vector<char>* keep)
        : m_Expression(expression), m_Points(points), m_Keep(keep)
    {
    }

    void operator()(const tbb::blocked_range<unsigned int>& range) const
    {
        const unsigned int components = m_Points->ComponentCount();
        std::vector<double> variables(SlotCount + components, 0.0);
        std::vector<const void*> pointers(variables.size());
        for (size_t s = 0; s < variables.size(); ++s)
            pointers[s] = &variables[s];
        for (unsigned int p = range.begin(); p != range.end(); ++p) {
            Load(p, variables.data());
            double& result = variables[SlotB];
            const bool holds = m_Expression->Evaluate(pointers.data(), &result, nullptr, nullptr) &&
                               result != CDatum::BLANK_VAL && result != 0.0;
            (*m_Keep)[p] = !holds;
        }
    }

private:
    void Load(unsigned int p, double* variables) const
    {
        const shr::PrimType coordType = m_Points->GetCoordType();
        const unsigned char* coords =
            static_cast<const unsigned char*>(m_Points->GetCoordPtr()) + uint64_t(p) * m_Points->GetCoordTupleSize();
        const unsigned int size = m_Points->GetCoordComponentSize();
        const shr::Vec3d uvw(ReadElement(coords, coordType), ReadElement(coords + size, coordType),
                             ReadElement(coords + 2 * size, coordType));
        const shr::Vec3d xyz = m_Points->UVWToXYZ(uvw);
        variables[SlotX] = xyz.x;
        variables[SlotY] = xyz.y;
        variables[SlotZ] = xyz.z;
        variables[SlotN] = p;
        const unsigned int components = m_Points->ComponentCount();
        for (unsigned int c = 0; c < components; ++c)
            variables[SlotC + 1 + c] = m_Points->IsBlank(p, c)
                                           ? CDatum::BLANK_VAL
                                           : ReadElement(m_Points->DataPtr(p, c), m_Points->DataType());
        variables[SlotC] = components ? variables[SlotC + 1] : CDatum::BLANK_VAL;
    }

    const tzexpr::CExpression* m_Expression;
    const VdPoints* m_Points;
    std::vector<char>* m_Keep;
};

} // namespace VoExclusionFilterPrivate

using namespace VoExclusionFilterPrivate;

VoExclusionFilter::VoExclusionFilter()
{
    AddInput("Input Points", PortPoints);
    AddOutput("Output Points", PortPoints);
}

void VoExclusionFilter::UpdatePropertiesImpl(VbPropList& list)
{
    list.AddHeader(Id(), HeaderId, NameAndId(), "General", "", "");
    list.Indent();
    list.AddEdit(Id(), "ExclusionFilterExpression", ExpressionId, "Exclude where",
                 "The points for which this condition holds are removed.  Variables include X, Y, Z, N (the point "
                 "index), C (the first component) and C1, C2, ... (the components).",
                 m_Expression);
    list.Outdent();
}

void VoExclusionFilter::PropertyEvent(VbPropList& list, const VbPropertyEvent& event)
{
    if (event.Id() != ExpressionId)
        return;
    list.GetValue(ExpressionId, m_Expression);
    SetModified();
}

shr::GString VoExclusionFilter::Declarations(unsigned int components)
{
    shr::GString declarations = "double:B double:X double:Y double:Z double:n double:C";
    for (unsigned int c = 1; c <= components; ++c)
        declarations += shr::ToString(" double:C%u", c);
    return declarations;
}

tzexpr::CExpression VoExclusionFilter::Parse(const shr::GString& text, unsigned int components)
{
    if (CountExpressions(text) != 1)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Exclusion filter must contain exactly one expression.");
    shr::GString trimmed = text;
    shr::Trim(trimmed);
    tzexpr::CExpression expression;
    int code = 0;
    shr::GString message;
    if (!expression.Parse("B = " + trimmed, Declarations(components), &code, &message, nullptr))
        CORE_THROW(15, code, StripAssignment(message, "B = ").c_str());
    expression.SetNodataHandling(true, CDatum::BLANK_VAL);
    return expression;
}

std::vector<char> VoExclusionFilter::Evaluate(const tzexpr::CExpression& expression, const VdPoints& points)
{
    std::vector<char> keep(points.VertexCount(), 1);
    if (!keep.empty())
        tbb::parallel_for(tbb::blocked_range<unsigned int>(0, points.VertexCount()),
                          ExclusionEvaluator(&expression, &points, &keep));
    return keep;
}

VdPoints* VoExclusionFilter::Extract(const VdPoints& points, const std::vector<char>& keep)
{
    const uint64_t coordSize = points.GetCoordTupleSize();
    const uint64_t dataSize = points.DataTupleSize();
    std::vector<unsigned int> kept;
    for (unsigned int p = 0; p < keep.size(); ++p)
        if (keep[p])
            kept.push_back(p);
    std::vector<unsigned char> coords(kept.size() * coordSize);
    std::vector<unsigned char> data(kept.size() * dataSize);
    const auto* coordSource = static_cast<const unsigned char*>(points.GetCoordPtr());
    const auto* dataSource = static_cast<const unsigned char*>(points.DataPtr());
    for (size_t q = 0; q < kept.size(); ++q) {
        std::memcpy(&coords[q * coordSize], coordSource + kept[q] * coordSize, coordSize);
        if (dataSize)
            std::memcpy(&data[q * dataSize], dataSource + kept[q] * dataSize, dataSize);
    }
    auto result = std::make_unique<VdPoints>(points.GetCoordType(), points.DataType(),
                                             static_cast<unsigned int>(kept.size()), coords.data(),
                                             dataSize ? data.data() : nullptr, points.ComponentCount());
    for (unsigned int q = 0; q < kept.size(); ++q) {
        for (unsigned int c = 0; c < points.ComponentCount(); ++c)
            if (points.IsBlank(kept[q], c))
                result->SetBlank(q, c);
        const auto label = points.FindLabel(kept[q]);
        if (label != points.labels_end())
            result->AddLabel({q, label->second});
    }
    if (points.HasUserTransform())
        result->SetUserTransform(points.GetUserTransform());
    return result.release();
}

VoModule::ModuleStatus VoExclusionFilter::ExecuteImpl(std::shared_ptr<VgRenderer>)
{
    GetOutput(0)->Data(nullptr);
    const auto* points = dynamic_cast<const VdPoints*>(GetInputData(0));
    if (!points)
        return ModuleOk;
    const tzexpr::CExpression expression = Parse(m_Expression, points->ComponentCount());
    GetOutput(0)->Data(Extract(*points, Evaluate(expression, *points)));
    return ModuleOk;
}

void VoExclusionFilter::Serialize(shr::Archive& archive)
{
    VoModule::Serialize(archive);
    archive.SyncCheck();
    archive.Transfer(m_Expression);
}

} // namespace core
