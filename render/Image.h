#pragma once
// Image: 8-bit RGBA pixels, top row first, four bytes a pixel with no padding
// between rows; what the renderer reads back and what PNG files hold.
#include "shr/Color4b.h"
#include "shr/GString.h"

#include <cstdint>
#include <vector>

namespace render {

class Image {
public:
    Image() = default;
    // A width x height image filled with `fill`; negative sizes throw.
    Image(int width, int height, const shr::Color4b& fill = shr::Color4b(0, 0, 0, 0));
    // Takes width * height * 4 bytes, top row first; a size mismatch throws.
    Image(int width, int height, std::vector<uint8_t> rgba);

    int Width() const { return m_Width; }
    int Height() const { return m_Height; }
    bool Empty() const { return m_Width == 0 || m_Height == 0; }
    const std::vector<uint8_t>& Pixels() const { return m_Pixels; }

    // The pixel in column x of row y (row 0 at the top); outside the image throws.
    shr::Color4b At(int x, int y) const;
    void Set(int x, int y, const shr::Color4b& color);

    bool operator==(const Image& other) const;
    bool operator!=(const Image& other) const { return !(*this == other); }

    // Writes an 8-bit RGBA PNG. The file is written under a temporary name
    // beside `path` and renamed into place, so a failure leaves any earlier
    // file at `path` untouched and no partial image behind. Throws on failure.
    void WritePng(const shr::GString& path) const;

private:
    size_t Offset(int x, int y) const;

    int m_Width = 0;
    int m_Height = 0;
    std::vector<uint8_t> m_Pixels;
};

} // namespace render
