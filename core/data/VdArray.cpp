#include "core/data/VdArray.h"

#include "core/data/PrimConvert.h"
#include "core/network/CoreError.h"
#include "shr/Archive.h"
#include "shr/Exception.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <new>

namespace core {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

// The (min, max) of a component without a single value.
constexpr double kEmptyMin = DBL_MAX;
constexpr double kEmptyMax = -DBL_MAX;
constexpr size_t kFloatBinCount = 256;
constexpr size_t kMaxIntegerBinCount = 256;

[[noreturn]] void ThrowArrayError(int line, const char* text)
{
    shr::ThrowSharedError("Core", "VdArray", line, 0, text);
}

[[noreturn]] void ThrowOutOfMemory(int line)
{
    g_CoreErrorFile = "VdArray";
    g_CoreErrorLine = line;
    ThrowCoreError(46);
    throw std::bad_alloc(); // not reached: code 46 always throws
}

// Error 46 when a store of tupleCount * componentCount elements is over the limit,
// or when the tuple count itself does not fit the array's 32-bit count.
void CheckElementLimit(uint64_t tupleCount, uint64_t componentCount, int line)
{
    if (tupleCount > UINT32_MAX || tupleCount * componentCount > VdArray::MaxElements)
        ThrowOutOfMemory(line);
}

void CopyBytes(void* target, const void* source, uint64_t byteCount)
{
    if (byteCount > 0)
        std::memcpy(target, source, byteCount);
}

// The archive transfers at most 4 GiB at once; a store may be larger.
void TransferBytes(shr::Archive& archive, void* data, uint64_t byteCount)
{
    constexpr uint64_t kChunk = uint64_t(1) << 30;
    auto* bytes = static_cast<unsigned char*>(data);
    while (byteCount > 0) {
        const auto chunk = static_cast<unsigned int>(std::min(byteCount, kChunk));
        archive.Transfer(bytes, chunk);
        bytes += chunk;
        byteCount -= chunk;
    }
}

// The bin of a position counted in bins from the minimum, kept inside the
// histogram; NaN has no bin (-1). Out-of-range positions occur only with
// statistics that a raw write has made stale, and are clamped.
long BinOf(double position, size_t binCount)
{
    if (std::isnan(position))
        return -1;
    if (position <= 0.0)
        return 0;
    const double last = static_cast<double>(binCount - 1);
    return position >= last ? static_cast<long>(last) : static_cast<long>(position);
}

void CountInBin(std::vector<uint32_t>& bins, long bin)
{
    if (bin >= 0)
        ++bins[static_cast<size_t>(bin)];
}

size_t HistogramBinCount(shr::PrimType type, double min, double max)
{
    if (!shr::CPrimType::IsInteger(type))
        return kFloatBinCount;
    if (!(max >= min)) // no value at all
        return 0;
    const double count = std::ceil(max) - std::floor(min) + 1.0;
    return count >= kMaxIntegerBinCount ? kMaxIntegerBinCount : static_cast<size_t>(count);
}

// One component of a store without blanks, compared in the element's own type.
// A NaN that is the first element stays; later ones never pass the tests.
template <class T>
std::pair<double, double> TypedMinMax(const T* elements, uint32_t tupleCount, uint32_t stride)
{
    if (tupleCount == 0)
        return {kEmptyMin, kEmptyMax};
    T min = elements[0];
    T max = elements[0];
    const uint64_t end = uint64_t(tupleCount) * stride;
    for (uint64_t index = stride; index < end; index += stride) {
        const T value = elements[index];
        if (min > value)
            min = value;
        if (value > max)
            max = value;
    }
    return {static_cast<double>(min), static_cast<double>(max)};
}

// One component of a store without blanks. Byte types have one bin per value
// (the bin count always covers their range); the others scale by bins over
// the range and send the ends to the first and last bin.
template <class T>
void TypedHistogram(const T* elements, uint32_t tupleCount, uint32_t stride, double min, double max,
                    std::vector<uint32_t>& bins)
{
    const uint64_t end = uint64_t(tupleCount) * stride;
    if constexpr (std::is_integral<T>::value && sizeof(T) == 1) {
        const int low = PrimConvert<int>(min);
        for (uint64_t index = 0; index < end; index += stride)
            CountInBin(bins, BinOf(static_cast<int>(elements[index]) - low, bins.size()));
    } else {
        if (min >= max) {
            bins[0] += tupleCount;
            return;
        }
        const double scale = static_cast<double>(bins.size()) / (max - min);
        const long last = static_cast<long>(bins.size() - 1);
        for (uint64_t index = 0; index < end; index += stride) {
            const double value = static_cast<double>(elements[index]);
            if (min >= value)
                ++bins[0];
            else if (value >= max)
                ++bins[last];
            else
                CountInBin(bins, BinOf(std::trunc((value - min) * scale), bins.size()));
        }
    }
}

} // namespace

