#include "core/graphics/ColorInterpolator.h"

#include "core/graphics/VbColorMap.h"

#include <cmath>

namespace core {

ColorInterpolator::~ColorInterpolator() = default;

shr::Color4b LinearColorInterpolator::operator()(double value) const
{
    double grey = (value - m_Lower) * m_Factor;
    // NaN (a NaN sample, or an infinite factor at the centre) is black: a NaN
    // cannot be converted to a byte.
    if (std::isnan(grey))
        grey = 0.0;
    grey = grey < 0.0 ? 0.0 : (grey > 255.0 ? 255.0 : grey);
    const unsigned char level = static_cast<unsigned char>(grey);
    return shr::Color4b(level, level, level, 255);
}

shr::Color4b ColorMapColorInterpolator::operator()(double value) const
{
    return m_ColorMap->PosToColor(m_ColorMap->DatToPos(value));
}

} // namespace core
