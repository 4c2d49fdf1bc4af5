#pragma once
// LatticeFile: lattices read from files, the format told from the first bytes
// (never from the name): NetCDF (classic, 64-bit offset, CDF5 or HDF5-based,
// GMT grids included) or a SEG-Y post-stack cube. A file is read whole and
// checked before a lattice is handed out: a bad file raises a user error that
// names the file and the position at fault, and nothing half-made is left.
//
// Lattices are held to the memory budget (FENRAK_MEMORY_LIMIT): a reader
// checks the lattice a file's headers describe, and whatever it would hold
// besides, before allocating any of it.
//
// Reader settings come from the scene's "fileOptions" as key/value texts;
// FileOptions hands them out typed and refuses keys nobody asked for, so that
// a misspelt key is not ignored.
#include "shr/GString.h"
#include "shr/PrimType.h"

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace core {
class VdLattice;
class VoModule;
} // namespace core

namespace host {

class FileOptions {
public:
    using Pairs = std::vector<std::pair<std::string, std::string>>;

    FileOptions() = default;
    // `where` prefixes every error ("cube.sgy").
    FileOptions(Pairs pairs, std::string where) : m_Pairs(std::move(pairs)), m_Where(std::move(where)) {}

    bool Has(const std::string& key) const;
    std::string Text(const std::string& key, const std::string& fallback) const;
    // A whole number from `min` to `max`.
    long Integer(const std::string& key, long fallback, long min, long max) const;
    // A finite number.
    double Number(const std::string& key, double fallback) const;
    // Raises an error for a key that no Text, Integer or Number call asked for.
    void CheckAllUsed(const char* format) const;
    // A user error about the setting `key`.
    [[noreturn]] void Fail(const std::string& key, const std::string& what) const;

private:
    const std::string* Find(const std::string& key) const;

    Pairs m_Pairs;
    std::string m_Where;
    mutable std::set<std::string> m_Used;
};

enum class LatticeFormat { Unknown, NetCdf, Segy };

class LatticeFile {
public:
    // The format of a file from its first bytes and its size; Unknown for
    // anything else (a point file, say).
    static LatticeFormat Detect(const shr::GString& path);
    static LatticeFormat Detect(const unsigned char* head, size_t size, uint64_t fileSize);
    // Reads a lattice; `displayName` names the file in errors.
    static std::unique_ptr<core::VdLattice> Read(const shr::GString& path, const shr::GString& displayName,
                                                 const FileOptions& options);
    // Raises the library's "Insufficient memory" error, as a user error
    // naming the file, when a lattice of `dims` nodes (with `extraBytes` per
    // node besides its values: coordinates, indices) exceeds the budget.
    static void CheckBudget(const shr::GString& name, const unsigned int dims[3], uint64_t components,
                            shr::PrimType type, uint64_t extraBytes = 0);
    // The same for `bytes` that `what` describes ("4000 traces of 500 samples").
    static void CheckBudget(const shr::GString& name, uint64_t bytes, const std::string& what);
};

// Joins the readers to the lattice source module, as PointSetLoader does for points.
class LatticeFileLoader {
public:
    // The registry type of the lattice source.
    static const char* const TypeName;

    static bool IsLatticeSource(const core::VoModule& module);
    static std::unique_ptr<core::VoModule> Create(const shr::GString& path, const shr::GString& displayName,
                                                  const FileOptions& options);
    // Reads `path` again into a lattice source with default reader settings.
    static void Reload(core::VoModule& module, const shr::GString& path);
};

} // namespace host