// ---- construction ----------------------------------------------------------

VdArray::VdArray() = default;

VdArray::VdArray(shr::PrimType type, unsigned int tupleCount, unsigned int componentCount)
{
    CheckElementLimit(tupleCount, componentCount, __LINE__);
    m_Data = VdArrayData::Create(type, tupleCount * componentCount);
    m_Type = type;
    m_TupleCount = tupleCount;
    m_ComponentCount = componentCount;
    m_Stats.resize(componentCount);
}

VdArray::VdArray(const VdArray& other)
    : m_Type(other.m_Type),
      m_ComponentCount(other.m_ComponentCount),
      m_TupleCount(other.m_TupleCount),
      m_Modified(other.Modified())
{
    {
        Lock lock(StatsLock());
        m_Stats = other.m_Stats;
    }
    if (other.m_Data)
        m_Data = other.m_Data->Clone();
}

VdArray::VdArray(VdArray&& other) noexcept
{
    Swap(other);
}

VdArray& VdArray::operator=(const VdArray& other)
{
    if (this != &other) {
        VdArray copy(other);
        Swap(copy);
    }
    return *this;
}

VdArray& VdArray::operator=(VdArray&& other) noexcept
{
    if (this != &other) {
        VdArray taken(std::move(other));
        Swap(taken);
    }
    return *this;
}

VdArray::~VdArray() = default;

void VdArray::Swap(VdArray& other) noexcept
{
    if (this == &other)
        return;
    std::swap(m_Type, other.m_Type);
    std::swap(m_ComponentCount, other.m_ComponentCount);
    std::swap(m_TupleCount, other.m_TupleCount);
    m_Stats.swap(other.m_Stats);
    m_Data.swap(other.m_Data);
    const bool modified = Modified();
    m_Modified.store(other.Modified(), std::memory_order_release);
    other.m_Modified.store(modified, std::memory_order_release);
}

void VdArray::Clear()
{
    Resize(m_Type, 0, 0);
}

void VdArray::Resize(shr::PrimType type, unsigned int tupleCount, unsigned int componentCount)
{
    Lock lock(StatsLock());
    // The element count is taken in 64 bits: a 32-bit product could wrap to a
    // small store under a large tuple count, and every loop would overrun it.
    CheckElementLimit(tupleCount, componentCount, __LINE__);
    std::unique_ptr<VdArrayData> data = VdArrayData::Create(type, tupleCount * componentCount);
    std::vector<ComponentStats> stats(componentCount);
    m_Data.swap(data);
    m_Stats.swap(stats);
    m_Type = type;
    m_TupleCount = tupleCount;
    m_ComponentCount = componentCount;
    SetModified();
}

// ---- sizes and addresses ---------------------------------------------------

unsigned int VdArray::ComponentSize() const
{
    return m_Data ? m_Data->ComponentSize() : 0;
}

uint64_t VdArray::TupleSize() const
{
    return uint64_t(ComponentSize()) * m_ComponentCount;
}

uint64_t VdArray::TotalSize() const
{
    return m_Data ? m_Data->ByteSize() : 0;
}

const void* VdArray::GetReadPtr() const
{
    return m_Data ? m_Data->GetPtr() : nullptr;
}

const void* VdArray::GetReadPtr(unsigned int tuple) const
{
    return GetReadPtr(tuple, 0);
}

const void* VdArray::GetReadPtr(unsigned int tuple, unsigned int component) const
{
    return m_Data ? m_Data->GetPtr(FlatIndex(tuple, component)) : nullptr;
}

void* VdArray::GetWritePtr()
{
    return const_cast<void*>(GetReadPtr());
}

void* VdArray::GetWritePtr(unsigned int tuple)
{
    return const_cast<void*>(GetReadPtr(tuple));
}

void* VdArray::GetWritePtr(unsigned int tuple, unsigned int component)
{
    return const_cast<void*>(GetReadPtr(tuple, component));
}

// ---- blanks ----------------------------------------------------------------

bool VdArray::HasBlanks() const
{
    return m_Data && m_Data->HasBlanks();
}

