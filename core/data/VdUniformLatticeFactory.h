#pragma once
// VdUniformLatticeFactory: data-less uniform lattices shaped for a pixel
// format, for images read into the data model. The numeric format decides the
// element type and component count only.
#include "core/data/VdUniformLattice.h"
#include "shr/ColorFormat.h"

#include <memory>

namespace core {

class VdUniformLatticeFactory {
public:
    // Formats 0 and 14 raise "Invalid color format."; 4 gives UInt16, 5 UInt32,
    // 6 to 13 four UInt8 components, any other one UInt8 component.
    static std::unique_ptr<VdUniformLattice> Construct(const unsigned int* dims, shr::ColorFormat format);

    VdUniformLatticeFactory() = delete;
};

} // namespace core
