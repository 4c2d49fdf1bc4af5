#pragma once
// VdArray: the typed, tuple-organised numeric store of the data model. Every
// lattice node value, point value and coordinate lives in one. It holds
// TupleCount() tuples of ComponentCount() components of one primitive type,
// interleaved by tuple (element (t, c) has flat index t * ComponentCount() + c),
// and adds a blank mask per element, cached per-component minimum and maximum
// and a cached per-component histogram.
//
// Statistics are computed on demand and kept until the modified flag says they
// are stale. Writers set it: SetTuple, SetBlank, Resize and Append do so
// themselves; whoever writes through GetWritePtr calls SetModified when done,
// or readers go on seeing the old statistics. The first reader after a
// modification drops all cached statistics and clears the flag.
//
// Threads. The process-wide recursive StatsLock() guards GetMinMax,
// GetHistogram and Resize, as the interface thread reads statistics while the
// update thread produces data; the blank masks have their own lock (see
// VdArrayData). GetHistogram's reference outlives the lock: a concurrent Resize
// is the caller's concern. Write pointers and SetTuple take no lock.
//
// A store holds at most 2147483647 elements; more raise error 46,
// "Insufficient memory to perform operation".
#include "core/data/ComponentStats.h"
#include "core/data/VdArrayData.h"
#include "shr/PrimType.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace shr {
class Archive;
}

namespace core {

class VdArray {
public:
    // The most elements one store may hold.
    static constexpr uint64_t MaxElements = 2147483647;

    // UInt8, no components, no tuples and no store, until Resize or loading.
    VdArray();
    // A zero-filled store and componentCount empty statistics.
    VdArray(shr::PrimType type, unsigned int tupleCount, unsigned int componentCount);
    // Copies the cached statistics too; the store is cloned with its blanks.
    VdArray(const VdArray& other);
    VdArray(VdArray&& other) noexcept;
    VdArray& operator=(const VdArray& other);
    VdArray& operator=(VdArray&& other) noexcept;
    ~VdArray();

    void Swap(VdArray& other) noexcept;
    // Resize to no tuples and no components, keeping the type.
    void Clear();
    // Discards contents and blanks for a new zero-filled store; the old array
    // stays as it was if this fails.
    void Resize(shr::PrimType type, unsigned int tupleCount, unsigned int componentCount);

    shr::PrimType ComponentType() const { return m_Type; }
    uint64_t ComponentCount() const { return m_ComponentCount; }
    uint64_t TupleCount() const { return m_TupleCount; }
    bool IsEmpty() const { return m_TupleCount == 0; }

    // Bytes of one element, one tuple, the whole store; 0 without a store.
    unsigned int ComponentSize() const;
    uint64_t TupleSize() const;
    uint64_t TotalSize() const;

    // Addresses in the store, without bound checks; null without a store.
    const void* GetReadPtr() const;
    const void* GetReadPtr(unsigned int tuple) const;
    const void* GetReadPtr(unsigned int tuple, unsigned int component) const;
    // The same addresses. Writing through them does not set the modified flag.
    void* GetWritePtr();
    void* GetWritePtr(unsigned int tuple);
    void* GetWritePtr(unsigned int tuple, unsigned int component);

    // The store, for element access by flat index; null without a store.
    VdArrayData* GetData() { return m_Data.get(); }
    const VdArrayData* GetData() const { return m_Data.get(); }

    bool Modified() const { return m_Modified.load(std::memory_order_acquire); }
    void SetModified() { m_Modified.store(true, std::memory_order_release); }

    bool HasBlanks() const;
    bool IsBlank(unsigned int tuple, unsigned int component) const;
    // Blank one element, or every component of a tuple; both set modified.
    void SetBlank(unsigned int tuple, unsigned int component);
    void SetBlank(unsigned int tuple);
    // Writes one tuple of doubles, converted to the element type, and clears
    // the blanks of its elements; sets modified.
    void SetTuple(unsigned int tuple, const double* values);

    // (min, max) of a component over its non-blank elements. With none, the
    // pair is (1.7976931348623157e308, -1.7976931348623157e308). A component
    // at or past ComponentCount() raises "Array component index out of range.".
    std::pair<double, double> GetMinMax(unsigned int component) const;
    double GetMin(unsigned int component) const { return GetMinMax(component).first; }
    double GetMax(unsigned int component) const { return GetMinMax(component).second; }
    // Bin counts of a component: 256 bins for float and double; for integer
    // types one bin per integer between min and max, at most 256; none for an
    // integer array without a non-blank element.
    const std::vector<uint32_t>& GetHistogram(unsigned int component) const;

    // Appends all tuples of another array of the same type and component
    // count, with its blanks. The store is reallocated on every call.
    void Append(const VdArray& other);
    // Appends tupleCount tuples from a block in this array's element layout.
    void Append(uint64_t tupleCount, const void* data);

    // Type, counts, modified flag, blanks and elements; no statistics.
    void Serialize(shr::Archive& archive);

    // Guards the statistics of all arrays.
    static std::recursive_mutex& StatsLock();

private:
    void InvalidateStats() const;
    void CalcMinMax(unsigned int component) const;
    void CalcHistogram(unsigned int component) const;
    // The stats of a component, after dropping them all if the data was modified.
    ComponentStats& CurrentStats(unsigned int component) const;
    uint32_t FlatIndex(unsigned int tuple, unsigned int component) const { return tuple * m_ComponentCount + component; }
    // A new array with room for extraTuples more tuples, holding this one's
    // elements and blanks at its front.
    VdArray Extended(uint64_t extraTuples) const;
    // Reads the blank count and mask into this freshly sized array, checking them.
    void LoadBlanks(shr::Archive& archive);
    std::pair<double, double> BlankAwareMinMax(unsigned int component) const;
    void BlankAwareHistogram(unsigned int component, std::vector<uint32_t>& bins) const;

    shr::PrimType m_Type = shr::UInt8;
    uint32_t m_ComponentCount = 0;
    uint32_t m_TupleCount = 0;
    mutable std::vector<ComponentStats> m_Stats;
    std::unique_ptr<VdArrayData> m_Data;
    mutable std::atomic<bool> m_Modified{true};
};

// ---- inline ----------------------------------------------------------------

inline bool VdArray::IsBlank(unsigned int tuple, unsigned int component) const
{
    return m_Data && m_Data->IsBlank(FlatIndex(tuple, component));
}

inline void VdArray::SetTuple(unsigned int tuple, const double* values)
{
    const uint32_t first = FlatIndex(tuple, 0);
    for (uint32_t component = 0; component < m_ComponentCount; ++component) {
        m_Data->SetValue(first + component, values[component]);
        m_Data->Unblank(first + component);
    }
    SetModified();
}

} // namespace core