void VdArray::SetBlank(unsigned int tuple, unsigned int component)
{
    if (!m_Data)
        ThrowArrayError(__LINE__, "Array index out of range.");
    m_Data->SetBlank(FlatIndex(tuple, component));
    SetModified();
}

void VdArray::SetBlank(unsigned int tuple)
{
    Lock lock(VdArrayData::BlankLock());
    for (uint32_t component = 0; component < m_ComponentCount; ++component)
        m_Data->SetBlankLocked(FlatIndex(tuple, component));
    SetModified();
}

// ---- statistics ------------------------------------------------------------

std::recursive_mutex& VdArray::StatsLock()
{
    static std::recursive_mutex lock;
    return lock;
}

void VdArray::InvalidateStats() const
{
    for (ComponentStats& stats : m_Stats) {
        stats.minMaxValid = false;
        stats.histogramValid = false;
    }
    m_Modified.store(false, std::memory_order_release);
}

ComponentStats& VdArray::CurrentStats(unsigned int component) const
{
    if (component >= m_ComponentCount)
        ThrowArrayError(__LINE__, "Array component index out of range.");
    if (Modified())
        InvalidateStats();
    return m_Stats[component];
}

std::pair<double, double> VdArray::GetMinMax(unsigned int component) const
{
    Lock lock(StatsLock());
    const ComponentStats& stats = CurrentStats(component);
    if (!stats.minMaxValid)
        CalcMinMax(component);
    return {stats.min, stats.max};
}

const std::vector<uint32_t>& VdArray::GetHistogram(unsigned int component) const
{
    Lock lock(StatsLock());
    const ComponentStats& stats = CurrentStats(component);
    if (!stats.histogramValid)
        CalcHistogram(component);
    return stats.histogram;
}

void VdArray::CalcMinMax(unsigned int component) const
{
    ComponentStats& stats = m_Stats[component];
    std::pair<double, double> range;
    if (m_Data->HasBlanks())
        range = BlankAwareMinMax(component);
    else
        range = DispatchPrimType(m_Type, [&](auto tag) {
            using T = typename decltype(tag)::Type;
            const T* elements = static_cast<const T*>(GetReadPtr(0, component));
            return TypedMinMax(elements, m_TupleCount, m_ComponentCount);
        });
    stats.min = range.first;
    stats.max = range.second;
    stats.minMaxValid = true;
}

std::pair<double, double> VdArray::BlankAwareMinMax(unsigned int component) const
{
    double min = kEmptyMin;
    double max = kEmptyMax;
    for (uint32_t tuple = 0; tuple < m_TupleCount; ++tuple) {
        const uint32_t index = FlatIndex(tuple, component);
        if (m_Data->IsBlank(index))
            continue;
        double value = 0.0;
        m_Data->GetValue(index, value);
        if (min > value)
            min = value;
        if (value > max)
            max = value;
    }
    return {min, max};
}

void VdArray::CalcHistogram(unsigned int component) const
{
    const std::pair<double, double> range = GetMinMax(component);
    ComponentStats& stats = m_Stats[component];
    std::vector<uint32_t>& bins = stats.histogram;
    bins.assign(HistogramBinCount(m_Type, range.first, range.second), 0);
    if (!bins.empty()) {
        if (m_Data->HasBlanks())
            BlankAwareHistogram(component, bins);
        else
            DispatchPrimType(m_Type, [&](auto tag) {
                using T = typename decltype(tag)::Type;
                const T* elements = static_cast<const T*>(GetReadPtr(0, component));
                TypedHistogram(elements, m_TupleCount, m_ComponentCount, range.first, range.second, bins);
            });
    }
    stats.histogramValid = true;
}

void VdArray::BlankAwareHistogram(unsigned int component, std::vector<uint32_t>& bins) const
{
    const ComponentStats& stats = m_Stats[component];
    const double width = (stats.max - stats.min) / static_cast<double>(bins.size());
    for (uint32_t tuple = 0; tuple < m_TupleCount; ++tuple) {
        const uint32_t index = FlatIndex(tuple, component);
        if (m_Data->IsBlank(index))
            continue;
        double value = 0.0;
        m_Data->GetValue(index, value);
        const double position = width != 0.0 ? std::floor((value - stats.min) / width) : 0.0;
        CountInBin(bins, BinOf(position, bins.size()));
    }
}

// ---- appending ---------------------------------------------------------------

VdArray VdArray::Extended(uint64_t extraTuples) const
{
    const uint64_t tupleCount = m_TupleCount + extraTuples;
    CheckElementLimit(tupleCount, m_ComponentCount, __LINE__);
    VdArray joined(m_Type, static_cast<unsigned int>(tupleCount), m_ComponentCount);
    CopyBytes(joined.GetWritePtr(), GetReadPtr(), TotalSize());
    if (m_Data)
        joined.m_Data->CopyBlanksFrom(*m_Data, 0);
    return joined;
}

