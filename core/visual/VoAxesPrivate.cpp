#include "core/visual/VoAxesPrivate.h"

#include "shr/Archive.h"

namespace core {
namespace AxesPrivate {

namespace {

// Documents before this version keep the face and a font flag inside the
// axis, from it on the whole text format at its end.
constexpr int kTextFormatVersion = 128;

const shr::Color4b kAxisColors[3] = {shr::Color4b::Red, shr::Color4b::Lime, shr::Color4b::Blue};

shr::Vec3d Unit(int axis)
{
    shr::Vec3d v(0.0, 0.0, 0.0);
    v[axis] = 1.0;
    return v;
}

} // namespace

AxisInfo::AxisInfo(int axis)
    : color(kAxisColors[axis]), start(0.0, 0.0, 0.0), end(Unit(axis)), tickDirection(Unit(axis == 0 ? 1 : 0)),
      labelAngle(axis == 1 ? 90.0 : 0.0), labelFormat(2, 7),
      text(12.0, shr::Color4b::Red, "Arial", TextFormat::Left, false, true)
{
}

void AxisInfo::Serialize(shr::Archive& archive)
{
    const bool legacy = archive.GetVersion() < kTextFormatVersion;
    archive.Transfer(show);
    archive.Transfer(color);
    archive.Transfer(start);
    archive.Transfer(end);
    archive.Transfer(tickDirection);
    archive.Transfer(plane);
    if (legacy)
        archive.Transfer(text.m_Face);
    archive.Transfer(title);
    archive.Transfer(titleScale);
    archive.Transfer(showLabels);
    if (legacy)
        archive.Transfer(text.m_Flag1);
    archive.Transfer(flipX);
    archive.Transfer(flipY);
    archive.Transfer(labelIncrement);
    archive.Transfer(labelFirst);
    archive.Transfer(labelLast);
    archive.Transfer(labelAngle);
    archive.Transfer(labelScale);
    archive.Transfer(ticksPerLabel);
    labelFormat.Serialize(archive);
    if (!legacy)
        text.Serialize(archive);
    if (archive.IsLoading() && (ticksPerLabel < 1 || ticksPerLabel > 100))
        archive.ThrowFormatError("%d ticks per label is not within 1 to 100", ticksPerLabel);
}

} // namespace AxesPrivate
} // namespace core
