#pragma once
// VdArrayData: the type-erased element store that a VdArray owns: `Size()`
// elements of one primitive type in one zero-filled block, and a blank mask of
// one bit per element. VdArrayDataT<PrimType> is the store for each type.
//
// Elements are addressed by flat index (tuple * component count + component).
// The virtual readers and writers convert with PrimConvert (see PrimConvert.h)
// and do not check the index: it must be below Size().
//
// Blanks. Bit `1 << (index & 7)` of mask byte `index >> 3` marks a null
// element; the element keeps whatever number is in the store. A store without
// blanks has no mask at all, so IsBlank is a null test in the common case. The
// blank count always equals the number of bits set.
//
// Threads. One process-wide recursive lock, BlankLock(), guards HasBlanks,
// SetBlank, Unblank and Clone on every store. IsBlank does not take it: it is
// on the hot path of every per-node loop. It reads the mask with atomic loads,
// so it may run beside SetBlank on another element, but not beside the Unblank
// that frees the mask: writers are the one module that produces the array.
#include "shr/NonComparable.h"
#include "shr/PrimType.h"

#include <boost/core/noncopyable.hpp>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

namespace core {

class VdArray;

class VdArrayData : private boost::noncopyable, private shr::NonComparable {
public:
    // A zero-filled store of `size` elements; a type outside the enumeration
    // raises "Invalid data type.".
    static std::unique_ptr<VdArrayData> Create(shr::PrimType type, unsigned int size);

    virtual ~VdArrayData();

    // One element by flat index, widest type first.
    virtual void GetValue(uint32_t index, double& out) const = 0;
    virtual void GetValue(uint32_t index, float& out) const = 0;
    virtual void GetValue(uint32_t index, int64_t& out) const = 0;
    virtual void GetValue(uint32_t index, uint32_t& out) const = 0;
    virtual void GetValue(uint32_t index, int32_t& out) const = 0;
    virtual void GetValue(uint32_t index, uint16_t& out) const = 0;
    virtual void GetValue(uint32_t index, int16_t& out) const = 0;
    virtual void GetValue(uint32_t index, uint8_t& out) const = 0;
    virtual void GetValue(uint32_t index, int8_t& out) const = 0;

    virtual void SetValue(uint32_t index, double value) = 0;
    virtual void SetValue(uint32_t index, float value) = 0;
    virtual void SetValue(uint32_t index, int64_t value) = 0;
    virtual void SetValue(uint32_t index, uint32_t value) = 0;
    virtual void SetValue(uint32_t index, int32_t value) = 0;
    virtual void SetValue(uint32_t index, uint16_t value) = 0;
    virtual void SetValue(uint32_t index, int16_t value) = 0;
    virtual void SetValue(uint32_t index, uint8_t value) = 0;
    virtual void SetValue(uint32_t index, int8_t value) = 0;

    // A store of the same type and size with the elements, mask and blank count copied.
    std::unique_ptr<VdArrayData> Clone() const;

    shr::PrimType Type() const { return m_Type; }
    unsigned int ComponentSize() const;
    unsigned int Size() const { return m_Size; }
    uint64_t ByteSize() const { return uint64_t(m_Size) * ComponentSize(); }

    // The block, or null for a store of no elements.
    void* GetPtr() { return m_Store.get(); }
    const void* GetPtr() const { return m_Store.get(); }
    void* GetPtr(uint32_t index) { return m_Store.get() + uint64_t(index) * ComponentSize(); }
    const void* GetPtr(uint32_t index) const { return m_Store.get() + uint64_t(index) * ComponentSize(); }

    bool HasBlanks() const;
    unsigned int BlankCount() const;
    bool IsBlank(uint32_t index) const;
    // Marks one element null; an index at or past Size() raises "Array index out of range.".
    void SetBlank(uint32_t index);

    // Guards the blank masks of all stores.
    static std::recursive_mutex& BlankLock();

protected:
    VdArrayData(shr::PrimType type, unsigned int size);

private:
    friend class VdArray;

    static constexpr unsigned int MaskBytes(unsigned int size) { return (size + 7) >> 3; }

    // Clears an element's blank; freeing the mask with the last one. Without a
    // mask this is a single atomic load, as SetTuple calls it for every element.
    void Unblank(uint32_t index);
    void UnblankLocked(uint32_t index);
    void SetBlankLocked(uint32_t index);
    void CheckIndex(uint32_t index) const;
    void FreeMask();
    // Blanks every element of `source` that is blank there, `offset` elements further on.
    void CopyBlanksFrom(const VdArrayData& source, uint32_t offset);
    // For persistence: the raw mask (null without blanks), and a replacement
    // whose bit count the caller has checked against `count`.
    const unsigned char* Mask() const { return m_BlankMask.load(std::memory_order_acquire); }
    void AdoptMask(std::unique_ptr<unsigned char[]> mask, unsigned int count);

    // Gives the block back the way it was taken (see the constructor).
    struct StoreRelease {
        StoreRelease() noexcept : bytes(0) {}
        explicit StoreRelease(uint64_t size) noexcept : bytes(size) {}
        void operator()(unsigned char* block) const;
        uint64_t bytes;
    };

    std::unique_ptr<unsigned char[], StoreRelease> m_Store;
    shr::PrimType m_Type;
    uint32_t m_Size;
    uint32_t m_BlankCount = 0;
    std::atomic<unsigned char*> m_BlankMask{nullptr};
};

// ---- inline ----------------------------------------------------------------

inline bool VdArrayData::IsBlank(uint32_t index) const
{
    const unsigned char* mask = m_BlankMask.load(std::memory_order_acquire);
    return mask && (__atomic_load_n(&mask[index >> 3], __ATOMIC_RELAXED) & (1u << (index & 7)));
}

inline void VdArrayData::Unblank(uint32_t index)
{
    if (m_BlankMask.load(std::memory_order_acquire))
        UnblankLocked(index);
}

} // namespace core
