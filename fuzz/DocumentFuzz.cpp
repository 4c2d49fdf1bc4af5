// Saved documents: loading either restores a network that then runs a pass, or
// raises a user error and leaves the network empty.
#include "FuzzSupport.h"
#include "FuzzTarget.h"

#include "core/network/VoNetwork.h"
#include "host/HostError.h"
#include "host/NetworkDocument.h"

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::InitLibrary();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try {
        host::NetworkDocument::Load(data, size, "fuzz");
    } catch (const shr::Exception& error) {
        if (!host::IsUserError(error) || core::VoNetwork::Instance().size() != 0)
            std::abort();
        return 0;
    }
    fuzz::RunPass();
    fuzz::ClearNetwork();
    return 0;
}
