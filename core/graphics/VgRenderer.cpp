#include "core/graphics/VgRenderer.h"

#include "core/data/VdGeometry.h"
#include "shr/Vec3.h"

#include <Inventor/nodes/SoSeparator.h>

#include <cstdlib>

namespace core {

VgRenderer::VgRenderer(const SceneTransform& transform) : m_Transform(transform) {}

VgRenderer::~VgRenderer()
{
    if (m_CurrentGroup)
        popState();
}

void VgRenderer::PushNode(VdGeometry& geometry, bool separator)
{
    InvSmartPtr<SoGroup> group(separator ? new SoSeparator : new SoGroup);
    PushNode(group);
    geometry.SetGeometry(InvSmartPtr<SoNode>(group));
}

void VgRenderer::PushNode(InvSmartPtr<SoGroup> group)
{
    m_CurrentGroup = group;
    m_Stack.push_back(group);
}

void VgRenderer::popState()
{
    if (!m_Stack.empty())
        m_Stack.pop_back();
    m_CurrentGroup = m_Stack.empty() ? InvSmartPtr<SoGroup>() : m_Stack.back();
}

void VgRenderer::UpdateTransform(const shr::Vec3d& position)
{
    if (m_Transform.Valid())
        return;
    UpdateTransformFrom(std::vector<shr::Vec3d>{position});
}

// The offset is minus the mean of a reservoir sample of the positions in X and Y.
void VgRenderer::UpdateTransformFrom(const std::vector<shr::Vec3d>& positions)
{
    m_Transform = SceneTransform(0.0, 0.0, true);
    if (positions.empty())
        return;
    const size_t sampleSize = static_cast<size_t>(SceneTransform::DefaultSampleSize());
    std::vector<shr::Vec3d> sample;
    size_t seen = 0;
    for (const shr::Vec3d& position : positions) {
        ++seen;
        if (sample.size() < sampleSize) {
            sample.push_back(position);
            continue;
        }
        const size_t slot = static_cast<size_t>(std::rand()) % seen;
        if (slot < sampleSize)
            sample[slot] = position;
    }
    double sumX = 0.0;
    double sumY = 0.0;
    for (const shr::Vec3d& position : sample) {
        sumX += position.x;
        sumY += position.y;
    }
    const double count = static_cast<double>(sample.size());
    m_Transform = SceneTransform(-(sumX / count), -(sumY / count), true);
}

} // namespace core
