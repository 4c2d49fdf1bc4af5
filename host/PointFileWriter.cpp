#include "host/PointFileWriter.h"

#include "core/data/VdPoints.h"
#include "host/HostError.h"
#include "host/PrimValue.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <ostream>
#include <vector>

namespace host {

namespace {

std::string Number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

// Quoted when the reader would otherwise split it or take it for a number
// (or for a no-data marker).
std::string Cell(const std::string& text, char separator)
{
    char* end = nullptr;
    std::strtod(text.c_str(), &end);
    const bool numeric = !text.empty() && end && *end == '\0';
    if (!numeric && text.find(separator) == std::string::npos && text.find('"') == std::string::npos &&
        text.find('#') != 0)
        return text;
    std::string quoted = "\"";
    for (char c : text)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

} // namespace

void PointFileWriter::Write(const core::VdPoints& points, std::ostream& out, bool tabs)
{
    const char separator = tabs ? '\t' : ',';
    const unsigned int components = points.ComponentCount();
    const bool labels = !points.labels_empty();
    out << "X" << separator << "Y" << separator << "Z";
    for (unsigned int c = 0; c < components; ++c)
        out << separator << "Component " << c + 1;
    if (labels)
        out << separator << "Label";
    out << "\n";
    for (unsigned int p = 0; p < points.VertexCount(); ++p) {
        for (size_t a = 0; a < 3; ++a)
            out << (a ? std::string(1, separator) : std::string())
                << Number(ReadAsDouble(points.GetCoordType(), points.GetCoordPtr(), size_t(p) * 3 + a));
        for (unsigned int c = 0; c < components; ++c) {
            out << separator;
            if (!points.IsBlank(p, c))
                out << Number(ReadAsDouble(points.DataType(), points.DataPtr(p, c), 0));
        }
        if (labels) {
            const auto label = points.FindLabel(p);
            out << separator << (label == points.labels_end() ? std::string() : Cell(label->second, separator));
        }
        out << "\n";
    }
}

void PointFileWriter::Write(const core::VdPoints& points, const std::string& path, const std::string& displayName)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (out)
        Write(points, out, false);
    out.close();
    if (!out)
        HOST_SYSTEM_ERROR("%s: cannot write the point file: %s", displayName.c_str(), std::strerror(errno));
}

} // namespace host
