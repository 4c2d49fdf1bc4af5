#pragma once
// VdVertexData: a spatial datum with one data tuple per vertex, kept in a
// VdArray, whose services it forwards under the prefix Data. Concrete classes
// write the array in their own Serialize.
//
// BlankVal is what operations returning doubles report for a blank, and what
// double-valued inputs are tested against. It is the largest finite double,
// so a blank that slips through a comparison sorts above every real value.
// Blanks themselves live in the array's mask.
#include "core/data/VdArray.h"
#include "core/data/VdSpatialData.h"
#include "shr/PrimType.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace core {

class VdVertexData : public VdSpatialData {
    SHR_DECLARE_TYPE(VdVertexData)
public:
    static constexpr double BlankVal = 1.7976931348623157e308;

    VD_DEFINE_VISITABLE(VdVertexData, VdSpatialData)

    unsigned int ComponentCount() const { return static_cast<unsigned int>(m_Data.ComponentCount()); }
    unsigned int VertexCount() const { return static_cast<unsigned int>(m_Data.TupleCount()); }
    shr::PrimType DataType() const { return m_Data.ComponentType(); }
    bool DataEmpty() const { return m_Data.TupleCount() == 0; }

    double DataMin(unsigned int component) const { return m_Data.GetMin(component); }
    double DataMax(unsigned int component) const { return m_Data.GetMax(component); }
    std::pair<double, double> DataMinMax(unsigned int component) const { return m_Data.GetMinMax(component); }
    const std::vector<uint32_t>& DataHistogram(unsigned int component) const { return m_Data.GetHistogram(component); }

    const void* DataPtr() const { return m_Data.GetReadPtr(); }
    const void* DataPtr(unsigned int vertex) const { return m_Data.GetReadPtr(vertex); }
    const void* DataPtr(unsigned int vertex, unsigned int component) const { return m_Data.GetReadPtr(vertex, component); }
    // Writing through it leaves the statistics stale until DataModified.
    void* DataWritePtr() { return m_Data.GetWritePtr(); }

    unsigned int DataComponentSize() const { return m_Data.ComponentSize(); }
    uint64_t DataTupleSize() const { return m_Data.TupleSize(); }
    uint64_t DataTotalSize() const { return m_Data.TotalSize(); }

    // The producer's statement that it has written values.
    void DataModified() { m_Data.SetModified(); }

    bool HasBlanks() const { return m_Data.HasBlanks(); }
    bool IsBlank(unsigned int vertex, unsigned int component) const { return m_Data.IsBlank(vertex, component); }
    void SetBlank(unsigned int vertex, unsigned int component) { m_Data.SetBlank(vertex, component); }

protected:
    VdVertexData() = default;
    VdVertexData(shr::PrimType type, unsigned int tupleCount, unsigned int componentCount);
    VdVertexData(const VdVertexData&) = default;
    VdVertexData& operator=(const VdVertexData&) = default;

    VdArray& DataArray() { return m_Data; }
    const VdArray& DataArray() const { return m_Data; }

private:
    VdArray m_Data;
};

} // namespace core
