#include "host/NetcdfGrid.h"

#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "host/HostError.h"
#include "host/LatticeFile.h"
#include "host/PrimValue.h"

#include <netcdf.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <map>

namespace host {

namespace {

const char* const kTransformAttribute = "fenrak_user_transform";

struct TypeInfo {
    nc_type nc;
    shr::PrimType prim;
    double defaultFill;
};

const TypeInfo kTypes[] = {
    {NC_BYTE, shr::Int8, NC_FILL_BYTE},       {NC_UBYTE, shr::UInt8, NC_FILL_UBYTE},
    {NC_SHORT, shr::Int16, NC_FILL_SHORT},    {NC_USHORT, shr::UInt16, NC_FILL_USHORT},
    {NC_INT, shr::Int32, NC_FILL_INT},        {NC_UINT, shr::UInt32, NC_FILL_UINT},
    {NC_INT64, shr::Int64, double(NC_FILL_INT64)}, {NC_FLOAT, shr::Float, double(NC_FILL_FLOAT)},
    {NC_DOUBLE, shr::Double, NC_FILL_DOUBLE},
};

const TypeInfo* FindType(nc_type type)
{
    for (const TypeInfo& info : kTypes) {
        if (info.nc == type)
            return &info;
    }
    return nullptr;
}

const TypeInfo& FindType(shr::PrimType type)
{
    for (const TypeInfo& info : kTypes) {
        if (info.prim == type)
            return info;
    }
    return kTypes[8];
}

// Bytes of a value of each classic type code, NC_BYTE (1) to NC_UINT64 (11).
const uint64_t kClassicTypeBytes[12] = {0, 1, 1, 2, 4, 4, 8, 1, 2, 4, 8, 8};

uint64_t Saturated(uint64_t a, uint64_t b)
{
    return b != 0 && a > std::numeric_limits<uint64_t>::max() / b ? std::numeric_limits<uint64_t>::max() : a * b;
}

// The classic formats (CDF-1, 2 and 5) keep every variable at an offset
// that the header gives, and the library reads zeros past the end of a cut
// file; it also allocates by the header's counts before checking them. The
// header is walked here first: every count must fit in the file, and every
// variable, at the size its dimensions and type give (the record count
// times a record's slab for a record variable), must end within it. Returns
// what is wrong, or an empty text.
class ClassicHeader {
public:
    explicit ClassicHeader(const std::string& path) : m_File(path, std::ios::binary | std::ios::ate)
    {
        m_Size = m_File ? uint64_t(m_File.tellg()) : 0;
        m_File.seekg(0);
    }

    std::string Check()
    {
        char magic[4] = {};
        m_File.read(magic, 4);
        if (!m_File || std::memcmp(magic, "CDF", 3) != 0)
            return std::string();
        m_Wide = magic[3] == 5;
        const bool offsets64 = magic[3] != 1;
        m_Records = Count();
        // A file being written says "streaming": the library counts the records from the size.
        if (m_Records == (m_Wide ? ~uint64_t(0) : 0xFFFFFFFFu))
            m_Records = 0;
        ReadDimensions();
        SkipAttributes();
        for (uint64_t v = 0, n = ListCount(); v < n && m_File; ++v) {
            const std::string name = Name();
            bool record = false;
            uint64_t slab = 1;
            for (uint64_t d = 0, dims = Bounded(Count(), NC_MAX_VAR_DIMS); d < dims && m_File; ++d) {
                const uint64_t length = DimensionLength(Count());
                record = record || (d == 0 && length == 0);
                slab = d == 0 && length == 0 ? slab : Saturated(slab, length);
            }
            SkipAttributes();
            const uint64_t type = Type();
            Count(); // the header's own size of the variable, which the library does not trust either
            const uint64_t begin = offsets64 ? Long() : Word();
            const uint64_t extent = Saturated(Saturated(slab, kClassicTypeBytes[type]), record ? m_Records : 1);
            if (m_File && (begin > m_Size || extent > m_Size - begin))
                return "variable \"" + name + "\" runs past the end of the file: the file is cut short";
        }
        return m_File ? std::string() : std::string("the header is damaged or cut short");
    }

private:
    uint64_t Word()
    {
        unsigned char b[4] = {};
        m_File.read(reinterpret_cast<char*>(b), 4);
        return uint64_t(b[0]) << 24 | uint64_t(b[1]) << 16 | uint64_t(b[2]) << 8 | b[3];
    }
    uint64_t Long() { return Word() << 32 | Word(); }
    uint64_t Count() { return m_Wide ? Long() : Word(); }
    // A count the reader stops at when it cannot be true.
    uint64_t Bounded(uint64_t count, uint64_t limit)
    {
        if (count > limit)
            m_File.setstate(std::ios::failbit);
        return m_File ? count : 0;
    }
    // A list's tag and length: each entry takes at least 4 bytes.
    uint64_t ListCount()
    {
        Word();
        return Bounded(Count(), m_Size / 4);
    }
    void Skip(uint64_t bytes)
    {
        Bounded(bytes, m_Size);
        m_File.seekg(std::streamoff((bytes + 3) / 4 * 4), std::ios::cur);
    }
    std::string Name()
    {
        const uint64_t length = Bounded(Count(), NC_MAX_NAME);
        std::string name(length, '\0');
        m_File.read(&name[0], std::streamsize(length));
        m_File.seekg(std::streamoff((4 - length % 4) % 4), std::ios::cur);
        return name;
    }
    void ReadDimensions()
    {
        for (uint64_t d = 0, n = ListCount(); d < n && m_File; ++d) {
            Name();
            m_Dimensions.push_back(Count());
        }
    }
    // The length of a dimension by its id; 0 for the record dimension.
    uint64_t DimensionLength(uint64_t id)
    {
        if (id >= m_Dimensions.size()) {
            m_File.setstate(std::ios::failbit);
            return 0;
        }
        return m_Dimensions[size_t(id)];
    }
    // A type code of the format (CDF-5 adds the unsigned and 64-bit
    // types); the library sizes what it allocates by it, whatever it is.
    uint64_t Type()
    {
        const uint64_t type = Word();
        if (type == 0 || type > (m_Wide ? 11u : 6u))
            m_File.setstate(std::ios::failbit);
        return m_File ? type : 0;
    }
    void SkipAttributes()
    {
        for (uint64_t a = 0, n = ListCount(); a < n && m_File; ++a) {
            Name();
            const uint64_t type = Type();
            const uint64_t count = Bounded(Count(), m_Size);
            Skip(count * kClassicTypeBytes[type]);
        }
    }

