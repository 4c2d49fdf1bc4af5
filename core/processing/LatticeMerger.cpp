#include "core/processing/LatticeMerger.h"

#include "core/data/ParallelFor.h"
#include "core/data/VdUniformLattice.h"
#include "core/network/VbPort.h"
#include "core/processing/ExpressionLattice.h"
#include "shr/Exception.h"

#include <algorithm>
#include <bitset>
#include <cmath>
#include <vector>

namespace core {

namespace {

using BlankBits = std::bitset<VdLattice::MaxBlankBits>;

// Orders NaN after every number, so that sorting a list that holds one stays
// a strict weak order.
bool LessNaNLast(double a, double b) { return a < b || (!std::isnan(a) && std::isnan(b)); }

[[noreturn]] void ThrowUnknownOverlap(int line, unsigned int overlap)
{
    shr::ThrowSharedError("Core", __FILE__, line, 0, "Invalid overlap method %u.", overlap);
}

} // namespace

LatticeMerger::LatticeMerger(const shr::Array<const VdLattice*>& inputs, VdUniformLattice& output,
                             VdLattice::InterpMethod method, unsigned int overlap)
    : m_Inputs(inputs), m_Output(output), m_Method(method), m_Overlap(CheckedOverlap(overlap))
{
    if (output.ComponentCount() > VdLattice::MaxBlankBits)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "invalid bitset<N> position");
}

bool LatticeMerger::Run(VbProgress* progress) const
{
    // Curvilinear inputs build their cell locators here, once, not in the workers.
    const shr::Vec3d first = m_Output.IJKToXYZ(0, 0, 0);
    for (const VdLattice* input : m_Inputs)
        if (input->GetType() == PortCurvilinearLattice && !input->DataEmpty())
            input->XYZToIJK(first);
    const unsigned int count = m_Output.VertexCount();
    const bool completed = ParallelForWithProgress(count, 1u, *this, progress, 0, count, m_Output.DataPtr());
    m_Output.DataModified();
    return completed;
}

void LatticeMerger::operator()(const tbb::blocked_range<unsigned int>& nodes) const
{
    const size_t inputCount = m_Inputs.size();
    // Each input's values start at its offset in one buffer.
    std::vector<size_t> offsets(inputCount + 1, 0);
    for (size_t s = 0; s < inputCount; ++s)
        offsets[s + 1] = offsets[s] + m_Inputs[s]->ComponentCount();
    std::vector<double> values(offsets[inputCount]);
    std::vector<BlankBits> blanks(inputCount);
    std::vector<double> list(inputCount);
    const unsigned int components = m_Output.ComponentCount();

    for (uint32_t node = nodes.begin(); node != nodes.end(); ++node) {
        unsigned int i, j, k;
        m_Output.IndexToIJK(node, i, j, k);
        const shr::Vec3d position = m_Output.IJKToXYZ(i, j, k);
        for (size_t s = 0; s < inputCount; ++s)
            if (m_Inputs[s]->ComponentCount() != 0)
                m_Inputs[s]->Interpolate(m_Method, position, &values[offsets[s]], 0, m_Inputs[s]->ComponentCount(),
                                         blanks[s]);
        for (unsigned int c = 0; c < components; ++c) {
            size_t count = 0;
            for (size_t s = 0; s < inputCount; ++s)
                if (m_Inputs[s]->ComponentCount() > c && !blanks[s][c])
                    list[count++] = values[offsets[s] + c];
            if (count != 0)
                StoreElement(m_Output, node, c, Combine(m_Overlap, list.data(), count));
            else if (m_Overlap == OverlapCount)
                StoreElement(m_Output, node, c, 0.0);
            else
                m_Output.SetBlank(node, c);
        }
    }
}

double LatticeMerger::Combine(unsigned int overlap, double* values, size_t count)
{
    switch (overlap) {
    case OverlapAverage: {
        double sum = 0.0;
        for (size_t n = 0; n < count; ++n)
            sum += values[n];
        return sum / static_cast<double>(count);
    }
    case OverlapCount: return static_cast<double>(count);
    case OverlapFirst: return values[0];
    case OverlapLast: return values[count - 1];
    case OverlapMaximum: return *std::max_element(values, values + count, LessNaNLast);
    case OverlapMedian:
        std::partial_sort(values, values + count / 2 + 1, values + count, LessNaNLast);
        return (values[(count - 1) / 2] + values[count / 2]) * 0.5;
    case OverlapMinimum: return *std::min_element(values, values + count, LessNaNLast);
    }
    ThrowUnknownOverlap(__LINE__, overlap);
}

unsigned int LatticeMerger::CheckedOverlap(unsigned int overlap)
{
    if (overlap >= OverlapMethods)
        ThrowUnknownOverlap(__LINE__, overlap);
    return overlap;
}

} // namespace core
