#pragma once
// PointFileWriter: a point set as delimited text that PointFileReader reads
// back to the same points: a header row "X,Y,Z", one column per component
// ("Component N") and, when the set has labels, a "Label" column; numbers
// with 17 significant digits, blanks as empty cells, labels quoted when they
// hold a separator, a quote or look like a number.
#include <iosfwd>
#include <string>

namespace core {
class VdPoints;
}

namespace host {

class PointFileWriter {
public:
    // Comma-separated; a tab separates instead when `tabs`.
    static void Write(const core::VdPoints& points, std::ostream& out, bool tabs = false);
    static void Write(const core::VdPoints& points, const std::string& path, const std::string& displayName);
};

} // namespace host
