#include "core/data/LatticeUtility.h"

#include "core/data/VdCurvilinearLattice.h"
#include "core/data/VdRectilinearLattice.h"
#include "core/data/VdUniformLattice.h"
#include "shr/Exception.h"
#include "shr/MathUtil.h"
#include "shr/StringUtil.h"

#include <regex>

namespace core {

namespace {

[[noreturn]] void ThrowUtilityError(int line, const char* text)
{
    shr::ThrowSharedError("Core", "LatticeUtility", line, 0, text);
}

} // namespace

double NodeValue(const VdVertexData& data, uint32_t vertex, unsigned int c)
{
    return DispatchPrimType(data.DataType(), [&](auto tag) {
        using Element = typename decltype(tag)::Type;
        return PrimConvert<double>(*static_cast<const Element*>(data.DataPtr(vertex, c)));
    });
}

std::unique_ptr<VdLattice> MakeLatticeLike(const VdLattice& lattice, shr::PrimType type, unsigned int componentCount)
{
    const unsigned int* dims = lattice.GetDims();
    std::unique_ptr<VdLattice> made;
    if (const auto* uniform = dynamic_cast<const VdUniformLattice*>(&lattice)) {
        auto copy = std::make_unique<VdUniformLattice>(type, dims, nullptr, componentCount);
        copy->SetUVWBounds(uniform->UVWBounds());
        made = std::move(copy);
    } else if (const auto* rectilinear = dynamic_cast<const VdRectilinearLattice*>(&lattice)) {
        made = std::make_unique<VdRectilinearLattice>(type, dims, nullptr, componentCount, rectilinear->GetUCoords(),
                                                      rectilinear->GetVCoords(), rectilinear->GetWCoords());
    } else if (const auto* curvilinear = dynamic_cast<const VdCurvilinearLattice*>(&lattice)) {
        made = std::make_unique<VdCurvilinearLattice>(curvilinear->GetCoordType(), type, dims,
                                                      curvilinear->GetCoordPtr(), nullptr, componentCount);
    } else {
        ThrowUtilityError(__LINE__, "Invalid lattice kind.");
    }
    if (lattice.HasUserTransform())
        made->SetUserTransform(lattice.GetUserTransform());
    return made;
}

bool IsRGBA(const VdLattice& lattice)
{
    return lattice.ComponentCount() == 4 && lattice.DataType() == shr::UInt8;
}

void NormalizeUVW(const VdUniformLattice& lattice, shr::Vec3d& uvw)
{
    const shr::Box3d& bounds = lattice.UVWBounds();
    for (int axis = 0; axis < 3; ++axis)
        uvw[axis] = shr::Normalize(uvw[axis], bounds.min[axis], bounds.max[axis]);
}

void CellCorners(const VdLattice& lattice, unsigned int i, unsigned int j, unsigned int k,
                 std::vector<shr::Vec3d>& corners)
{
    static const unsigned int kFaceOrder[4][2] = {{0, 1}, {1, 1}, {1, 0}, {0, 0}};
    corners.resize(8);
    for (unsigned int n = 0; n < 8; ++n)
        corners[n] = lattice.IJKToXYZ(i + kFaceOrder[n % 4][0], j + kFaceOrder[n % 4][1], k + n / 4);
}

std::vector<shr::GString> CollectComponents(const VdVertexData& data)
{
    std::vector<shr::GString> names;
    for (unsigned int c = 0; c < data.ComponentCount(); ++c)
        names.push_back(shr::ToString("Component %u", c + 1));
    return names;
}

std::vector<unsigned int> ParseComponentNames(const std::vector<shr::GString>& names)
{
    static const std::regex pattern(R"((?:component\s*)?(\d+))", std::regex::ECMAScript | std::regex::icase);
    std::vector<unsigned int> numbers;
    numbers.reserve(names.size());
    for (const shr::GString& name : names) {
        std::string text = name;
        shr::Trim(text);
        std::smatch match;
        unsigned int number = 0;
        if (!std::regex_match(text, match, pattern) || !shr::StringToUnsigned(match[1].str(), number))
            number = 0;
        numbers.push_back(number);
    }
    return numbers;
}

bool CheckCellRange(const VdLattice& lattice, unsigned int component, const LatticeRange& range)
{
    if (component >= lattice.ComponentCount())
        ThrowUtilityError(__LINE__, "Component index out of range.");
    const unsigned int first[3] = {range.iFirst, range.jFirst, range.kFirst};
    const unsigned int end[3] = {range.iEnd, range.jEnd, range.kEnd};
    for (int axis = 0; axis < 3; ++axis)
        if (end[axis] == 0 || end[axis] <= first[axis])
            ThrowUtilityError(__LINE__, "Lattice range must describe at least one cell.");
    const unsigned int* dims = lattice.GetDims();
    for (int axis = 0; axis < 3; ++axis)
        if (first[axis] >= dims[axis] || end[axis] > dims[axis])
            ThrowUtilityError(__LINE__, "Invalid lattice range.");
    int flatAxes = 0;
    for (int axis = 0; axis < 3; ++axis)
        flatAxes += first[axis] + 1 >= end[axis] ? 1 : 0;
    if (flatAxes > 1)
        ThrowUtilityError(__LINE__, "Lattice range describes more than one 2D axis.");
    return flatAxes == 1;
}

std::vector<double> CollectFlatCellValues(const VdLattice& lattice, unsigned int component,
                                          const LatticeRange& range)
{
    const unsigned int first[3] = {range.iFirst, range.jFirst, range.kFirst};
    const unsigned int end[3] = {range.iEnd, range.jEnd, range.kEnd};
    const int flat = first[0] + 1 == end[0] ? 0 : first[1] + 1 == end[1] ? 1 : 2;
    const int inner = flat == 0 ? 1 : 0;
    const int outer = flat == 2 ? 1 : 2;
    std::vector<double> values(size_t(end[inner] - first[inner] - 1) * (end[outer] - first[outer] - 1),
                               VdVertexData::BlankVal);
    size_t n = 0;
    for (unsigned int b = first[outer]; b + 1 < end[outer]; ++b) {
        for (unsigned int a = first[inner]; a + 1 < end[inner]; ++a, ++n) {
            double sum = 0.0;
            bool blank = false;
            for (unsigned int corner = 0; corner < 4 && !blank; ++corner) {
                unsigned int ijk[3];
                ijk[flat] = first[flat];
                ijk[inner] = a + (corner & 1);
                ijk[outer] = b + (corner >> 1);
                const uint32_t node = lattice.Index(ijk[0], ijk[1], ijk[2]);
                blank = lattice.IsBlank(node, component);
                sum += NodeValue(lattice, node, component);
            }
            if (!blank)
                values[n] = sum * 0.25;
        }
    }
    return values;
}

} // namespace core
