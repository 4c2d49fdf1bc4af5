#include "core/processing/filters/PointFilters.h"

#include "core/data/LatticeUtility.h"
#include "core/data/PrimConvert.h"
#include "core/data/VdUniformLattice.h"
#include "core/processing/filters/FilterLoop.h"
#include "shr/PrimType.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace core {

namespace PointFiltersPrivate {

// Gamma leaves values as they are for a range or a gamma within this of 0.
constexpr double kMinGamma = 2.220446049250313e-16;

// The parallel body of a point operation over a range of nodes.
template <class Op>
class PointBody {
public:
    PointBody(const VdUniformLattice& input, VdUniformLattice& output, void* outputData, unsigned int component,
              const Op& op)
        : m_Input(input), m_Output(output), m_OutputData(outputData), m_Component(component), m_Op(op),
          m_HasBlanks(input.HasBlanks())
    {
    }

    void operator()(const tbb::blocked_range<unsigned int>& nodes) const
    {
        TakeOver(m_OutputData);
        const size_t stride = m_Input.ComponentCount();
        std::vector<unsigned int> blanks;
        DispatchPrimType(m_Input.DataType(), [&](auto tag) {
            using T = typename decltype(tag)::Type;
            const T* from = static_cast<const T*>(m_Input.DataPtr()) + m_Component;
            T* to = static_cast<T*>(m_OutputData) + m_Component;
            for (unsigned int n = nodes.begin(); n != nodes.end(); ++n) {
                if (m_HasBlanks && m_Input.IsBlank(n, m_Component))
                    blanks.push_back(n);
                else
                    to[n * stride] = PrimConvert<T>(m_Op(PrimConvert<double>(from[n * stride])));
            }
        });
        if (!blanks.empty()) {
            std::lock_guard<std::recursive_mutex> lock(VdArrayData::BlankLock());
            for (unsigned int n : blanks)
                m_Output.SetBlank(n, m_Component);
        }
        HandOver(m_OutputData);
    }

private:
    const VdUniformLattice& m_Input;
    VdUniformLattice& m_Output;
    void* m_OutputData;
    unsigned int m_Component;
    Op m_Op;
    bool m_HasBlanks;
};

struct BoundingFilter {
    double lower, upper;
    double operator()(double value) const { return value < lower ? lower : value > upper ? upper : value; }
};

struct BrightnessFilter {
    double contrast, offset;
    shr::PrimType type;
    double operator()(double value) const { return shr::CPrimType::Clip(type, contrast * value + offset); }
};

struct GammaFilter {
    double min, range, exponent;
    bool identity;
    shr::PrimType type;
    double operator()(double value) const
    {
        const double result = identity ? value : std::pow((value - min) / range, exponent) * range + min;
        return shr::CPrimType::Clip(type, result);
    }
};

struct HistogramFilter {
    double min, width;
    std::vector<double> table;

    // (value - min) / width truncated into 0 to 4095. A quotient that no
    // integer holds (NaN, beyond the ends) is clamped before the conversion:
    // NaN to bin 0, where the hardware's "integer indefinite" would clamp.
    unsigned int Bin(double value) const
    {
        const double bin = (value - min) / width;
        if (!(bin >= 0.0))
            return 0;
        return bin >= Filter_Histogram::BinCount - 1 ? Filter_Histogram::BinCount - 1 : static_cast<unsigned int>(bin);
    }
    double operator()(double value) const { return table[Bin(value)]; }
};

} // namespace PointFiltersPrivate

using namespace PointFiltersPrivate;

template <class MakeOp>
bool CLatticeFilter::RunPointOperation(const MakeOp& makeOp) const
{
    const unsigned int nodes = Input().VertexCount();
    void* outputData = Output().DataWritePtr();
    return RunComponents(nodes, [&](unsigned int c, VbProgress& progress, size_t done, size_t total) {
        const PointBody<decltype(makeOp(c))> body(Input(), Output(), outputData, c, makeOp(c));
        return LatticeFilterPrivate::RunWithProgress(nodes, 1u << 16, body, progress, done, total, outputData);
    });
}

bool Filter_Bounding::Run()
{
    const unsigned int components = ComponentCount();
    return RunPointOperation([&](unsigned int c) { return BoundingFilter{Param(c), Param(components + c)}; });
}

bool Filter_Brightness::Run()
{
    const unsigned int components = ComponentCount();
    return RunPointOperation([&](unsigned int c) {
        const std::pair<double, double> limits = Input().DataMinMax(c);
        const double mid = (limits.first + limits.second) * 0.5;
        const double brightness = Param(c), contrast = Param(components + c);
        return BrightnessFilter{contrast, mid + brightness - contrast * mid, Input().DataType()};
    });
}

bool Filter_Gamma::Run()
{
    return RunPointOperation([&](unsigned int c) {
        const std::pair<double, double> limits = Input().DataMinMax(c);
        const double range = limits.second - limits.first, gamma = Param(c);
        const bool identity = !(std::fabs(range) > kMinGamma) || !(std::fabs(gamma) > kMinGamma);
        return GammaFilter{limits.first, range, identity ? 1.0 : 1.0 / gamma, identity, Input().DataType()};
    });
}

bool Filter_Histogram::Run()
{
    return RunPointOperation([&](unsigned int c) {
        const std::pair<double, double> limits = Input().DataMinMax(c);
        const double min = limits.first, max = limits.second;
        HistogramFilter op{min, (max - min) * 0.000244140625, std::vector<double>(BinCount, 0.0)};
        // The histogram and its running sum, in one pass over the values.
        for (unsigned int n = 0; n < Input().VertexCount(); ++n)
            if (!Input().IsBlank(n, c))
                op.table[op.Bin(NodeValue(Input(), n, c))] += 1.0;
        for (unsigned int b = 1; b < BinCount; ++b)
            op.table[b] += op.table[b - 1];
        // Stretched back over the limits. All values in one bin (a constant
        // component) would divide zero by zero: the values then stand.
        const double first = op.table[0], span = op.table[BinCount - 1] - op.table[0];
        for (double& entry : op.table)
            entry = span == 0.0 ? min : (entry - first) * (max - min) / span + min;
        return op;
    });
}

} // namespace core
