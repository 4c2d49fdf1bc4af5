#pragma once
// The value of a colour-map property: the map and the histogram of the data it
// colours (for the host's map editor; empty when unknown).
#include "core/graphics/VbColorMap.h"

#include <utility>
#include <vector>

namespace core {

using VbColorMapPair = std::pair<VbColorMap, std::vector<unsigned int>>;

} // namespace core
