#include "shr/Color4b.h"

#include <algorithm>
#include <cmath>

namespace shr {

const Color4b Color4b::Black(0, 0, 0);
const Color4b Color4b::Blue(0, 0, 255);
const Color4b Color4b::Gray(128, 128, 128);
const Color4b Color4b::Lime(0, 255, 0);
const Color4b Color4b::Ltgray(192, 192, 192);
const Color4b Color4b::Red(255, 0, 0);
const Color4b Color4b::White(255, 255, 255);
const Color4b Color4b::Yellow(255, 255, 0);

namespace {

unsigned char ToByte(double value)
{
    return static_cast<unsigned char>(std::lround(std::clamp(value, 0.0, 255.0)));
}

double Lerp(double a, double b, double t) { return a + (b - a) * t; }

struct Hsv {
    double h; // degrees, 0 to 360
    double s; // 0 to 1
    double v; // 0 to 1
};

Hsv ToHsv(const Color4b& c)
{
    const double r = c.r / 255.0, g = c.g / 255.0, b = c.b / 255.0;
    const double max = std::max({r, g, b});
    const double min = std::min({r, g, b});
    const double delta = max - min;
    Hsv hsv{0.0, max > 0.0 ? delta / max : 0.0, max};
    if (delta > 0.0) {
        if (max == r)
            hsv.h = 60.0 * std::fmod((g - b) / delta + 6.0, 6.0);
        else if (max == g)
            hsv.h = 60.0 * ((b - r) / delta + 2.0);
        else
            hsv.h = 60.0 * ((r - g) / delta + 4.0);
    }
    return hsv;
}

void FromHsv(const Hsv& hsv, double& r, double& g, double& b)
{
    const double h = std::fmod(std::fmod(hsv.h, 360.0) + 360.0, 360.0) / 60.0;
    const double c = hsv.v * hsv.s;
    const double x = c * (1.0 - std::fabs(std::fmod(h, 2.0) - 1.0));
    const double m = hsv.v - c;
    double rr = 0, gg = 0, bb = 0;
    switch (static_cast<int>(h) % 6) {
    case 0: rr = c; gg = x; break;
    case 1: rr = x; gg = c; break;
    case 2: gg = c; bb = x; break;
    case 3: gg = x; bb = c; break;
    case 4: rr = x; bb = c; break;
    default: rr = c; bb = x; break;
    }
    r = (rr + m) * 255.0;
    g = (gg + m) * 255.0;
    b = (bb + m) * 255.0;
}

// The signed hue distance from ha to hb that the method travels. Equal hues
// never travel, whatever the method.
double HueTravel(double ha, double hb, Color4b::InterpMethod method)
{
    double increasing = std::fmod(hb - ha + 360.0, 360.0); // 0 to <360
    if (increasing == 0.0)
        return 0.0;
    const double decreasing = increasing - 360.0;          // -360 to <0
    const bool increasingIsShorter = increasing <= 180.0;
    switch (method) {
    case Color4b::HsvIncreasing: return increasing;
    case Color4b::HsvDecreasing: return decreasing;
    case Color4b::HsvLongest: return increasingIsShorter ? decreasing : increasing;
    default: return increasingIsShorter ? increasing : decreasing;
    }
}

Color4b InterpHsv(const Color4b& a, const Color4b& b, double t, Color4b::InterpMethod method)
{
    Hsv ha = ToHsv(a), hb = ToHsv(b);
    // A grey has no hue of its own: borrow the other end's so the ramp does not
    // swing through unrelated hues.
    if (ha.s == 0.0)
        ha.h = hb.h;
    if (hb.s == 0.0)
        hb.h = ha.h;
    const Hsv mixed{ha.h + HueTravel(ha.h, hb.h, method) * t, Lerp(ha.s, hb.s, t), Lerp(ha.v, hb.v, t)};
    double r, g, bl;
    FromHsv(mixed, r, g, bl);
    return Color4b(ToByte(r), ToByte(g), ToByte(bl), ToByte(Lerp(a.a, b.a, t)));
}

double SrgbToLinear(unsigned char byte)
{
    const double c = byte / 255.0;
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

unsigned char LinearToSrgb(double linear)
{
    const double c = linear <= 0.0031308 ? linear * 12.92 : 1.055 * std::pow(linear, 1.0 / 2.4) - 0.055;
    return ToByte(c * 255.0);
}

Color4b InterpRgb(const Color4b& a, const Color4b& b, double t)
{
    return Color4b(ToByte(Lerp(a.r, b.r, t)), ToByte(Lerp(a.g, b.g, t)), ToByte(Lerp(a.b, b.b, t)),
                   ToByte(Lerp(a.a, b.a, t)));
}

} // namespace

unsigned char Color4b::Intensity() const { return ToByte(0.299 * r + 0.587 * g + 0.114 * b); }

Color4b Color4b::Interp(const Color4b& a, const Color4b& b, double t, InterpMethod method)
{
    t = std::isnan(t) ? 0.0 : std::clamp(t, 0.0, 1.0);
    switch (method) {
    case HsvShortest:
    case HsvLongest:
    case HsvIncreasing:
    case HsvDecreasing:
        return InterpHsv(a, b, t, method);
    case Nearest:
        return t < 0.5 ? a : b;
    case StepFirst:
        return t < 1.0 ? a : b;
    case StepLast:
        return t > 0.0 ? b : a;
    case Smooth:
        return InterpRgb(a, b, 0.5 - 0.5 * std::cos(t * 3.14159265358979323846));
    case LinearLight:
        return Color4b(LinearToSrgb(Lerp(SrgbToLinear(a.r), SrgbToLinear(b.r), t)),
                       LinearToSrgb(Lerp(SrgbToLinear(a.g), SrgbToLinear(b.g), t)),
                       LinearToSrgb(Lerp(SrgbToLinear(a.b), SrgbToLinear(b.b), t)), ToByte(Lerp(a.a, b.a, t)));
    default:
        return InterpRgb(a, b, t);
    }
}

} // namespace shr
