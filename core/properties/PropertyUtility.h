#pragma once
// PropertyUtility: the recurring pieces of property rows that several modules
// share: the texts of range comments and positive values.
#include "shr/GString.h"

#include <tuple>

namespace shr {
struct Vec2d;
struct Vec3d;
} // namespace shr

namespace core {

class PropertyUtility {
public:
    PropertyUtility() = delete;

    // Header comments: "(x, y, z)"; "(min, max)", or "Not available" unless
    // max >= min (so also for a NaN limit); the same with a Vec2d as (min, max);
    // "(nx x ny x nz)" for a resolution.
    static shr::GString CommentText(const shr::Vec3d& value);
    static shr::GString CommentText(double min, double max);
    static shr::GString CommentText(const shr::Vec2d& range);
    static shr::GString CommentText(const std::tuple<unsigned, unsigned, unsigned>& nodes);

    // "%.10g", with values below the double epsilon (and so every negative
    // value) shown as 0.
    static shr::GString FormatPositiveValue(double value);
};

} // namespace core
