#pragma once
// Vector lattices and old documents for the vector plot and stream line tests.
#include "core/data/VdUniformLattice.h"
#include "shr/Archive.h"
#include "shr/Box3d.h"
#include "shr/Vec3.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

namespace vectortest {

using VectorField = std::function<shr::Vec3d(unsigned, unsigned, unsigned)>;

// nx x ny x nz nodes of three float components, spacing 1 from the origin.
inline core::VdUniformLattice* Field(unsigned nx, unsigned ny, unsigned nz, const VectorField& f)
{
    const unsigned dims[3] = {nx, ny, nz};
    std::vector<float> values;
    for (unsigned k = 0; k < nz; ++k)
        for (unsigned j = 0; j < ny; ++j)
            for (unsigned i = 0; i < nx; ++i) {
                const shr::Vec3d v = f(i, j, k);
                values.insert(values.end(), {float(v.x), float(v.y), float(v.z)});
            }
    auto* lattice = new core::VdUniformLattice(shr::Float, dims, values.data(), 3);
    lattice->SetUVWBounds(shr::Box3d(shr::Vec3d(0, 0, 0), shr::Vec3d(nx - 1.0, ny - 1.0, nz - 1.0)));
    return lattice;
}

inline bool Near(const shr::Vec3d& a, const shr::Vec3d& b, double tolerance = 1e-12)
{
    return (a - b).Length() <= tolerance;
}

inline std::vector<unsigned char> Header(int version)
{
    std::vector<unsigned char> bytes;
    shr::Archive archive(bytes, "", version);
    return bytes;
}

// The stored bytes of a module that is linked to nothing, split after the
// module base's part (at the module's own sync mark).
struct StoredModule {
    std::vector<unsigned char> base, body;

    StoredModule(const std::vector<unsigned char>& document, size_t ports)
    {
        const size_t header = Header(shr::Archive::CurrentVersion).size();
        const unsigned char mark[4] = {0xC3, 0x5A, 0xA5, 0x3C};
        auto second = std::search(document.begin() + long(header) + 4, document.end(), mark, mark + 4);
        base.assign(document.begin() + long(header), second);
        body.assign(second, document.end());
        // Before version 113 the base wrote no port counts: one word per port list.
        oldBase.assign(base.begin(), base.end() - long(4 * (ports + 2)));
        oldBase.insert(oldBase.end(), 4 * ports, 0);
    }
    // The document as `version` wrote it, with `body` as the module's part.
    std::vector<unsigned char> Document(int version, const std::vector<unsigned char>& moduleBody) const
    {
        std::vector<unsigned char> bytes = Header(version);
        const std::vector<unsigned char>& part = version >= 113 ? base : oldBase;
        bytes.insert(bytes.end(), part.begin(), part.end());
        bytes.insert(bytes.end(), moduleBody.begin(), moduleBody.end());
        return bytes;
    }
    // Where `value`'s bytes first appear in the body.
    template <class T>
    size_t Find(const T& value) const
    {
        const auto* raw = reinterpret_cast<const unsigned char*>(&value);
        return size_t(std::search(body.begin(), body.end(), raw, raw + sizeof value) - body.begin());
    }

private:
    std::vector<unsigned char> oldBase;
};

// `bytes` with `count` bytes at `at` replaced by those of `value`.
template <class T>
std::vector<unsigned char> Replace(std::vector<unsigned char> bytes, size_t at, size_t count, const T& value)
{
    const auto* raw = reinterpret_cast<const unsigned char*>(&value);
    bytes.erase(bytes.begin() + long(at), bytes.begin() + long(at + count));
    bytes.insert(bytes.begin() + long(at), raw, raw + sizeof value);
    return bytes;
}

} // namespace vectortest
