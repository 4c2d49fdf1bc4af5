#pragma once
// CPath: the parts of a file path. Both '/' and '\' separate folders, so that
// names written on either platform split the same way ("Data Source\TestLattice"
// gives the name "TestLattice").
#include "shr/GString.h"

namespace shr {

class CPath {
public:
    explicit CPath(const GString& path);
    virtual ~CPath();

    const GString& GetPath() const { return m_Path; }
    // The last component without its extension: "a/b/grid.dat" gives "grid".
    GString GetName() const;
    // The last component: "grid.dat".
    GString GetNameAndExtension() const;
    // The extension with its dot: ".dat"; empty when there is none.
    GString GetExtension() const;
    // Everything before the last component ("C:" drives included), with the
    // trailing separator when `withSeparator`: "a/b/" or "a/b". Empty for a bare name.
    GString GetDriveAndDirectory(bool withSeparator) const;

    static bool IsSeparator(char c) { return c == '/' || c == '\\'; }

private:
    size_t NameStart() const;
    GString m_Path;
};

} // namespace shr
