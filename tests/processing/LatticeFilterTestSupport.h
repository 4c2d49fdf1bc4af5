#pragma once
// Small lattices and filter runs for the lattice filter tests.
#include "core/data/LatticeUtility.h"
#include "core/data/VdUniformLattice.h"
#include "core/processing/filters/CLatticeFilter.h"

#include <memory>
#include <vector>

namespace filtertest {

using core::CLatticeFilter;
using core::VdUniformLattice;

// What a blank node reads as in Values.
constexpr double B = core::VdVertexData::BlankVal;

// A lattice of `dims` holding `values` (tuple by tuple) as `type`; nodes
// whose value is B are blanked.
inline std::unique_ptr<VdUniformLattice> MakeLattice(const unsigned int* dims, const std::vector<double>& values,
                                                     unsigned int components = 1, shr::PrimType type = shr::Double)
{
    auto lattice = core::DispatchPrimType(type, [&](auto tag) {
        using T = typename decltype(tag)::Type;
        std::vector<T> elements;
        for (double value : values)
            elements.push_back(core::PrimConvert<T>(value == B ? 0.0 : value));
        return std::make_unique<VdUniformLattice>(type, dims, elements.data(), components);
    });
    for (size_t e = 0; e < values.size(); ++e)
        if (values[e] == B)
            lattice->SetBlank(static_cast<unsigned int>(e / components), static_cast<unsigned int>(e % components));
    return lattice;
}

// Component c of every node, B for blanks.
inline std::vector<double> Values(const core::VdVertexData& data, unsigned int c = 0)
{
    std::vector<double> values;
    for (unsigned int n = 0; n < data.VertexCount(); ++n)
        values.push_back(data.IsBlank(n, c) ? B : core::NodeValue(data, n, c));
    return values;
}

// Settings for `filter` over `input` with every component flagged, fills of
// 0 and the ten parameters laid out as the module lays them out.
inline CLatticeFilter::Params Settings(const VdUniformLattice& input, uint32_t filter,
                                       std::vector<double> parameters = {})
{
    CLatticeFilter::Params p;
    p.input = &input;
    p.filter = filter;
    const unsigned int components = input.ComponentCount();
    p.components.assign(components, true);
    p.edgeFill.assign(components, 0.0);
    p.blankFill.assign(components, 0.0);
    parameters.resize(CLatticeFilter::ParameterSlots, 0.0);
    p.params = CLatticeFilter::ParameterVector(filter, parameters.data(), components);
    return p;
}

// Runs the filter into a new lattice shaped like the input.
inline std::unique_ptr<VdUniformLattice> Filtered(CLatticeFilter::Params p)
{
    auto output = std::make_unique<VdUniformLattice>(p.input->DataType(), p.input->GetDims(), nullptr,
                                                     p.input->ComponentCount());
    p.output = output.get();
    if (!CLatticeFilter::Execute(p))
        return nullptr;
    return output;
}

} // namespace filtertest
