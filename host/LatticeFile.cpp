#include "host/LatticeFile.h"

#include "core/data/MemoryBudget.h"
#include "core/data/VdLattice.h"
#include "core/network/VbModuleInfo.h"
#include "core/processing/VoLatticeSrc.h"
#include "host/HostError.h"
#include "host/NetcdfGrid.h"
#include "host/SegyReader.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace host {

namespace {

// Enough for the SEG-Y file headers and the first trace header.
constexpr size_t kHeadBytes = 3840;

} // namespace

const std::string* FileOptions::Find(const std::string& key) const
{
    for (const auto& pair : m_Pairs) {
        if (pair.first == key) {
            m_Used.insert(key);
            return &pair.second;
        }
    }
    return nullptr;
}

void FileOptions::Fail(const std::string& key, const std::string& what) const
{
    HOST_USER_ERROR("%s: \"fileOptions\": \"%s\": %s", m_Where.c_str(), key.c_str(), what.c_str());
}

bool FileOptions::Has(const std::string& key) const
{
    return Find(key) != nullptr;
}

std::string FileOptions::Text(const std::string& key, const std::string& fallback) const
{
    const std::string* text = Find(key);
    return text ? *text : fallback;
}

long FileOptions::Integer(const std::string& key, long fallback, long min, long max) const
{
    const std::string* text = Find(key);
    if (!text)
        return fallback;
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text->c_str(), &end, 10);
    if (text->empty() || *end || errno || value < min || value > max)
        Fail(key, "give a whole number from " + std::to_string(min) + " to " + std::to_string(max) + ", not \"" +
                      *text + "\"");
    return value;
}

double FileOptions::Number(const std::string& key, double fallback) const
{
    const std::string* text = Find(key);
    if (!text)
        return fallback;
    char* end = nullptr;
    const double value = std::strtod(text->c_str(), &end);
    if (text->empty() || *end || !std::isfinite(value))
        Fail(key, "give a number, not \"" + *text + "\"");
    return value;
}

void FileOptions::CheckAllUsed(const char* format) const
{
    for (const auto& pair : m_Pairs) {
        if (!m_Used.count(pair.first))
            HOST_USER_ERROR("%s: \"fileOptions\": %s", m_Where.c_str(),
                            shr::ToString(format, pair.first.c_str()).c_str());
    }
}

LatticeFormat LatticeFile::Detect(const unsigned char* head, size_t size, uint64_t fileSize)
{
    if (NetcdfGrid::Recognise(head, size))
        return LatticeFormat::NetCdf;
    if (SegyReader::Recognise(head, size, fileSize))
        return LatticeFormat::Segy;
    return LatticeFormat::Unknown;
}

LatticeFormat LatticeFile::Detect(const shr::GString& path)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file)
        return LatticeFormat::Unknown;
    const uint64_t size = uint64_t(file.tellg());
    unsigned char head[kHeadBytes] = {};
    file.seekg(0);
    file.read(reinterpret_cast<char*>(head), sizeof head);
    return Detect(head, size_t(file.gcount()), size);
}

std::unique_ptr<core::VdLattice> LatticeFile::Read(const shr::GString& path, const shr::GString& displayName,
                                                   const FileOptions& options)
{
    const shr::GString& name = displayName.empty() ? path : displayName;
    std::ifstream probe(path, std::ios::binary);
    if (!probe)
        HOST_USER_ERROR("%s: cannot open the file: %s", name.c_str(), std::strerror(errno));
    switch (Detect(path)) {
    case LatticeFormat::NetCdf:
        return NetcdfGrid::Read(path, name, NetcdfGrid::Settings(options));
    case LatticeFormat::Segy:
        return SegyReader::Read(path, name, SegyReader::Settings(options));
    default:
        HOST_USER_ERROR("%s: neither a NetCDF grid nor a SEG-Y cube (told from the first bytes and the size)",
                        name.c_str());
    }
}

namespace {

template <class Check>
void WithinBudget(const shr::GString& name, const std::string& what, Check check)
{
    try {
        check();
    } catch (const shr::Exception& error) {
        HOST_USER_ERROR("%s: %s: %s take more than the memory budget of %llu bytes (%s)", name.c_str(),
                        error.Message().c_str(), what.c_str(), (unsigned long long)core::MemoryBudget::Bytes(),
                        core::MemoryBudget::Variable);
    }
}

} // namespace

void LatticeFile::CheckBudget(const shr::GString& name, const unsigned int dims[3], uint64_t components,
                              shr::PrimType type, uint64_t extraBytes)
{
    const std::string what = shr::ToString("%u x %u x %u nodes of %llu component(s)", dims[0], dims[1], dims[2],
                                           (unsigned long long)components);
    WithinBudget(name, what, [&] { core::MemoryBudget::CheckLattice(dims, components, type, extraBytes); });
}

void LatticeFile::CheckBudget(const shr::GString& name, uint64_t bytes, const std::string& what)
{
    WithinBudget(name, what, [&] { core::MemoryBudget::Check(bytes); });
}

const char* const LatticeFileLoader::TypeName = "Lattice";

bool LatticeFileLoader::IsLatticeSource(const core::VoModule& module)
{
    return dynamic_cast<const core::VoLatticeSrc*>(&module) != nullptr;
}

std::unique_ptr<core::VoModule> LatticeFileLoader::Create(const shr::GString& path, const shr::GString& displayName,
                                                          const FileOptions& options)
{
    std::unique_ptr<core::VdLattice> lattice = LatticeFile::Read(path, displayName, options);
    return std::make_unique<core::VoLatticeSrc>(lattice.release(), path.c_str());
}

void LatticeFileLoader::Reload(core::VoModule& module, const shr::GString& path)
{
    auto* source = dynamic_cast<core::VoLatticeSrc*>(&module);
    if (!source)
        HOST_USER_ERROR("module \"%s\" does not hold a lattice read from a file", module.Name().c_str());
    std::unique_ptr<core::VdLattice> lattice = LatticeFile::Read(path, path, FileOptions({}, path));
    source->SetLattice(lattice.release());
}

} // namespace host
