#include "core/data/VdArrayData.h"

#include "core/data/VdArrayDataT.h"
#include "shr/Exception.h"

#include <sys/mman.h>

#include <cstring>
#include <new>

namespace core {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

[[noreturn]] void ThrowDataError(int line, const char* text)
{
    shr::ThrowSharedError("Core", "VdArrayData", line, 0, text);
}

unsigned char BitOf(uint32_t index)
{
    return static_cast<unsigned char>(1u << (index & 7));
}

// Stores from this size on are mapped from the system rather than taken from
// the heap. Below it the C library's heap takes back and hands out again
// blocks of lattice size, so that their pages stay in use; above it the
// library maps and unmaps every block itself, in small pages.
constexpr uint64_t kMappedBytes = uint64_t(32) << 20;

} // namespace

void VdArrayData::StoreRelease::operator()(unsigned char* block) const
{
    if (bytes >= kMappedBytes)
        ::munmap(block, bytes);
    else
        delete[] block;
}

std::unique_ptr<VdArrayData> VdArrayData::Create(shr::PrimType type, unsigned int size)
{
    if (!shr::CPrimType::IsValid(type))
        ThrowDataError(__LINE__, "Invalid data type.");
    return DispatchPrimType(type, [size](auto tag) -> std::unique_ptr<VdArrayData> {
        return std::make_unique<VdArrayDataT<decltype(tag)::Value>>(size);
    });
}

VdArrayData::VdArrayData(shr::PrimType type, unsigned int size)
    : m_Type(type), m_Size(size)
{
    const uint64_t bytes = ByteSize();
    if (bytes == 0)
        return;
    if (bytes < kMappedBytes) {
        m_Store = std::unique_ptr<unsigned char[], StoreRelease>(new unsigned char[bytes](), StoreRelease(bytes));
        return;
    }
    // Mapped pages read as zero until written: a store that its producer
    // fills at once is touched once, not twice, and by the threads that fill
    // it. Large pages, where the system offers them, make those first touches few.
    void* block = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED)
        throw std::bad_alloc();
    (void)::madvise(block, bytes, MADV_HUGEPAGE);
    m_Store = std::unique_ptr<unsigned char[], StoreRelease>(static_cast<unsigned char*>(block), StoreRelease(bytes));
}

VdArrayData::~VdArrayData()
{
    delete[] m_BlankMask.load(std::memory_order_relaxed);
}

std::recursive_mutex& VdArrayData::BlankLock()
{
    static std::recursive_mutex lock;
    return lock;
}

unsigned int VdArrayData::ComponentSize() const
{
    return shr::CPrimType::Size(m_Type);
}

std::unique_ptr<VdArrayData> VdArrayData::Clone() const
{
    Lock lock(BlankLock());
    std::unique_ptr<VdArrayData> copy = Create(m_Type, m_Size);
    if (m_Store)
        std::memcpy(copy->m_Store.get(), m_Store.get(), ByteSize());
    if (const unsigned char* mask = Mask()) {
        std::unique_ptr<unsigned char[]> maskCopy(new unsigned char[MaskBytes(m_Size)]);
        std::memcpy(maskCopy.get(), mask, MaskBytes(m_Size));
        copy->AdoptMask(std::move(maskCopy), m_BlankCount);
    }
    return copy;
}

bool VdArrayData::HasBlanks() const
{
    Lock lock(BlankLock());
    return Mask() != nullptr;
}

unsigned int VdArrayData::BlankCount() const
{
    Lock lock(BlankLock());
    return m_BlankCount;
}

void VdArrayData::SetBlank(uint32_t index)
{
    Lock lock(BlankLock());
    SetBlankLocked(index);
}

void VdArrayData::SetBlankLocked(uint32_t index)
{
    CheckIndex(index);
    unsigned char* mask = m_BlankMask.load(std::memory_order_acquire);
    if (!mask) {
        mask = new unsigned char[MaskBytes(m_Size)]();
        m_BlankMask.store(mask, std::memory_order_release);
    }
    const unsigned char bit = BitOf(index);
    if (!(__atomic_fetch_or(&mask[index >> 3], bit, __ATOMIC_RELAXED) & bit))
        ++m_BlankCount;
}

void VdArrayData::UnblankLocked(uint32_t index)
{
    Lock lock(BlankLock());
    CheckIndex(index);
    unsigned char* mask = m_BlankMask.load(std::memory_order_acquire);
    if (!mask)
        return;
    const unsigned char bit = BitOf(index);
    if (!(__atomic_fetch_and(&mask[index >> 3], static_cast<unsigned char>(~bit), __ATOMIC_RELAXED) & bit))
        return;
    if (--m_BlankCount == 0)
        FreeMask();
}

void VdArrayData::CheckIndex(uint32_t index) const
{
    if (index >= m_Size)
        ThrowDataError(__LINE__, "Array index out of range.");
}

void VdArrayData::FreeMask()
{
    delete[] m_BlankMask.exchange(nullptr, std::memory_order_acq_rel);
    m_BlankCount = 0;
}

void VdArrayData::CopyBlanksFrom(const VdArrayData& source, uint32_t offset)
{
    Lock lock(BlankLock());
    const unsigned char* mask = source.Mask();
    if (!mask)
        return;
    for (uint32_t index = 0; index < source.m_Size; ++index)
        if (mask[index >> 3] & BitOf(index))
            SetBlankLocked(offset + index);
}

void VdArrayData::AdoptMask(std::unique_ptr<unsigned char[]> mask, unsigned int count)
{
    Lock lock(BlankLock());
    FreeMask();
    if (count == 0)
        return;
    m_BlankCount = count;
    m_BlankMask.store(mask.release(), std::memory_order_release);
}

} // namespace core
