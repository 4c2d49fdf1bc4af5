#include "host/VtkXmlWriter.h"

#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "host/HostError.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>
#include <vector>

namespace host {

namespace {

const char* const kTypeNames[shr::PrimTypeCount] = {"Int8",   "UInt8", "Int16",   "UInt16", "Int32",
                                                    "UInt32", "Int64", "Float32", "Float64"};

// Double numbers as text that reads back to the same double.
std::string Numbers(const double* values, int count)
{
    std::ostringstream text;
    text.precision(17);
    for (int i = 0; i < count; ++i)
        text << (i ? " " : "") << values[i];
    return text.str();
}

bool EndsWith(const std::string& text, const char* tail)
{
    const size_t n = std::strlen(tail);
    return text.size() >= n && text.compare(text.size() - n, n, tail) == 0;
}

// The length of row `r` of the user transform's 3x3 part: the image of one
// UVW axis.
double RowLength(const shr::Mat4d& m, int r)
{
    return std::sqrt(m.m[r][0] * m.m[r][0] + m.m[r][1] * m.m[r][1] + m.m[r][2] * m.m[r][2]);
}

// The appended-data blocks, gathered as the XML header names them.
class Blocks {
public:
    // Adds a block and returns the attributes of its DataArray element.
    std::string Add(const char* type, const std::string& name, int components, std::vector<char> bytes)
    {
        std::ostringstream element;
        element << "<DataArray type=\"" << type << "\" Name=\"" << name << "\"";
        if (components != 1)
            element << " NumberOfComponents=\"" << components << "\"";
        element << " format=\"appended\" offset=\"" << m_Offset << "\"/>";
        m_Offset += sizeof(uint64_t) + bytes.size();
        m_Blocks.push_back(std::move(bytes));
        return element.str();
    }

    void WriteTo(std::ostream& out) const
    {
        out << "  <AppendedData encoding=\"raw\">\n   _";
        for (const std::vector<char>& block : m_Blocks) {
            const uint64_t size = block.size();
            out.write(reinterpret_cast<const char*>(&size), sizeof size);
            out.write(block.data(), std::streamsize(block.size()));
        }
        out << "\n  </AppendedData>\n";
    }

private:
    uint64_t m_Offset = 0;
    std::vector<std::vector<char>> m_Blocks;
};

class LatticeWriter {
public:
    LatticeWriter(const core::VdLattice& lattice, VtkXmlWriter::Kind kind) : m_Lattice(lattice), m_Kind(kind) {}

    void Write(std::ostream& out)
    {
        static const char* const kElements[3] = {"ImageData", "RectilinearGrid", "StructuredGrid"};
        const char* element = kElements[int(m_Kind)];
        const std::string pointData = PointData();
        const std::string extent = Extent();
        out << "<?xml version=\"1.0\"?>\n<VTKFile type=\"" << element
            << "\" version=\"1.0\" byte_order=\"LittleEndian\" header_type=\"UInt64\">\n";
        out << "  <" << element << " WholeExtent=\"" << extent << "\"" << ImageAttributes() << ">\n";
        out << "    <Piece Extent=\"" << extent << "\">\n" << pointData << "      <CellData/>\n" << Geometry();
        out << "    </Piece>\n  </" << element << ">\n";
        m_Blocks.WriteTo(out);
        out << "</VTKFile>\n";
    }

private:
    std::string Extent() const
    {
        const unsigned int* dims = m_Lattice.GetDims();
        std::ostringstream text;
        text << "0 " << dims[0] - 1 << " 0 " << dims[1] - 1 << " 0 " << dims[2] - 1;
        return text.str();
    }

    // Origin, spacing and direction: UVW index steps through the transform.
    std::string ImageAttributes() const
    {
        if (m_Kind != VtkXmlWriter::Kind::Image)
            return std::string();
        const auto& uniform = static_cast<const core::VdUniformLattice&>(m_Lattice);
        const shr::Mat4d& m = m_Lattice.GetUserTransform();
        const shr::Vec3d origin = m_Lattice.IJKToXYZ(0u, 0u, 0u);
        double spacing[3];
        double direction[9];
        for (int a = 0; a < 3; ++a) {
            const double step = uniform.GetSpacing()[a] > 0.0 ? uniform.GetSpacing()[a] : 1.0;
            const double length = m_Lattice.HasUserTransform() ? RowLength(m, a) : 1.0;
            spacing[a] = step * length;
            for (int r = 0; r < 3; ++r)
                direction[r * 3 + a] = m_Lattice.HasUserTransform() ? m.m[a][r] / length : double(r == a);
        }
        const double o[3] = {origin.x, origin.y, origin.z};
        std::string text = " Origin=\"" + Numbers(o, 3) + "\" Spacing=\"" + Numbers(spacing, 3) + "\"";
        if (m_Lattice.HasUserTransform())
            text += " Direction=\"" + Numbers(direction, 9) + "\"";
        return text;
    }

    std::string PointData()
    {
        std::string text = "      <PointData Scalars=\"" + std::string(m_Lattice.GetComponentName(0)) + "\">\n";
        for (unsigned int c = 0; c < m_Lattice.ComponentCount(); ++c)
            text += "        " + m_Blocks.Add(kTypeNames[m_Lattice.DataType()], m_Lattice.GetComponentName(c), 1,
                                               Component(c)) + "\n";
        if (m_Lattice.HasBlanks())
            text += "        " + m_Blocks.Add("UInt8", "vtkGhostType", 1, Ghosts()) + "\n";
        return text + "      </PointData>\n";
    }

