#include "core/graphics/SoSafeTexture.h"

#include <GL/gl.h>
#include <Inventor/elements/SoGLCacheContextElement.h>

#include <atomic>
#include <utility>

namespace core {

namespace {

std::atomic<size_t> s_Pending{0};

struct PendingNames {
    std::vector<unsigned> names;
};

// Called by the scene graph with the names' context current.
void DeletePending(void* closure, uint32_t)
{
    auto* pending = static_cast<PendingNames*>(closure);
    glDeleteTextures(static_cast<GLsizei>(pending->names.size()), pending->names.data());
    s_Pending -= pending->names.size();
    delete pending;
}

} // namespace

SoSafeTexture::~SoSafeTexture() { deleteTextures(); }

SoSafeTexture::SoSafeTexture(SoSafeTexture&& other) noexcept
    : m_Context(other.m_Context), m_Names(std::move(other.m_Names))
{
    other.m_Names.clear();
}

SoSafeTexture& SoSafeTexture::operator=(SoSafeTexture&& other) noexcept
{
    if (this != &other) {
        deleteTextures();
        m_Context = other.m_Context;
        m_Names = std::move(other.m_Names);
        other.m_Names.clear();
    }
    return *this;
}

void SoSafeTexture::genTextures(uint32_t contextId, int count, unsigned* names)
{
    deleteTextures(contextId);
    m_Context = contextId;
    if (count <= 0)
        return;
    m_Names.resize(static_cast<size_t>(count));
    glGenTextures(count, m_Names.data());
    if (names)
        std::copy(m_Names.begin(), m_Names.end(), names);
}

void SoSafeTexture::deleteTextures(int64_t currentContext)
{
    if (m_Names.empty())
        return;
    if (currentContext == static_cast<int64_t>(m_Context)) {
        glDeleteTextures(static_cast<GLsizei>(m_Names.size()), m_Names.data());
    } else {
        s_Pending += m_Names.size();
        SoGLCacheContextElement::scheduleDeleteCallback(m_Context, DeletePending,
                                                        new PendingNames{std::move(m_Names)});
    }
    m_Names.clear();
}

size_t SoSafeTexture::pendingCount() { return s_Pending.load(); }

} // namespace core
