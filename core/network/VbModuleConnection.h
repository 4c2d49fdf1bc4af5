#pragma once
// VbModuleConnection: one link between two modules, by their ids: what the
// host stores or shows of the network's shape.
#include "core/network/VbModuleId.h"

namespace core {

struct VbModuleConnection {
    VbModuleId source;
    unsigned int sourceOutput = 0;
    VbModuleId destination;
    unsigned int destinationInput = 0;

    VbModuleConnection() = default;
    VbModuleConnection(const VbModuleId& src, unsigned int output, const VbModuleId& dst, unsigned int input)
        : source(src), sourceOutput(output), destination(dst), destinationInput(input)
    {
    }

    bool operator==(const VbModuleConnection& o) const
    {
        return source == o.source && sourceOutput == o.sourceOutput && destination == o.destination &&
               destinationInput == o.destinationInput;
    }
    bool operator!=(const VbModuleConnection& o) const { return !(*this == o); }
};

} // namespace core
