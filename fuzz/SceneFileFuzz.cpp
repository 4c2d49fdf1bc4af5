// Scene files: every text either builds its network or is refused with a user
// error that leaves nothing behind. Files the scene names are looked for in
// the corpus's own folder of point files.
#include "FuzzSupport.h"
#include "FuzzTarget.h"

#include "core/network/VoNetwork.h"
#include "host/HostError.h"
#include "host/SceneBuilder.h"
#include "host/SceneFile.h"

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::InitLibrary();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try {
        const host::SceneDescription scene = host::SceneFile::Parse(fuzz::Text(data, size), "fuzz", FENRAK_FUZZ_FILES);
        host::SceneBuilder(scene).Build();
    } catch (const shr::Exception& error) {
        if (!host::IsUserError(error))
            std::abort();
    }
    fuzz::ClearNetwork();
    return 0;
}
