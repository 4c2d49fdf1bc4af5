#pragma once
// GLRasterScope: the GL state the raster font forms draw under, for the life
// of the object: tightly packed, most-significant-bit-first unpacking, no
// texturing of the glyph fragments (a text must not pick up the texture of
// the shape before it). Everything is restored on destruction.
#include <GL/gl.h>

namespace core {

class GLRasterScope {
public:
    GLRasterScope()
    {
        glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
        glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
        glPixelStorei(GL_UNPACK_LSB_FIRST, GL_FALSE);
        glPixelStorei(GL_UNPACK_SWAP_BYTES, GL_FALSE);
        glPushAttrib(GL_ENABLE_BIT | GL_COLOR_BUFFER_BIT);
        glDisable(GL_TEXTURE_1D);
        glDisable(GL_TEXTURE_2D);
        glDisable(GL_TEXTURE_3D);
        glDisable(GL_LIGHTING);
    }
    ~GLRasterScope()
    {
        glPopAttrib();
        glPopClientAttrib();
    }
    GLRasterScope(const GLRasterScope&) = delete;
    GLRasterScope& operator=(const GLRasterScope&) = delete;

    // Moves the raster position by (dx, dy) pixels without drawing.
    static void Move(double dx, double dy) { glBitmap(0, 0, 0.0f, 0.0f, GLfloat(dx), GLfloat(dy), nullptr); }
};

} // namespace core
