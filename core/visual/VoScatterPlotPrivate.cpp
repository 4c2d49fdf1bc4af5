#include "core/visual/VoScatterPlotPrivate.h"

#include "core/data/VdPoints.h"
#include "shr/Exception.h"

#include <GL/gl.h>
#include <Inventor/SbMatrix.h>
#include <Inventor/SbViewVolume.h>
#include <Inventor/SbViewportRegion.h>
#include <Inventor/actions/SoAction.h>
#include <Inventor/actions/SoGLRenderAction.h>
#include <Inventor/elements/SoCacheElement.h>
#include <Inventor/elements/SoModelMatrixElement.h>
#include <Inventor/elements/SoProjectionMatrixElement.h>
#include <Inventor/elements/SoViewVolumeElement.h>
#include <Inventor/elements/SoViewportRegionElement.h>
#include <Inventor/misc/SoState.h>

#include <algorithm>

namespace core {
namespace ScatterPlotPrivate {

shr::Vec3d PointPosition(const VdPoints& points, size_t index)
{
    const void* coords = points.GetCoordPtr();
    const shr::PrimType type = points.GetCoordType();
    const shr::Vec3d uvw(ElementAt(coords, type, 3 * index), ElementAt(coords, type, 3 * index + 1),
                         ElementAt(coords, type, 3 * index + 2));
    return points.HasUserTransform() ? uvw * points.GetUserTransform() : uvw;
}

// ---- labels -------------------------------------------------------------------

LabelExtractor::~LabelExtractor() = default;

shr::GString LabelExtractor::Label(unsigned int index) const
{
    if (index >= m_Points.VertexCount())
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Point index out of range.");
    return LabelOf(index);
}

shr::GString TextLabelExtractor::LabelOf(unsigned int index) const
{
    const auto found = m_Points.FindLabel(index);
    return found == m_Points.labels_end() ? shr::GString() : m_Format.Format(found->second);
}

template <int Axis>
shr::GString PositionLabelExtractor<Axis>::LabelOf(unsigned int index) const
{
    const shr::Vec3d position = PointPosition(m_Points, index);
    if constexpr (Axis == 3)
        return m_Format.Format(position, true);
    else
        return m_Format.Format(position[Axis]);
}

template class PositionLabelExtractor<0>;
template class PositionLabelExtractor<1>;
template class PositionLabelExtractor<2>;
template class PositionLabelExtractor<3>;

shr::GString ComponentLabelExtractor::LabelOf(unsigned int index) const
{
    if (m_Component >= m_Points.ComponentCount() || m_Points.IsBlank(index, m_Component))
        return shr::GString();
    const size_t element = size_t(index) * m_Points.ComponentCount() + m_Component;
    return m_Format.Format(ElementAt(m_Points.DataPtr(), m_Points.DataType(), element));
}

// ---- scene nodes ---------------------------------------------------------------

namespace {

// The viewport's size in pixels, or false where the action has none.
bool ViewportSize(SoState* state, SbVec2s& size)
{
    if (!state->isElementEnabled(SoViewportRegionElement::getClassStackIndex()))
        return false;
    size = SoViewportRegionElement::get(state).getViewportSizePixels();
    return size[0] > 0 && size[1] > 0;
}

} // namespace

TextOffsetNode::TextOffsetNode() { setCallback(&TextOffsetNode::Apply, this); }

TextOffsetNode::~TextOffsetNode() = default;

// Screen-aligned text finds its place by projecting its anchor, through the
// view volume or the projection matrix: both move by (dx, dy) pixels.
void TextOffsetNode::Apply(void* data, SoAction* action)
{
    const auto* node = static_cast<const TextOffsetNode*>(data);
    SoState* state = action ? action->getState() : nullptr;
    SbVec2s size;
    if (!node || !state || !state->isElementEnabled(SoViewVolumeElement::getClassStackIndex()) ||
        !ViewportSize(state, size))
        return;
    SoCacheElement::invalidate(state);
    const float dx = node->xOffset / size[0], dy = node->yOffset / size[1];
    const SbViewVolume shifted = SoViewVolumeElement::get(state).narrow(-dx, -dy, 1.0f - dx, 1.0f - dy);
    SoViewVolumeElement::set(state, const_cast<TextOffsetNode*>(node), shifted);
    if (state->isElementEnabled(SoProjectionMatrixElement::getClassStackIndex())) {
        // Row vectors: a translation after the projection moves the clip
        // coordinates by 2 dx w, which is 2 dx in normalised device units.
        SbMatrix shift;
        shift.setTranslate(SbVec3f(2.0f * dx, 2.0f * dy, 0.0f));
        SoProjectionMatrixElement::set(state, const_cast<TextOffsetNode*>(node),
                                       SoProjectionMatrixElement::get(state) * shift);
    }
}

LeaderLineNode::LeaderLineNode() { setCallback(&LeaderLineNode::RenderLeaderLines, this); }

LeaderLineNode::~LeaderLineNode() = default;

void LeaderLineNode::RenderLeaderLines(void* data, SoAction* action)
{
    const auto* node = static_cast<const LeaderLineNode*>(data);
    if (!node || !action || !action->isOfType(SoGLRenderAction::getClassTypeId()))
        return;
    SoState* state = action->getState();
    SoCacheElement::invalidate(state);
    SbVec2s size;
    if (!ViewportSize(state, size))
        return;
    const SbMatrix& model = SoModelMatrixElement::get(state);
    const SbViewVolume& volume = SoViewVolumeElement::get(state);
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glColor4ubv(&node->color.r);
    glLineWidth(std::max(1.0f, node->width));
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glOrtho(0.0, size[0], 0.0, size[1], -1.0, 1.0);
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    glBegin(GL_LINES);
    for (const SbVec3f& point : node->points) {
        SbVec3f world, screen;
        model.multVecMatrix(point, world);
        volume.projectToScreen(world, screen);
        // Window depth d in 0..1 is eye depth 1 - 2d under this projection.
        const float x = screen[0] * size[0], y = screen[1] * size[1], z = 1.0f - 2.0f * screen[2];
        glVertex3f(x, y, z);
        glVertex3f(x + node->xOffset, y + node->yOffset, z);
    }
    glEnd();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
    glPopMatrix();
    glPopAttrib();
}

} // namespace ScatterPlotPrivate
} // namespace core
