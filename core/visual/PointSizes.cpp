#include "core/visual/PointSizes.h"

#include "shr/Archive.h"

#include <cstdint>

namespace core {

void TransferPointSizes(shr::Archive& archive, float& first, float& second)
{
    if (archive.IsStoring() || archive.GetVersion() >= kFloatPointSizesVersion) {
        archive.Transfer(first);
        archive.Transfer(second);
        return;
    }
    int32_t stored[2] = {0, 0};
    archive.Transfer(stored[0]);
    archive.Transfer(stored[1]);
    first = static_cast<float>(stored[0]);
    second = static_cast<float>(stored[1]);
}

} // namespace core
