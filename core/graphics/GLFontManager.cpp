#include "core/graphics/GLFontManager.h"

#include <cmath>

namespace core {

GLFontManager& GLFontManager::Instance()
{
    static GLFontManager manager;
    return manager;
}

std::shared_ptr<GLFont> GLFontManager::GetFont(const shr::GString& face, double size, GLFont::Form form,
                                               unsigned flags)
{
    // A NaN cannot be a map key (it compares equal to everything); it goes
    // straight to Create, which refuses it.
    if (std::isnan(size))
        return GLFont::Create(face, size, form, flags);
    std::lock_guard<std::mutex> lock(m_Mutex);
    const Key key(face, size, form, flags);
    auto it = m_Fonts.find(key);
    if (it == m_Fonts.end())
        it = m_Fonts.emplace(key, std::shared_ptr<GLFont>(GLFont::Create(face, size, form, flags))).first;
    return it->second;
}

size_t GLFontManager::Count() const
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Fonts.size();
}

void GLFontManager::Clear()
{
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Fonts.clear();
}

} // namespace core
