// Colour maps in each text form: a colour-map file, the "Name:" property text
// and the catalogue. Each loads into a map with both end nodes or is refused
// with an error that leaves the map as it was.
#include "FuzzTarget.h"

#include "core/graphics/VbColorMap.h"
#include "core/graphics/VbColorMapTable.h"
#include "shr/Exception.h"

#include <cstdlib>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerInitialize(int*, char***) { return 0; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const core::VbColorMap reference("Reference", 1, 16);
    core::VbColorMap map = reference;
    std::istringstream in(text);
    try {
        map.Load("fuzz", in, false);
        if (map.GetColorCount() < 2 || map[0].pos != 0.0 || map[map.GetColorCount() - 1].pos != 1.0)
            std::abort();
        map.PosToColor(0.5);
        std::ostringstream saved;
        map.Save(saved);
    } catch (const shr::Exception&) {
        if (!map.Equivalent(reference, true))
            std::abort();
    }
    core::VbColorMap parsed;
    core::VbColorMap::FromString("Fuzzed:" + text, parsed);
    std::istringstream catalogue("#ColorMap 1.0\nFuzzed\n" + text);
    try {
        core::VbColorMapTable::Read("fuzz", catalogue);
    } catch (const shr::Exception&) {
    }
    return 0;
}