    std::ifstream m_File;
    uint64_t m_Size = 0;
    bool m_Wide = false;
    uint64_t m_Records = 0;
    std::vector<uint64_t> m_Dimensions;
};

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return text;
}

// An open file, closed on every way out.
class NcHandle {
public:
    ~NcHandle()
    {
        if (id >= 0)
            nc_close(id);
    }
    int Release()
    {
        const int kept = id;
        id = -1;
        return kept;
    }
    int id = -1;
};

// One data variable read as a component.
struct Component {
    int varid = -1;
    std::string name;
    const TypeInfo* type = nullptr;
    shr::PrimType outType = shr::Double;
    bool packed = false;
    double scale = 1.0;
    double offset = 0.0;
    std::vector<double> missing; // the fill value first
    double validMin = -std::numeric_limits<double>::infinity();
    double validMax = std::numeric_limits<double>::infinity();

    bool IsBlank(double raw) const
    {
        // Most files name one or two markers: those are compared directly.
        if (std::isnan(raw) || raw < validMin || raw > validMax || raw == first || raw == second)
            return true;
        return missing.size() > 2 && std::find(missing.begin() + 2, missing.end(), raw) != missing.end();
    }

    // Call once `missing` is complete.
    void TakeMarkers()
    {
        first = missing.empty() ? NAN : missing[0];
        second = missing.size() < 2 ? NAN : missing[1];
    }
    double first = NAN;
    double second = NAN;
};

class GridReader {
public:
    GridReader(const shr::GString& path, const shr::GString& name, const NetcdfSettings& settings)
        : m_Path(path), m_Name(name), m_Settings(settings)
    {
    }

    std::unique_ptr<core::VdLattice> Read()
    {
        const std::string damage = ClassicHeader(m_Path).Check();
        if (!damage.empty())
            Fail("%s", damage.c_str());
        Check(nc_open(m_Path.c_str(), NC_NOWRITE, &m_File.id), "cannot open the file");
        if (IsOldGmt())
            ReadOldGmtShape();
        else
            ReadCfShape();
        std::unique_ptr<core::VdLattice> lattice = MakeLattice();
        for (unsigned int c = 0; c < m_Components.size(); ++c)
            ReadComponent(*lattice, c);
        lattice->DataModified();
        ReadTransform(*lattice);
        return lattice;
    }

private:
    template <class... Args>
    [[noreturn]] void Fail(const char* format, Args... args) const
    {
        HOST_USER_ERROR("%s: %s", m_Name.c_str(), shr::ToString(format, args...).c_str());
    }

    void Check(int status, const char* what) const
    {
        if (status != NC_NOERR)
            Fail("%s: %s", what, nc_strerror(status));
    }

    int VarId(const std::string& name) const
    {
        int id = -1;
        return nc_inq_varid(m_File.id, name.c_str(), &id) == NC_NOERR ? id : -1;
    }

    std::string VarName(int varid) const
    {
        char name[NC_MAX_NAME + 1] = {};
        nc_inq_varname(m_File.id, varid, name);
        return name;
    }

    std::vector<int> VarDims(int varid) const
    {
        int count = 0;
        nc_inq_varndims(m_File.id, varid, &count);
        std::vector<int> dims(static_cast<size_t>(count));
        if (count)
            nc_inq_vardimid(m_File.id, varid, dims.data());
        return dims;
    }

