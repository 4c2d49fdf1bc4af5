#include "core/data/MemoryBudget.h"

#include "core/network/CoreError.h"

#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cstdlib>
#include <limits>

namespace core {

namespace {

// Zero until first asked for or set.
std::atomic<uint64_t> s_Bytes{0};

uint64_t HalfThePhysicalMemory()
{
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGE_SIZE);
    if (pages <= 0 || pageSize <= 0)
        return uint64_t(1) << 31;
    return uint64_t(pages) / 2 * uint64_t(pageSize);
}

uint64_t FromEnvironment()
{
    const char* text = std::getenv(MemoryBudget::Variable);
    uint64_t bytes = 0;
    return text && MemoryBudget::Parse(text, bytes) ? bytes : HalfThePhysicalMemory();
}

// Multiplies without wrapping: the product, or the largest value.
uint64_t Saturated(uint64_t a, uint64_t b)
{
    return b != 0 && a > std::numeric_limits<uint64_t>::max() / b ? std::numeric_limits<uint64_t>::max() : a * b;
}

} // namespace

const char* const MemoryBudget::Variable = "FENRAK_MEMORY_LIMIT";

uint64_t MemoryBudget::Bytes()
{
    uint64_t bytes = s_Bytes.load();
    if (bytes == 0) {
        bytes = FromEnvironment();
        s_Bytes.store(bytes);
    }
    return bytes;
}

void MemoryBudget::SetBytes(uint64_t bytes)
{
    s_Bytes.store(bytes);
}

bool MemoryBudget::Parse(const std::string& text, uint64_t& bytes)
{
    size_t digits = 0;
    while (digits < text.size() && std::isdigit(static_cast<unsigned char>(text[digits])))
        ++digits;
    if (digits == 0 || digits > 19 || text.size() > digits + 1)
        return false;
    uint64_t value = std::strtoull(text.substr(0, digits).c_str(), nullptr, 10);
    if (text.size() > digits) {
        static const std::string units = "KMGT";
        const size_t unit = units.find(static_cast<char>(std::toupper(static_cast<unsigned char>(text[digits]))));
        if (unit == std::string::npos)
            return false;
        for (size_t i = 0; i <= unit; ++i)
            value = Saturated(value, 1024);
    }
    if (value == 0)
        return false;
    bytes = value;
    return true;
}

void MemoryBudget::Check(uint64_t bytes)
{
    if (bytes > Bytes())
        CORE_THROW(46);
}

void MemoryBudget::CheckLattice(const unsigned int* dims, uint64_t components, shr::PrimType type,
                                uint64_t coordinateBytes)
{
    const uint64_t nodes = Saturated(Saturated(dims[0], dims[1]), dims[2]);
    const uint64_t perNode = Saturated(components, shr::CPrimType::Size(type)) + coordinateBytes;
    Check(Saturated(nodes, perNode));
}

} // namespace core
