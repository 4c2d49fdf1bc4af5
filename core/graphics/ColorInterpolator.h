#pragma once
// ColorInterpolator: one value in, one colour out. Texture collectors take one
// so that they need not know whether a colour map or a grey ramp stands behind
// the colours. The module that colours owns its interpolator.
#include "shr/Color4b.h"
#include "shr/NonComparable.h"

namespace core {

class VbColorMap;

class ColorInterpolator : private shr::NonComparable {
public:
    virtual ~ColorInterpolator();
    virtual shr::Color4b operator()(double value) const = 0;

    ColorInterpolator(const ColorInterpolator&) = delete;
    ColorInterpolator& operator=(const ColorInterpolator&) = delete;

protected:
    ColorInterpolator() = default;
};

// A grey ramp: grey = (value - lower) * factor, clamped to 0..255 and
// truncated; opaque.
class LinearColorInterpolator : public ColorInterpolator {
public:
    LinearColorInterpolator(double lower, double factor) : m_Lower(lower), m_Factor(factor) {}
    shr::Color4b operator()(double value) const override;

    double GetLower() const { return m_Lower; }
    double GetFactor() const { return m_Factor; }

private:
    double m_Lower;
    double m_Factor;
};

// The colour of a colour map at a data value, through its scaling window.
// The map is not owned and must outlive the interpolator; its table should be
// fresh before several threads share it (see VbColorMap).
class ColorMapColorInterpolator : public ColorInterpolator {
public:
    explicit ColorMapColorInterpolator(const VbColorMap& colorMap) : m_ColorMap(&colorMap) {}
    shr::Color4b operator()(double value) const override;

private:
    const VbColorMap* m_ColorMap;
};

} // namespace core