    size_t DimLength(int dim) const
    {
        size_t length = 0;
        nc_inq_dimlen(m_File.id, dim, &length);
        return length;
    }

    std::string TextAttribute(int varid, const char* name) const
    {
        size_t length = 0;
        nc_type type = NC_NAT;
        if (nc_inq_att(m_File.id, varid, name, &type, &length) != NC_NOERR || type != NC_CHAR)
            return std::string();
        std::string text(length, '\0');
        nc_get_att_text(m_File.id, varid, name, &text[0]);
        return text.c_str();
    }

    std::vector<double> NumberAttribute(int varid, const char* name, nc_type* type = nullptr) const
    {
        size_t length = 0;
        nc_type found = NC_NAT;
        if (nc_inq_att(m_File.id, varid, name, &found, &length) != NC_NOERR || found == NC_CHAR ||
            found == NC_STRING || length == 0)
            return {};
        std::vector<double> values(length);
        if (nc_get_att_double(m_File.id, varid, name, values.data()) != NC_NOERR)
            return {};
        if (type)
            *type = found;
        return values;
    }

    // --- the older GMT layout: z over xysize, ranges and sizes as variables

    bool IsOldGmt() const { return VarId("dimension") >= 0 && VarId("x_range") >= 0 && VarId("z") >= 0; }

    void ReadOldGmtShape()
    {
        double dimension[2] = {0, 0}, xr[2] = {0, 0}, yr[2] = {0, 0};
        ReadPair("dimension", dimension);
        ReadPair("x_range", xr);
        ReadPair("y_range", yr);
        if (!(dimension[0] >= 1.0 && dimension[0] <= INT32_MAX && dimension[1] >= 1.0 && dimension[1] <= INT32_MAX))
            Fail("variable \"dimension\": %g x %g is not a grid size", dimension[0], dimension[1]);
        const int size[2] = {int(dimension[0]), int(dimension[1])};
        const int z = VarId("z");
        const std::vector<int> dims = VarDims(z);
        if (size[0] < 1 || size[1] < 1 || dims.size() != 1 || DimLength(dims[0]) != size_t(size[0]) * size_t(size[1]))
            Fail("variable \"z\": %zu values do not make a grid of %d x %d", dims.empty() ? 0 : DimLength(dims[0]),
                 size[0], size[1]);
        const std::vector<double> offset = NumberAttribute(z, "node_offset");
        const double pixel = !offset.empty() && offset[0] == 1.0 ? 1.0 : 0.0;
        m_Components.push_back(MakeComponent(z));
        const size_t lengths[3] = {size_t(size[0]), size_t(size[1]), 1};
        CheckShape("z", lengths);
        m_Axes[0] = Steps(xr[0], xr[1], m_Dims[0], pixel, false);
        m_Axes[1] = Steps(yr[0], yr[1], m_Dims[1], pixel, true); // rows from the north
        m_Axes[2] = {0.0};
        FinishAxes();
    }

    // A variable of exactly two numbers (the library reads a whole variable
    // into the buffer it is given).
    void ReadPair(const char* name, double pair[2]) const
    {
        const int id = VarId(name);
        const std::vector<int> dims = VarDims(id);
        if (dims.size() != 1 || DimLength(dims[0]) != 2)
            Fail("variable \"%s\" must hold two numbers", name);
        Check(nc_get_var_double(m_File.id, id, pair), (std::string("variable \"") + name + "\"").c_str());
    }

    static std::vector<double> Steps(double low, double high, unsigned int n, double pixel, bool downward)
    {
        const double step = (high - low) / std::max(1.0, n - 1.0 + pixel);
        std::vector<double> coords(n);
        for (unsigned int i = 0; i < n; ++i) {
            const double at = (i + 0.5 * pixel) * step;
            coords[i] = downward ? high - at : low + at;
        }
        return coords;
    }

    // Takes the lattice's node counts once they are known to be a lattice
    // within the memory budget (its values, and a position per node along
    // each axis), before anything is allocated by them.
    void CheckShape(const std::string& variable, const size_t lengths[3])
    {
        uint64_t nodes = 1;
        for (int axis = 0; axis < 3; ++axis) {
            if (lengths[axis] == 0)
                Fail("variable \"%s\" holds no values: one of its dimensions is empty", variable.c_str());
            nodes = Saturated(nodes, lengths[axis]);
        }
        if (Saturated(nodes, m_Components.size()) > core::VdLattice::MaxNodes)
            Fail("%zu x %zu x %zu nodes of %zu components are more than a lattice holds", lengths[0], lengths[1],
                 lengths[2], m_Components.size());
        for (int axis = 0; axis < 3; ++axis)
            m_Dims[axis] = unsigned(lengths[axis]);
        LatticeFile::CheckBudget(m_Name, m_Dims, m_Components.size(), m_Components.front().outType);
        LatticeFile::CheckBudget(m_Name, (uint64_t(m_Dims[0]) + m_Dims[1] + m_Dims[2]) * sizeof(double),
                                 "the axes' positions");
    }

