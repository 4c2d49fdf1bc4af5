#include "host/InputFile.h"

#include "host/HostError.h"
#include "host/NetworkDocument.h"

#include <algorithm>
#include <fstream>

namespace host {

InputFile::Kind InputFile::KindOf(const std::string& path)
{
    if (NetworkDocument::IsDocument(path))
        return Document;
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return Scene;
    std::string head(4096, '\0');
    file.read(&head[0], static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<size_t>(file.gcount()));
    size_t first = head.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
    first = head.find_first_not_of(" \t\r\n", first);
    if (first != std::string::npos && (head[first] == '{' || head[first] == '['))
        return Scene;
    if (head.find('\0') != std::string::npos)
        HOST_USER_ERROR("%s: neither a JSON scene, a saved document nor a point file (delimited text)",
                        path.c_str());
    return first == std::string::npos ? Scene : Points;
}

} // namespace host
