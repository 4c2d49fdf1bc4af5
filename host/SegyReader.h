#pragma once
// SegyReader: a 3-D post-stack SEG-Y cube as a lattice, read through segyio.
//
// Every trace header gives an inline and a crossline number and the CDP
// position; the distinct line numbers, sorted, index the lattice: i runs
// along the crosslines of an inline, j across the inlines, k up the trace
// (the last sample at k = 0, so that Z, which is minus the time or depth,
// grows with k). A node whose trace is missing is blank; two traces on one
// node are an error.
//
// The positions are fitted by an affine grid, position = origin + i a + j b.
// When every trace lies on it (within the larger of the coordinates'
// rounding step and a hundredth of a bin) the survey is regular and becomes a
// uniform lattice whose UVW axes are the bin sizes along a and b and the
// vertical, placed in the scene through the user transform (rotation, or
// shear for skewed bins); an axis-aligned survey needs no transform. A
// survey off the grid becomes a curvilinear lattice with every trace at its
// own position (missing traces at the fitted place).
//
// segyio asserts on some malformed files, so the binary header, the sample
// count, the format and the file size are checked here against the trace
// count before any call that reads traces. Sample formats: 4-byte IBM and
// IEEE floats (Float), 4-, 2- and 1-byte integers (Int32, Int16, Int8); the
// byte order is big-endian, or little-endian when the format code reads
// right only that way.
//
// Settings ("fileOptions" in a scene): the header byte positions
// "inlineByte" (189), "crosslineByte" (193), "xByte" (181), "yByte" (185),
// "scalarByte" (71, the coordinate scalar: positive multiplies, negative
// divides), "delayByte" (109, the time of the first sample), each the start
// of a standard field; "sampleInterval" in milliseconds (or metres), for
// files whose headers carry none.
#include "shr/GString.h"

#include <cstdint>
#include <memory>

namespace core {
class VdLattice;
}

namespace host {

class FileOptions;

struct SegySettings {
    int inlineByte = 189;
    int crosslineByte = 193;
    int xByte = 181;
    int yByte = 185;
    int scalarByte = 71;
    int delayByte = 109;
    double sampleInterval = 0.0; // 0: from the headers
};

class SegyReader {
public:
    static SegySettings Settings(const FileOptions& options);
    // Whether the first bytes (at least the 3600 of the file headers) and the
    // size look like a SEG-Y file: a known sample format, samples per trace,
    // and a size that is a whole number of traces.
    static bool Recognise(const unsigned char* head, size_t size, uint64_t fileSize);
    static std::unique_ptr<core::VdLattice> Read(const shr::GString& path, const shr::GString& displayName,
                                                 const SegySettings& settings);
};

} // namespace host