    // --- CF files

    void ReadCfShape()
    {
        ChooseVariables();
        const std::vector<int> dims = DataDims(m_Components.front().varid);
        m_NcDims = dims;
        size_t lengths[3] = {1, 1, 1};
        for (size_t axis = 0; axis < dims.size(); ++axis)
            lengths[axis] = DimLength(dims[dims.size() - 1 - axis]);
        CheckShape(m_Components.front().name, lengths);
        for (int axis = 0; axis < 3; ++axis) {
            const size_t d = dims.size() - 1 - size_t(axis);
            m_Axes[axis] = axis < int(dims.size()) ? DimensionCoords(dims[d]) : std::vector<double>{0.0};
        }
        if (!ReadAuxiliaryCoords())
            FinishAxes();
    }

    // Names given in the scene, else the first data variable and the later
    // ones of its dimensions and type.
    void ChooseVariables()
    {
        if (!m_Settings.variables.empty()) {
            for (const std::string& name : m_Settings.variables) {
                const int id = VarId(name);
                if (id < 0)
                    Fail("no variable \"%s\"", name.c_str());
                AddComponent(id);
            }
            return;
        }
        int count = 0;
        nc_inq_nvars(m_File.id, &count);
        const std::vector<std::string> auxiliary = AuxiliaryNames(count);
        for (int id = 0; id < count; ++id) {
            if (IsCoordinateVariable(id) || std::count(auxiliary.begin(), auxiliary.end(), VarName(id)))
                continue;
            const std::vector<int> dims = VarDims(id);
            if (dims.empty() || !FindType(VarType(id)))
                continue;
            if (m_Components.empty() && TryDataDims(id))
                AddComponent(id);
            else if (!m_Components.empty() && dims == VarDims(m_Components.front().varid) &&
                     MakeComponent(id).outType == m_Components.front().outType)
                AddComponent(id);
        }
        if (m_Components.empty())
            Fail("no variable with one to three dimensions of data");
    }

    void AddComponent(int id)
    {
        Component component = MakeComponent(id);
        if (!m_Components.empty() && (VarDims(id) != VarDims(m_Components.front().varid) ||
                                      component.outType != m_Components.front().outType))
            Fail("variable \"%s\": its dimensions or type differ from those of \"%s\"", component.name.c_str(),
                 m_Components.front().name.c_str());
        DataDims(id);
        m_Components.push_back(component);
    }

    nc_type VarType(int id) const
    {
        nc_type type = NC_NAT;
        nc_inq_vartype(m_File.id, id, &type);
        return type;
    }

    bool IsCoordinateVariable(int id) const
    {
        const std::vector<int> dims = VarDims(id);
        if (dims.size() != 1)
            return false;
        char name[NC_MAX_NAME + 1] = {};
        nc_inq_dimname(m_File.id, dims[0], name);
        return VarName(id) == name;
    }

    std::vector<std::string> AuxiliaryNames(int count) const
    {
        std::vector<std::string> names;
        for (int id = 0; id < count; ++id) {
            const std::vector<std::string> some = AuxiliaryNamesOf(id);
            names.insert(names.end(), some.begin(), some.end());
        }
        return names;
    }

    bool TryDataDims(int id) const
    {
        try {
            DataDims(id);
            return true;
        } catch (const shr::Exception&) {
            return false;
        }
    }

    // The variable's dimensions without extra ones of length 1.
    std::vector<int> DataDims(int id) const
    {
        std::vector<int> dims = VarDims(id);
        for (size_t d = 0; dims.size() > 3 && d < dims.size();) {
            if (DimLength(dims[d]) == 1)
                dims.erase(dims.begin() + long(d));
            else
                ++d;
        }
        if (dims.empty() || dims.size() > 3)
            Fail("variable \"%s\" has %zu dimensions of more than one value; a lattice has one to three",
                 VarName(id).c_str(), dims.size());
        return dims;
    }

    std::vector<double> DimensionCoords(int dim) const
    {
        char name[NC_MAX_NAME + 1] = {};
        nc_inq_dimname(m_File.id, dim, name);
        const size_t length = DimLength(dim);
        std::vector<double> coords(length);
        const int id = VarId(name);
        if (id < 0 || VarDims(id) != std::vector<int>{dim}) {
            for (size_t i = 0; i < length; ++i)
                coords[i] = double(i);
            return coords;
        }
        Check(nc_get_var_double(m_File.id, id, coords.data()), name);
        if (Lower(TextAttribute(id, "positive")) == "down") {
            for (double& c : coords)
                c = -c;
        }
        for (size_t i = 0; i < coords.size(); ++i) {
            if (!std::isfinite(coords[i]))
                Fail("coordinate variable \"%s\": value %zu is not a number", name, i);
        }
        return coords;
    }

