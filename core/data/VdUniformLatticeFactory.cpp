#include "core/data/VdUniformLatticeFactory.h"

#include "shr/Exception.h"

namespace core {

std::unique_ptr<VdUniformLattice> VdUniformLatticeFactory::Construct(const unsigned int* dims, shr::ColorFormat format)
{
    const int value = static_cast<int>(format);
    if (value == 0 || value == 14)
        shr::ThrowSharedError("Core", "VdUniformLatticeFactory", __LINE__, 0, "Invalid color format.");
    shr::PrimType type = shr::UInt8;
    unsigned int components = 1;
    if (value == 4)
        type = shr::UInt16;
    else if (value == 5)
        type = shr::UInt32;
    else if (value >= 6 && value <= 13)
        components = 4;
    return std::make_unique<VdUniformLattice>(type, dims, nullptr, components);
}

} // namespace core
