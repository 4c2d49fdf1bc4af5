#include "render/GlCheck.h"

#include "render/RenderError.h"
#include "shr/StringUtil.h"

#include <GL/gl.h>

#include <string>

namespace render {

namespace {

// glGetError keeps returning an error without a context; a bound on the loop
// keeps a lost context from spinning forever.
constexpr int kMaxPendingErrors = 16;

const char* GlErrorName(GLenum code)
{
    switch (code) {
    case GL_INVALID_ENUM: return "GL_INVALID_ENUM";
    case GL_INVALID_VALUE: return "GL_INVALID_VALUE";
    case GL_INVALID_OPERATION: return "GL_INVALID_OPERATION";
    case GL_STACK_OVERFLOW: return "GL_STACK_OVERFLOW";
    case GL_STACK_UNDERFLOW: return "GL_STACK_UNDERFLOW";
    case GL_OUT_OF_MEMORY: return "GL_OUT_OF_MEMORY";
    case 0x0506: return "GL_INVALID_FRAMEBUFFER_OPERATION";
    default: return "unknown GL error";
    }
}

} // namespace

void ClearGlErrors()
{
    for (int i = 0; i < kMaxPendingErrors && glGetError() != GL_NO_ERROR; ++i) {
    }
}

void CheckGlErrors(const char* operation)
{
    std::string names;
    for (int i = 0; i < kMaxPendingErrors; ++i) {
        const GLenum code = glGetError();
        if (code == GL_NO_ERROR)
            break;
        names += shr::ToString("%s%s (0x%04x)", names.empty() ? "" : ", ", GlErrorName(code),
                               static_cast<unsigned>(code));
    }
    if (!names.empty())
        RENDER_THROW("OpenGL reported %s while %s.", names.c_str(), operation);
}

} // namespace render