    // Auxiliary coordinates with the data's dimensions make a curvilinear
    // lattice: true when they were found.
    bool ReadAuxiliaryCoords()
    {
        int axisVar[3] = {-1, -1, -1};
        for (const std::string& name : AuxiliaryNamesOf(m_Components.front().varid)) {
            const int id = VarId(name);
            if (id < 0 || VarDims(id) != VarDims(m_Components.front().varid))
                continue;
            const int axis = AxisOf(id, name);
            if (axis >= 0)
                axisVar[axis] = id;
        }
        if (axisVar[0] < 0 || axisVar[1] < 0)
            return false;
        // Each node's position, and one coordinate at a time as it is read.
        LatticeFile::CheckBudget(m_Name, m_Dims, m_Components.size(), m_Components.front().outType,
                                 4 * sizeof(double));
        const size_t nodes = NodeCount();
        m_Coords.assign(nodes * 3, 0.0);
        std::vector<double> values(nodes);
        for (int axis = 0; axis < 3; ++axis) {
            if (axisVar[axis] < 0) {
                FillAxisFromDimension(axis);
                continue;
            }
            Check(nc_get_var_double(m_File.id, axisVar[axis], values.data()), VarName(axisVar[axis]).c_str());
            const bool down = Lower(TextAttribute(axisVar[axis], "positive")) == "down";
            for (size_t n = 0; n < nodes; ++n)
                m_Coords[n * 3 + size_t(axis)] = down ? -values[n] : values[n];
        }
        return true;
    }

    std::vector<std::string> AuxiliaryNamesOf(int id) const
    {
        std::vector<std::string> names;
        const std::string list = TextAttribute(id, "coordinates");
        size_t start = 0;
        while (start < list.size()) {
            const size_t end = std::min(list.find(' ', start), list.size());
            if (end > start)
                names.push_back(list.substr(start, end - start));
            start = end + 1;
        }
        return names;
    }

    // Z from the slowest dimension's coordinates where no auxiliary Z exists.
    void FillAxisFromDimension(int axis)
    {
        for (size_t n = 0; n < NodeCount(); ++n) {
            const size_t index[3] = {n % m_Dims[0], n / m_Dims[0] % m_Dims[1], n / (size_t(m_Dims[0]) * m_Dims[1])};
            m_Coords[n * 3 + size_t(axis)] = m_Axes[axis][index[axis]];
        }
    }

    int AxisOf(int id, const std::string& name) const
    {
        const std::string axis = Lower(TextAttribute(id, "axis"));
        const std::string standard = Lower(TextAttribute(id, "standard_name"));
        const std::string lower = Lower(name);
        if (axis == "x" || standard == "longitude" || standard == "projection_x_coordinate" || lower == "x" ||
            lower == "lon" || lower == "longitude")
            return 0;
        if (axis == "y" || standard == "latitude" || standard == "projection_y_coordinate" || lower == "y" ||
            lower == "lat" || lower == "latitude")
            return 1;
        if (axis == "z" || standard == "height" || standard == "depth" || lower == "z" || lower == "depth" ||
            lower == "elevation")
            return 2;
        return -1;
    }

    // Decreasing axes turn round; uniform steps are noted.
    void FinishAxes()
    {
        static const char* const kAxisNames[3] = {"X", "Y", "Z"};
        m_Uniform = true;
        for (int axis = 0; axis < 3; ++axis) {
            std::vector<double>& c = m_Axes[axis];
            m_Flip[axis] = c.size() > 1 && c[1] < c[0];
            if (m_Flip[axis])
                std::reverse(c.begin(), c.end());
            for (size_t i = 1; i < c.size(); ++i) {
                if (!(c[i] > c[i - 1]))
                    Fail("the %s coordinates are not monotonic at index %zu", kAxisNames[axis], i);
            }
            m_Uniform = m_Uniform && EquallySpaced(c);
        }
    }

    static bool EquallySpaced(const std::vector<double>& c)
    {
        if (c.size() < 3)
            return true;
        const double step = (c.back() - c.front()) / double(c.size() - 1);
        const double scale = std::max(std::fabs(c.front()), std::fabs(c.back()));
        const double tolerance = 1e-5 * step + 2e-7 * scale;
        for (size_t i = 1; i + 1 < c.size(); ++i) {
            if (std::fabs(c[i] - (c.front() + double(i) * step)) > tolerance)
                return false;
        }
        return true;
    }

    Component MakeComponent(int id) const
    {
        Component component;
        component.varid = id;
        component.name = VarName(id);
        component.type = FindType(VarType(id));
        if (!component.type)
            Fail("variable \"%s\": its type is not a number type a lattice holds", component.name.c_str());
        component.outType = component.type->prim;
        nc_type scaleType = NC_NAT;
        nc_type offsetType = NC_NAT;
        const std::vector<double> scale = NumberAttribute(id, "scale_factor", &scaleType);
        const std::vector<double> offset = NumberAttribute(id, "add_offset", &offsetType);
        if (!scale.empty() || !offset.empty()) {
            component.packed = true;
            component.scale = scale.empty() ? 1.0 : scale[0];
            component.offset = offset.empty() ? 0.0 : offset[0];
            const bool wide = scaleType == NC_DOUBLE || offsetType == NC_DOUBLE;
            component.outType = wide ? shr::Double : shr::Float;
        }
        ReadMissing(component);
        return component;
    }