void VdArray::Append(const VdArray& other)
{
    if (other.m_Type != m_Type)
        ThrowArrayError(__LINE__, "Cannot append arrays with different component types.");
    if (other.m_ComponentCount != m_ComponentCount)
        ThrowArrayError(__LINE__, "Cannot append arrays with different component sizes.");
    VdArray joined = Extended(other.m_TupleCount);
    CopyBytes(joined.GetWritePtr(m_TupleCount), other.GetReadPtr(), other.TotalSize());
    if (other.m_Data)
        joined.m_Data->CopyBlanksFrom(*other.m_Data, FlatIndex(m_TupleCount, 0));
    Swap(joined);
    SetModified();
}

void VdArray::Append(uint64_t tupleCount, const void* data)
{
    if (tupleCount == 0)
        return;
    if (!data)
        ThrowArrayError(__LINE__, "Cannot append invalid data.");
    VdArray joined = Extended(tupleCount);
    CopyBytes(joined.GetWritePtr(m_TupleCount), data, tupleCount * joined.TupleSize());
    Swap(joined);
    SetModified();
}

// ---- persistence -------------------------------------------------------------

void VdArray::Serialize(shr::Archive& archive)
{
    archive.SyncCheck();
    int32_t type = m_Type;
    uint32_t componentCount = m_ComponentCount;
    uint32_t tupleCount = m_TupleCount;
    bool modified = Modified();
    archive.Transfer(type);
    archive.Transfer(componentCount);
    archive.Transfer(tupleCount);
    archive.Transfer(modified);

    if (archive.IsStoring()) {
        uint32_t blankCount = m_Data ? m_Data->BlankCount() : 0;
        archive.Transfer(blankCount);
        if (blankCount != 0)
            archive.Transfer(const_cast<unsigned char*>(m_Data->Mask()), VdArrayData::MaskBytes(m_Data->Size()));
        TransferBytes(archive, GetWritePtr(), TotalSize());
        return;
    }

    // Loading builds a new array and swaps it in only when all is read, so a
    // bad archive leaves this one as it was.
    if (!shr::CPrimType::IsValid(type))
        archive.ThrowFormatError("an array has the unknown element type %d", type);
    CheckElementLimit(tupleCount, componentCount, __LINE__);
    archive.CheckCount(uint64_t(tupleCount) * componentCount, shr::CPrimType::Size(shr::PrimType(type)));
    // Each component takes memory (its statistics) even without tuples, when
    // the stream holds nothing of it: the count is held to the bytes left as
    // if each component took one.
    archive.CheckCount(componentCount, 1);
    VdArray loaded(shr::PrimType(type), tupleCount, componentCount);
    loaded.m_Modified.store(modified, std::memory_order_release);
    loaded.LoadBlanks(archive);
    TransferBytes(archive, loaded.GetWritePtr(), loaded.TotalSize());
    Swap(loaded);
}

void VdArray::LoadBlanks(shr::Archive& archive)
{
    uint32_t blankCount = 0;
    archive.Transfer(blankCount);
    if (blankCount == 0)
        return;
    const unsigned int size = m_Data->Size();
    if (blankCount > size)
        archive.ThrowFormatError("an array of %u elements claims %u blanks", size, blankCount);
    const unsigned int byteCount = VdArrayData::MaskBytes(size);
    std::unique_ptr<unsigned char[]> mask(new unsigned char[byteCount]);
    archive.Transfer(mask.get(), byteCount);
    // Bits past the last element must be clear, and the set bits must match the count.
    const unsigned int spareBits = byteCount * 8 - size;
    const unsigned char spareMask = static_cast<unsigned char>(0xFFu << (8 - spareBits));
    uint64_t setBits = 0;
    for (unsigned int byte = 0; byte < byteCount; ++byte)
        setBits += static_cast<unsigned int>(__builtin_popcount(mask[byte]));
    if (spareBits != 0 && (mask[byteCount - 1] & spareMask))
        archive.ThrowFormatError("an array's blank mask marks elements past its end");
    if (setBits != blankCount)
        archive.ThrowFormatError("an array's blank mask holds %llu blanks where %u are declared",
                                 static_cast<unsigned long long>(setBits), blankCount);
    m_Data->AdoptMask(std::move(mask), blankCount);
}

} // namespace core
