#pragma once
// CBufferedFile: a buffered C stream with an owner. Modes are those of fopen
// ("r", "rt", "wb", ...). In text mode ("t" in the mode) a read line's "\r\n"
// ending becomes "\n", so files written on either platform read alike.
#include "shr/GString.h"

#include <cstdio>

namespace shr {

class CBufferedFile {
public:
    // How other openers may share the file. Advisory on this platform: files
    // are always shareable; the value is kept for callers that pass it on.
    enum Sharing { ShareNone = 0, ShareRead = 1, ShareWrite = 2, ShareReadWrite = 3 };

    // Opens `path`. With `throwOnError` a failure raises an Exception naming the
    // path and the system's reason; otherwise IsOpen() tells.
    CBufferedFile(const GString& path, const GString& mode, Sharing sharing = ShareRead, bool throwOnError = true);
    ~CBufferedFile();
    CBufferedFile(const CBufferedFile&) = delete;
    CBufferedFile& operator=(const CBufferedFile&) = delete;

    bool IsOpen() const { return m_File != nullptr; }
    const GString& GetPath() const { return m_Path; }

    // Reads one line into `buffer` (at most size - 1 characters, like fgets: a
    // longer line comes back in pieces), keeping its "\n". Null at end of file.
    char* ReadString(char* buffer, unsigned int size);
    // Writes the text as it is; false on a write error.
    bool WriteString(const char* text);
    size_t Read(void* data, size_t bytes);
    size_t Write(const void* data, size_t bytes);
    bool Flush();
    // Closes the file; false if buffered data could not be written.
    bool Close();

private:
    GString m_Path;
    std::FILE* m_File;
    bool m_Text;
};

} // namespace shr