    void ReadMissing(Component& component) const
    {
        const int id = component.varid;
        std::vector<double> fill = NumberAttribute(id, "_FillValue");
        if (fill.empty() && component.type->nc != NC_BYTE && component.type->nc != NC_UBYTE)
            fill.push_back(component.type->defaultFill);
        const std::vector<double> missing = NumberAttribute(id, "missing_value");
        component.missing = fill;
        component.missing.insert(component.missing.end(), missing.begin(), missing.end());
        const std::vector<double> range = NumberAttribute(id, "valid_range");
        const std::vector<double> low = NumberAttribute(id, "valid_min");
        const std::vector<double> high = NumberAttribute(id, "valid_max");
        if (range.size() == 2) {
            component.validMin = range[0];
            component.validMax = range[1];
        }
        if (!low.empty())
            component.validMin = low[0];
        if (!high.empty())
            component.validMax = high[0];
        component.TakeMarkers();
    }

    size_t NodeCount() const { return size_t(m_Dims[0]) * m_Dims[1] * m_Dims[2]; }

    std::unique_ptr<core::VdLattice> MakeLattice() const
    {
        const unsigned int count = unsigned(m_Components.size());
        const shr::PrimType type = m_Components.front().outType;
        if (!m_Coords.empty())
            return std::make_unique<core::VdCurvilinearLattice>(shr::Double, type, m_Dims, m_Coords.data(), nullptr,
                                                                count);
        if (!m_Uniform)
            return std::make_unique<core::VdRectilinearLattice>(type, m_Dims, nullptr, count, m_Axes[0], m_Axes[1],
                                                                m_Axes[2]);
        auto lattice = std::make_unique<core::VdUniformLattice>(type, m_Dims, nullptr, count);
        lattice->SetUVWBounds(shr::Box3d(m_Axes[0].front(), m_Axes[1].front(), m_Axes[2].front(), m_Axes[0].back(),
                                         m_Axes[1].back(), m_Axes[2].back()));
        return lattice;
    }

    // Reads the raw values, turns round what FinishAxes turned, unpacks and
    // marks blanks. One unpacked component is read straight into the lattice.
    void ReadComponent(core::VdLattice& lattice, unsigned int c) const
    {
        const Component& component = m_Components[c];
        const size_t nodes = NodeCount();
        const size_t rawBytes = shr::CPrimType::Size(component.type->prim);
        const bool direct = m_Components.size() == 1 && !component.packed;
        std::vector<char> buffer(direct ? 0 : nodes * rawBytes);
        char* raw = direct ? static_cast<char*>(lattice.DataWritePtr()) : buffer.data();
        Check(nc_get_var(m_File.id, component.varid, raw), ("variable \"" + component.name + "\"").c_str());
        for (int axis = 0; axis < 3; ++axis) {
            if (m_Flip[axis])
                FlipAxis(raw, rawBytes, axis);
        }
        char* out = static_cast<char*>(lattice.DataWritePtr());
        const char* values = raw;
        const size_t tuple = size_t(lattice.DataTupleSize());
        const size_t outBytes = lattice.DataComponentSize();
        // One loop per raw type: the values are read in their own type.
        core::DispatchPrimType(component.type->prim, [&](auto tag) {
            using T = typename decltype(tag)::Type;
            for (size_t n = 0; n < nodes; ++n) {
                T raw;
                std::memcpy(&raw, values + n * sizeof(T), sizeof(T));
                const double value = double(raw);
                if (component.IsBlank(value))
                    lattice.SetBlank(unsigned(n), c);
                if (direct)
                    continue;
                char* slot = out + n * tuple + c * outBytes;
                if (!component.packed)
                    std::memcpy(slot, &raw, sizeof(T));
                else
                    StoreFromDouble(component.outType, slot, 0, value * component.scale + component.offset);
            }
        });
    }

    void FlipAxis(char* data, size_t bytes, int axis) const
    {
        const size_t stride = axis == 0 ? 1 : axis == 1 ? m_Dims[0] : size_t(m_Dims[0]) * m_Dims[1];
        const size_t n = m_Dims[axis];
        const size_t outer = NodeCount() / (stride * n);
        std::vector<char> swap(bytes);
        for (size_t o = 0; o < outer; ++o) {
            for (size_t inner = 0; inner < stride; ++inner) {
                char* base = data + (o * stride * n + inner) * bytes;
                for (size_t a = 0, b = n - 1; a < b; ++a, --b)
                    std::swap_ranges(base + a * stride * bytes, base + a * stride * bytes + bytes,
                                     base + b * stride * bytes);
            }
        }
    }

