#pragma once
// ComponentStats: the cached statistics of one component of a VdArray. The
// array computes each half on demand and clears the valid bits when its data
// has been modified.
#include <cstdint>
#include <vector>

namespace core {

struct ComponentStats {
    bool minMaxValid = false;
    bool histogramValid = false;
    double min = 0.0;
    double max = 0.0;
    std::vector<uint32_t> histogram; // bin counts
};

} // namespace core
