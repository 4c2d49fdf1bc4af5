#include "shr/Path.h"

namespace shr {

CPath::CPath(const GString& path) : m_Path(path) {}

CPath::~CPath() = default;

size_t CPath::NameStart() const
{
    for (size_t i = m_Path.size(); i > 0; --i)
        if (IsSeparator(m_Path[i - 1]) || (i == 2 && m_Path[1] == ':'))
            return i;
    return 0;
}

GString CPath::GetNameAndExtension() const { return m_Path.substr(NameStart()); }

GString CPath::GetName() const
{
    const GString name = GetNameAndExtension();
    const size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : GString(name.substr(0, dot));
}

GString CPath::GetExtension() const
{
    const GString name = GetNameAndExtension();
    const size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? GString() : GString(name.substr(dot));
}

GString CPath::GetDriveAndDirectory(bool withSeparator) const
{
    size_t end = NameStart();
    if (!withSeparator) {
        // Keep a root ("/" or "C:\") whole: stripping it would change its meaning.
        const bool isRoot = end == 1 || (end == 3 && m_Path[1] == ':');
        if (end > 0 && IsSeparator(m_Path[end - 1]) && !isRoot)
            --end;
    }
    return m_Path.substr(0, end);
}

} // namespace shr