    void ReadTransform(core::VdLattice& lattice) const
    {
        const std::vector<double> matrix = NumberAttribute(NC_GLOBAL, kTransformAttribute);
        if (matrix.empty())
            return;
        const auto finite = [](double v) { return std::isfinite(v); };
        if (matrix.size() != 16 || !std::all_of(matrix.begin(), matrix.end(), finite))
            Fail("global attribute \"%s\" must be 16 numbers", kTransformAttribute);
        lattice.SetUserTransform(shr::Mat4d(matrix.data()));
    }

    const shr::GString m_Path;
    const shr::GString m_Name;
    const NetcdfSettings m_Settings;
    NcHandle m_File;
    std::vector<Component> m_Components;
    std::vector<int> m_NcDims;
    unsigned int m_Dims[3] = {1, 1, 1};
    std::vector<double> m_Axes[3];
    bool m_Flip[3] = {false, false, false};
    bool m_Uniform = true;
    std::vector<double> m_Coords; // curvilinear nodes, xyz per node
};

// --- writing

class GridWriter {
public:
    GridWriter(const core::VdLattice& lattice, const std::string& path, const std::string& name)
        : m_Lattice(lattice), m_Path(path), m_Name(name), m_Type(FindType(lattice.DataType()))
    {
    }

    void Write()
    {
        const bool classic = m_Type.nc != NC_UBYTE && m_Type.nc != NC_USHORT && m_Type.nc != NC_UINT &&
                             m_Type.nc != NC_INT64;
        Check(nc_create(m_Path.c_str(), NC_CLOBBER | (classic ? NC_64BIT_OFFSET : NC_64BIT_DATA), &m_File.id));
        const bool curvilinear = dynamic_cast<const core::VdCurvilinearLattice*>(&m_Lattice) != nullptr;
        DefineDimensions(curvilinear ? "kji" : "zyx");
        DefineGlobals();
        if (curvilinear)
            DefineNodeCoordinates();
        else
            DefineAxisCoordinates();
        DefineComponents(curvilinear);
        Check(nc_enddef(m_File.id));
        if (curvilinear)
            WriteNodeCoordinates();
        else
            WriteAxisCoordinates();
        for (unsigned int c = 0; c < m_Lattice.ComponentCount(); ++c)
            WriteComponent(c);
        Check(nc_close(m_File.Release()));
    }

private:
    void Check(int status) const
    {
        if (status != NC_NOERR)
            HOST_SYSTEM_ERROR("%s: cannot write the NetCDF file: %s", m_Name.c_str(), nc_strerror(status));
    }

    void DefineDimensions(const char* names)
    {
        const unsigned int* dims = m_Lattice.GetDims();
        for (int d = 0; d < 3; ++d)
            Check(nc_def_dim(m_File.id, std::string(1, names[d]).c_str(), dims[2 - d], &m_Dims[d]));
    }

    void DefineGlobals()
    {
        PutText(NC_GLOBAL, "Conventions", "CF-1.8");
        PutText(NC_GLOBAL, "source", "Fenrak Core");
        if (!m_Lattice.HasUserTransform())
            return;
        const shr::Mat4d& m = m_Lattice.GetUserTransform();
        double rows[16];
        for (int r = 0; r < 4; ++r) {
            for (int c = 0; c < 4; ++c)
                rows[r * 4 + c] = m.m[r][c];
        }
        Check(nc_put_att_double(m_File.id, NC_GLOBAL, kTransformAttribute, NC_DOUBLE, 16, rows));
    }

    void PutText(int var, const char* name, const std::string& text)
    {
        Check(nc_put_att_text(m_File.id, var, name, text.size(), text.c_str()));
    }

    void DefineAxisCoordinates()
    {
        static const char* const kNames[3] = {"z", "y", "x"};
        for (int d = 0; d < 3; ++d) {
            Check(nc_def_var(m_File.id, kNames[d], NC_DOUBLE, 1, &m_Dims[d], &m_Coordinate[d]));
            PutText(m_Coordinate[d], "axis", std::string(1, char(std::toupper(kNames[d][0]))));
        }
    }

    void DefineNodeCoordinates()
    {
        static const char* const kNames[3] = {"z", "y", "x"};
        for (int d = 0; d < 3; ++d) {
            Check(nc_def_var(m_File.id, kNames[d], NC_DOUBLE, 3, m_Dims, &m_Coordinate[d]));
            PutText(m_Coordinate[d], "axis", std::string(1, char(std::toupper(kNames[d][0]))));
        }
    }

    void DefineComponents(bool curvilinear)
    {
        for (unsigned int c = 0; c < m_Lattice.ComponentCount(); ++c) {
            int id = -1;
            Check(nc_def_var(m_File.id, ("component_" + std::to_string(c + 1)).c_str(), m_Type.nc, 3, m_Dims, &id));
            std::vector<char> value(shr::CPrimType::Size(m_Type.prim));
            StoreFill(value.data(), 0);
            Check(nc_put_att(m_File.id, id, "_FillValue", m_Type.nc, 1, value.data()));
            PutText(id, "long_name", m_Lattice.GetComponentName(c));
            if (curvilinear)
                PutText(id, "coordinates", "z y x");
            m_Components.push_back(id);
        }
    }

