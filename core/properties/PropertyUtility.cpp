#include "core/properties/PropertyUtility.h"

#include "shr/StringUtil.h"
#include "shr/Vec2.h"
#include "shr/Vec3.h"

#include <limits>

namespace core {

shr::GString PropertyUtility::CommentText(const shr::Vec3d& value)
{
    return shr::ToString("(%.10g, %.10g, %.10g)", value.x, value.y, value.z);
}

shr::GString PropertyUtility::CommentText(double min, double max)
{
    if (max >= min)
        return shr::ToString("(%.10g, %.10g)", min, max);
    return "Not available";
}

shr::GString PropertyUtility::CommentText(const shr::Vec2d& range)
{
    return CommentText(range.x, range.y);
}

shr::GString PropertyUtility::CommentText(const std::tuple<unsigned, unsigned, unsigned>& nodes)
{
    return shr::ToString("(%u x %u x %u)", std::get<0>(nodes), std::get<1>(nodes), std::get<2>(nodes));
}

shr::GString PropertyUtility::FormatPositiveValue(double value)
{
    if (value < std::numeric_limits<double>::epsilon())
        value = 0.0;
    return shr::ToString("%.10g", value);
}

} // namespace core
