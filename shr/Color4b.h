#pragma once
// Color4b: an 8-bit RGBA colour, four bytes long, so that code may copy it as
// one 32-bit word.
#include <cstdint>

namespace shr {

struct Color4b {
    // How Interp blends two colours. Alpha blends linearly in every continuous
    // method, and follows the colour's choice in the stepped ones.
    enum InterpMethod : int32_t {
        Rgb = 0,                 // linear in RGB
        HsvShortest = 1,         // linear in HSV, the short way round the hue circle
        HsvLongest = 2,          // linear in HSV, the long way round
        HsvIncreasing = 3,       // linear in HSV, hue always increasing (red, yellow, green, ...)
        HsvDecreasing = 4,       // linear in HSV, hue always decreasing (red, magenta, blue, ...)
        Nearest = 5,             // the nearer colour: a below 0.5, b from 0.5
        StepFirst = 6,           // a everywhere below 1, b at 1
        StepLast = 7,            // a at 0, b everywhere above 0
        Smooth = 8,              // RGB with a cosine ease: flat at both ends
        LinearLight = 9,         // linear in linear-light sRGB: perceptually even brightness ramps
        InterpMethodCount = 10
    };

    unsigned char r, g, b, a;

    Color4b() : r(0), g(0), b(0), a(255) {}
    Color4b(unsigned char red, unsigned char green, unsigned char blue, unsigned char alpha = 255)
        : r(red), g(green), b(blue), a(alpha)
    {
    }

    bool operator==(const Color4b& o) const { return r == o.r && g == o.g && b == o.b && a == o.a; }
    bool operator!=(const Color4b& o) const { return !(*this == o); }

    // Perceived brightness, 0 to 255 (ITU-R BT.601 weights), alpha ignored.
    unsigned char Intensity() const;

    // The colour at fraction t (clamped to 0..1) between a and b. An unknown
    // method blends as Rgb.
    static Color4b Interp(const Color4b& a, const Color4b& b, double t, InterpMethod method);

    static const Color4b Black, Blue, Gray, Lime, Ltgray, Red, White, Yellow;
};

static_assert(sizeof(Color4b) == 4, "Color4b is copied as one 32-bit word");

} // namespace shr
