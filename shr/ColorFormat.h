#pragma once
// ColorFormat: the pixel format of an image, as a lattice made for pixels
// stores it: single-channel formats keep one component per node, the
// four-channel 8-bit formats four. 0 and ColorFormatCount name no format.
namespace shr {

enum ColorFormat : int {
    ColorFormatUnknown = 0,
    Gray8 = 1,   // 8-bit luminance
    Alpha8 = 2,  // 8-bit coverage
    Index8 = 3,  // 8-bit index into a palette
    Gray16 = 4,  // 16-bit luminance
    Gray32 = 5,  // 32-bit luminance
    Rgba8 = 6,   // four 8-bit channels, in the order the name gives
    Bgra8 = 7,
    Argb8 = 8,
    Abgr8 = 9,
    Rgbx8 = 10,  // x: a padding byte, stored but not shown
    Bgrx8 = 11,
    Xrgb8 = 12,
    Xbgr8 = 13,
    ColorFormatCount = 14
};

} // namespace shr