    std::vector<char> Component(unsigned int c) const
    {
        const size_t nodes = m_Lattice.VertexCount();
        const size_t bytes = m_Lattice.DataComponentSize();
        const shr::PrimType type = m_Lattice.DataType();
        std::vector<char> block(nodes * bytes);
        for (size_t n = 0; n < nodes; ++n) {
            char* slot = &block[n * bytes];
            std::memcpy(slot, m_Lattice.DataPtr(unsigned(n), c), bytes);
            if (!m_Lattice.IsBlank(unsigned(n), c))
                continue;
            if (type == shr::Float) {
                const float nan = std::numeric_limits<float>::quiet_NaN();
                std::memcpy(slot, &nan, bytes);
            } else if (type == shr::Double) {
                const double nan = std::numeric_limits<double>::quiet_NaN();
                std::memcpy(slot, &nan, bytes);
            }
        }
        return block;
    }

    // 2, a hidden point, where any component is blank.
    std::vector<char> Ghosts() const
    {
        std::vector<char> block(m_Lattice.VertexCount(), 0);
        for (size_t n = 0; n < block.size(); ++n) {
            for (unsigned int c = 0; c < m_Lattice.ComponentCount(); ++c) {
                if (m_Lattice.IsBlank(unsigned(n), c))
                    block[n] = 2;
            }
        }
        return block;
    }

    std::string Geometry()
    {
        if (m_Kind == VtkXmlWriter::Kind::Rectilinear)
            return "      <Coordinates>\n" + AxisArray(0) + AxisArray(1) + AxisArray(2) + "      </Coordinates>\n";
        if (m_Kind == VtkXmlWriter::Kind::Structured)
            return "      <Points>\n        " + m_Blocks.Add("Float64", "Points", 3, Points()) + "\n      </Points>\n";
        return std::string();
    }

    // Scaling and moving transforms act on each axis alone.
    std::string AxisArray(int axis)
    {
        static const char* const kNames[3] = {"x_coordinates", "y_coordinates", "z_coordinates"};
        const unsigned int n = m_Lattice.GetDims()[axis];
        std::vector<char> block(n * sizeof(double));
        for (unsigned int i = 0; i < n; ++i) {
            const unsigned int ijk[3] = {axis == 0 ? i : 0, axis == 1 ? i : 0, axis == 2 ? i : 0};
            const double value = m_Lattice.IJKToXYZ(ijk[0], ijk[1], ijk[2])[axis];
            std::memcpy(&block[i * sizeof(double)], &value, sizeof value);
        }
        return "        " + m_Blocks.Add("Float64", kNames[axis], 1, std::move(block)) + "\n";
    }

    std::vector<char> Points() const
    {
        const size_t nodes = m_Lattice.VertexCount();
        std::vector<char> block(nodes * 3 * sizeof(double));
        for (size_t n = 0; n < nodes; ++n) {
            double xyz[3];
            m_Lattice.GetXYZCoord(uint32_t(n), xyz);
            std::memcpy(&block[n * sizeof xyz], xyz, sizeof xyz);
        }
        return block;
    }

    const core::VdLattice& m_Lattice;
    const VtkXmlWriter::Kind m_Kind;
    Blocks m_Blocks;
};

} // namespace

bool VtkXmlWriter::KindOfName(const std::string& path, Kind& kind)
{
    if (EndsWith(path, ".vti"))
        kind = Kind::Image;
    else if (EndsWith(path, ".vtr"))
        kind = Kind::Rectilinear;
    else if (EndsWith(path, ".vts"))
        kind = Kind::Structured;
    else
        return false;
    return true;
}

void VtkXmlWriter::CheckFits(const core::VdLattice& lattice, Kind kind, const std::string& displayName)
{
    const bool uniform = dynamic_cast<const core::VdUniformLattice*>(&lattice) != nullptr;
    const bool rectilinear = dynamic_cast<const core::VdRectilinearLattice*>(&lattice) != nullptr;
    if (kind == Kind::Image && !uniform)
        HOST_USER_ERROR("%s: a .vti file holds a uniform lattice, not a %s: write a .vts file", displayName.c_str(),
                        lattice.GetTypeName());
    if (kind == Kind::Rectilinear && !uniform && !rectilinear)
        HOST_USER_ERROR("%s: a .vtr file holds a uniform or rectilinear lattice, not a %s: write a .vts file",
                        displayName.c_str(), lattice.GetTypeName());
    if (kind == Kind::Rectilinear && lattice.HasUserTransform() &&
        lattice.GetUserTransform().GetType() > shr::Mat4d::ScaleTranslation)
        HOST_USER_ERROR("%s: the lattice is turned by its user transform, which a .vtr file cannot hold: write a "
                        ".vti or .vts file",
                        displayName.c_str());
}

void VtkXmlWriter::Write(const core::VdLattice& lattice, Kind kind, const std::string& path,
                         const std::string& displayName)
{
    CheckFits(lattice, kind, displayName);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out)
        HOST_SYSTEM_ERROR("%s: cannot write the file: %s", displayName.c_str(), std::strerror(errno));
    LatticeWriter(lattice, kind).Write(out);
    out.close();
    if (!out)
        HOST_SYSTEM_ERROR("%s: cannot write the file: %s", displayName.c_str(), std::strerror(errno));
}

} // namespace host
