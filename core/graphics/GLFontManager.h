#pragma once
// GLFontManager: the process-wide cache of fonts by face, size, form and
// style, so that every label of a pass, and every pass, shares one font and
// its glyph cache. Fonts are held until Clear; a caller's shared pointer keeps
// its font alive past that. Thread safe.
#include "core/graphics/GLFont.h"

#include <boost/noncopyable.hpp>

#include <map>
#include <memory>
#include <mutex>
#include <tuple>

namespace core {

class GLFontManager : private boost::noncopyable {
public:
    static GLFontManager& Instance();

    // The cached font, made on first request; errors as GLFont::Create (a
    // failed request caches nothing and fails again the next time).
    std::shared_ptr<GLFont> GetFont(const shr::GString& face, double size, GLFont::Form form, unsigned flags = 0);

    size_t Count() const;
    void Clear();

private:
    GLFontManager() = default;

    using Key = std::tuple<shr::GString, double, GLFont::Form, unsigned>;
    mutable std::mutex m_Mutex;
    std::map<Key, std::shared_ptr<GLFont>> m_Fonts;
};

} // namespace core
