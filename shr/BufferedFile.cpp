#include "shr/BufferedFile.h"

#include "shr/Exception.h"
#include "shr/StringUtil.h"

#include <cstring>
#include <string>

namespace shr {

CBufferedFile::CBufferedFile(const GString& path, const GString& mode, Sharing, bool throwOnError)
    : m_Path(path), m_File(nullptr), m_Text(mode.find('t') != std::string::npos)
{
    std::string stdioMode;
    for (char c : mode)
        if (c != 't')
            stdioMode += c;
    m_File = std::fopen(path.c_str(), stdioMode.c_str());
    if (!m_File && throwOnError)
        SHR_THROW(0, "Unable to open '%s': %s", path.c_str(), FormatSystemErrorMsg().c_str());
}

CBufferedFile::~CBufferedFile() { Close(); }

char* CBufferedFile::ReadString(char* buffer, unsigned int size)
{
    if (!m_File || !buffer || size == 0 || size > static_cast<unsigned int>(INT32_MAX))
        return nullptr;
    if (!std::fgets(buffer, static_cast<int>(size), m_File))
        return nullptr;
    if (m_Text) {
        const size_t length = std::strlen(buffer);
        if (length >= 2 && buffer[length - 2] == '\r' && buffer[length - 1] == '\n') {
            buffer[length - 2] = '\n';
            buffer[length - 1] = '\0';
        }
    }
    return buffer;
}

bool CBufferedFile::WriteString(const char* text)
{
    return m_File && text && std::fputs(text, m_File) >= 0;
}

size_t CBufferedFile::Read(void* data, size_t bytes) { return m_File ? std::fread(data, 1, bytes, m_File) : 0; }

size_t CBufferedFile::Write(const void* data, size_t bytes)
{
    return m_File ? std::fwrite(data, 1, bytes, m_File) : 0;
}

bool CBufferedFile::Flush() { return m_File && std::fflush(m_File) == 0; }

bool CBufferedFile::Close()
{
    if (!m_File)
        return true;
    const bool ok = std::fclose(m_File) == 0;
    m_File = nullptr;
    return ok;
}

} // namespace shr
