#pragma once
// What VoAxes keeps for each of its three axes.
#include "core/properties/TextFormat.h"
#include "core/properties/VbLabelFormat.h"
#include "shr/Color4b.h"
#include "shr/GString.h"
#include "shr/Vec3.h"

#include <cstdint>

namespace shr {
class Archive;
}

namespace core {
namespace AxesPrivate {

// One axis: where it runs (start and end differ only in the axis's own
// coordinate), how its ticks and labels stand, and the label texts. All
// coordinates are the data's own (UVW); the user transform comes on top.
struct AxisInfo {
    // Defaults of axis 0, 1 or 2 (X, Y, Z).
    explicit AxisInfo(int axis);

    // Show, colour, start, end, tick direction, plane; before 128 the face;
    // title, title scale, show labels; before 128 the font's flag; the flips;
    // increment, first, last, angle, label scale; ticks per label; the label
    // format; from 128 the text format.
    void Serialize(shr::Archive& archive);

    bool show = true;
    shr::Color4b color;
    shr::Vec3d start;
    shr::Vec3d end;
    shr::Vec3d tickDirection;
    double plane = 0.0; // degrees about the axis
    shr::GString title;
    double titleScale = 1.0;
    bool showLabels = true;
    bool flipX = false;
    bool flipY = false;
    double labelIncrement = 1.0;
    double labelFirst = 0.0;
    double labelLast = 1.0;
    double labelAngle = 0.0; // degrees
    double labelScale = 1.0;
    int32_t ticksPerLabel = 5;
    VbLabelFormat labelFormat;
    // Face, antialias (the first flag) and colour of the texts.
    TextFormat text;
};

} // namespace AxesPrivate
} // namespace core