    // The default fill of a 64-bit integer is beyond a double's exact range:
    // it is stored as the integer itself.
    void StoreFill(char* data, size_t index) const
    {
        if (m_Type.prim == shr::Int64) {
            const int64_t fill = NC_FILL_INT64;
            std::memcpy(data + index * sizeof fill, &fill, sizeof fill);
        } else {
            StoreFromDouble(m_Type.prim, data, index, m_Type.defaultFill);
        }
    }

    void WriteAxisCoordinates()
    {
        const unsigned int* dims = m_Lattice.GetDims();
        for (int axis = 0; axis < 3; ++axis) {
            std::vector<double> coords(dims[axis]);
            for (unsigned int n = 0; n < dims[axis]; ++n) {
                const unsigned int ijk[3] = {axis == 0 ? n : 0, axis == 1 ? n : 0, axis == 2 ? n : 0};
                coords[n] = m_Lattice.IJKToUVW(ijk[0], ijk[1], ijk[2])[axis];
            }
            Check(nc_put_var_double(m_File.id, m_Coordinate[2 - axis], coords.data()));
        }
    }

    void WriteNodeCoordinates()
    {
        const unsigned int* dims = m_Lattice.GetDims();
        const size_t nodes = size_t(dims[0]) * dims[1] * dims[2];
        for (int axis = 0; axis < 3; ++axis) {
            std::vector<double> values(nodes);
            for (size_t n = 0; n < nodes; ++n) {
                unsigned int i = 0, j = 0, k = 0;
                m_Lattice.IndexToIJK(uint32_t(n), i, j, k);
                values[n] = m_Lattice.IJKToUVW(i, j, k)[axis];
            }
            Check(nc_put_var_double(m_File.id, m_Coordinate[2 - axis], values.data()));
        }
    }

    // One layer at a time, blanks as the fill value.
    void WriteComponent(unsigned int c)
    {
        const unsigned int* dims = m_Lattice.GetDims();
        const size_t layer = size_t(dims[0]) * dims[1];
        const size_t bytes = m_Lattice.DataComponentSize();
        std::vector<char> buffer(layer * bytes);
        for (unsigned int k = 0; k < dims[2]; ++k) {
            for (size_t n = 0; n < layer; ++n) {
                const unsigned int node = unsigned(k * layer + n);
                if (m_Lattice.IsBlank(node, c))
                    StoreFill(buffer.data(), n);
                else
                    std::memcpy(&buffer[n * bytes], m_Lattice.DataPtr(node, c), bytes);
            }
            const size_t start[3] = {k, 0, 0};
            const size_t count[3] = {1, dims[1], dims[0]};
            Check(nc_put_vara(m_File.id, m_Components[c], start, count, buffer.data()));
        }
    }

    const core::VdLattice& m_Lattice;
    const std::string m_Path;
    const std::string m_Name;
    const TypeInfo& m_Type;
    NcHandle m_File;
    int m_Dims[3] = {-1, -1, -1};
    int m_Coordinate[3] = {-1, -1, -1};
    std::vector<int> m_Components;
};

} // namespace

NetcdfSettings NetcdfGrid::Settings(const FileOptions& options)
{
    NetcdfSettings settings;
    const std::string list = options.Text("variable", "");
    size_t start = 0;
    while (start < list.size()) {
        const size_t end = std::min(list.find(',', start), list.size());
        std::string name = list.substr(start, end - start);
        name.erase(0, name.find_first_not_of(' '));
        name.erase(name.find_last_not_of(' ') + 1);
        if (!name.empty())
            settings.variables.push_back(name);
        start = end + 1;
    }
    options.CheckAllUsed("a NetCDF file takes no setting \"%s\"");
    return settings;
}

bool NetcdfGrid::Recognise(const unsigned char* head, size_t size)
{
    static const unsigned char kHdf5[8] = {0x89, 'H', 'D', 'F', '\r', '\n', 0x1a, '\n'};
    if (size >= 4 && std::memcmp(head, "CDF", 3) == 0 && (head[3] == 1 || head[3] == 2 || head[3] == 5))
        return true;
    return size >= 8 && std::memcmp(head, kHdf5, 8) == 0;
}

std::unique_ptr<core::VdLattice> NetcdfGrid::Read(const shr::GString& path, const shr::GString& displayName,
                                                  const NetcdfSettings& settings)
{
    return GridReader(path, displayName.empty() ? path : displayName, settings).Read();
}

void NetcdfGrid::Write(const core::VdLattice& lattice, const std::string& path, const std::string& displayName)
{
    GridWriter(lattice, path, displayName).Write();
}

} // namespace host
