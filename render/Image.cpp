#include "render/Image.h"

#include "render/RenderError.h"
#include "shr/StringUtil.h"

#include <png.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace render {

namespace {

void CheckSize(int width, int height)
{
    if (width < 0 || height < 0)
        RENDER_THROW("An image cannot be %d x %d pixels.", width, height);
}

size_t ByteCount(int width, int height)
{
    return static_cast<size_t>(width) * static_cast<size_t>(height) * 4;
}

// Opens a new file beside `path` for writing; O_EXCL so that two writers never
// share one temporary, and mode 0666 so that the umask decides as for any file.
FILE* OpenTemporary(const shr::GString& path, shr::GString& temporary)
{
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        temporary = shr::ToString("%s.tmp%ld.%u", path.c_str(), static_cast<long>(getpid()), counter++);
        const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            if (FILE* file = fdopen(fd, "wb"))
                return file;
            close(fd);
            unlink(temporary.c_str());
            break;
        }
        if (errno != EEXIST)
            break;
    }
    RENDER_THROW("Cannot create \"%s\": %s", temporary.c_str(), std::strerror(errno));
}

// libpng's simplified interface handles its own error recovery, so no longjmp
// crosses C++ frames here.
bool EncodePng(const Image& image, FILE* file, shr::GString& error)
{
    png_image header;
    std::memset(&header, 0, sizeof header);
    header.version = PNG_IMAGE_VERSION;
    header.width = static_cast<png_uint_32>(image.Width());
    header.height = static_cast<png_uint_32>(image.Height());
    header.format = PNG_FORMAT_RGBA;
    const int ok = png_image_write_to_stdio(&header, file, 0, image.Pixels().data(), image.Width() * 4, nullptr);
    if (!ok)
        error = header.message;
    png_image_free(&header);
    return ok != 0;
}

} // namespace

Image::Image(int width, int height, const shr::Color4b& fill)
{
    CheckSize(width, height);
    m_Width = width;
    m_Height = height;
    m_Pixels.resize(ByteCount(width, height));
    for (size_t i = 0; i < m_Pixels.size(); i += 4) {
        m_Pixels[i] = fill.r;
        m_Pixels[i + 1] = fill.g;
        m_Pixels[i + 2] = fill.b;
        m_Pixels[i + 3] = fill.a;
    }
}

Image::Image(int width, int height, std::vector<uint8_t> rgba)
{
    CheckSize(width, height);
    if (rgba.size() != ByteCount(width, height))
        RENDER_THROW("A %d x %d image needs %zu bytes of RGBA, not %zu.", width, height, ByteCount(width, height),
                     rgba.size());
    m_Width = width;
    m_Height = height;
    m_Pixels = std::move(rgba);
}

size_t Image::Offset(int x, int y) const
{
    if (x < 0 || y < 0 || x >= m_Width || y >= m_Height)
        RENDER_THROW("Pixel (%d, %d) lies outside the %d x %d image.", x, y, m_Width, m_Height);
    return (static_cast<size_t>(y) * static_cast<size_t>(m_Width) + static_cast<size_t>(x)) * 4;
}

shr::Color4b Image::At(int x, int y) const
{
    const uint8_t* p = &m_Pixels[Offset(x, y)];
    return shr::Color4b(p[0], p[1], p[2], p[3]);
}

void Image::Set(int x, int y, const shr::Color4b& color)
{
    uint8_t* p = &m_Pixels[Offset(x, y)];
    p[0] = color.r;
    p[1] = color.g;
    p[2] = color.b;
    p[3] = color.a;
}

bool Image::operator==(const Image& other) const
{
    return m_Width == other.m_Width && m_Height == other.m_Height && m_Pixels == other.m_Pixels;
}

void Image::WritePng(const shr::GString& path) const
{
    if (Empty())
        RENDER_THROW("Cannot write \"%s\": the image is empty.", path.c_str());
    shr::GString temporary;
    FILE* file = OpenTemporary(path, temporary);
    shr::GString error;
    bool ok = EncodePng(*this, file, error);
    if (std::fflush(file) != 0 && ok) {
        ok = false;
        error = std::strerror(errno);
    }
    if (std::fclose(file) != 0 && ok) {
        ok = false;
        error = std::strerror(errno);
    }
    if (ok && std::rename(temporary.c_str(), path.c_str()) != 0) {
        ok = false;
        error = std::strerror(errno);
    }
    if (!ok) {
        unlink(temporary.c_str());
        RENDER_THROW("Cannot write the image \"%s\": %s", path.c_str(), error.c_str());
    }
}

} // namespace render
