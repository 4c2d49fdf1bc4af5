// Point files: every text is read into points or refused with a user error.
#include "FuzzSupport.h"
#include "FuzzTarget.h"

#include "host/HostError.h"
#include "host/PointFileReader.h"

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::InitLibrary();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try {
        host::PointFileReader::Parse(fuzz::Text(data, size), "fuzz");
    } catch (const shr::Exception& error) {
        if (!host::IsUserError(error))
            std::abort();
    }
    return 0;
}
