#pragma once
// Filter runs for the lattice filter tests, on lattices from tests/support.
#include "LatticeSupport.h"

#include "core/data/VdUniformLattice.h"
#include "core/processing/filters/CLatticeFilter.h"

#include <memory>
#include <vector>

namespace filtertest {

using core::CLatticeFilter;
using core::VdUniformLattice;

constexpr double B = testsupport::kBlankValue;
using testsupport::ComponentValues;
using testsupport::ValueLattice;

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
