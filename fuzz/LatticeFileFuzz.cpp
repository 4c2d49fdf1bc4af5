// Lattice files: every input is read into a lattice or refused with a user
// error; segyio and the NetCDF library must never be reached with a file
// that makes them assert or read out of bounds. The bytes are handed over as
// an in-memory file, since both libraries open files by name.
#include "FuzzSupport.h"
#include "FuzzTarget.h"

#include "core/data/VdLattice.h"
#include "host/HostError.h"
#include "host/LatticeFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::InitLibrary();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const int fd = memfd_create("lattice", 0);
    if (fd < 0 || write(fd, data, size) != ssize_t(size)) {
        if (fd >= 0)
            close(fd);
        return 0;
    }
    const std::string path = "/proc/self/fd/" + std::to_string(fd);
    try {
        host::LatticeFile::Read(path, "fuzz", host::FileOptions({}, "fuzz"));
    } catch (const shr::Exception& error) {
        if (!host::IsUserError(error))
            std::abort();
    }
    close(fd);
    return 0;
}
