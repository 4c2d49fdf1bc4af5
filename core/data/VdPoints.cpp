#include "core/data/VdPoints.h"

#include "shr/Archive.h"
#include "shr/Vec3.h"

#include <cstring>

namespace core {

SHR_IMPLEMENT_CREATABLE_TYPE(VdPoints, VdVertexData)

namespace {

constexpr unsigned int kCoordComponents = 3;

void CopyBlock(VdArray& array, const void* block)
{
    if (block && array.TotalSize() > 0)
        std::memcpy(array.GetWritePtr(), block, array.TotalSize());
}

} // namespace

VdPoints::VdPoints() : m_Coords(shr::Double, 0, kCoordComponents), m_Labels(std::make_shared<LabelStorage>()) {}

VdPoints::VdPoints(shr::PrimType coordType, shr::PrimType dataType, unsigned int pointCount, const void* coords,
                   const void* data, unsigned int componentCount)
    : VdVertexData(dataType, pointCount, componentCount),
      m_Coords(coordType, pointCount, kCoordComponents),
      m_UvwDirty(true),
      m_XyzDirty(true),
      m_Labels(std::make_shared<LabelStorage>())
{
    CopyBlock(DataArray(), data);
    CopyBlock(m_Coords, coords);
}

VdPoints::VdPoints(const VdPoints& other)
    : VdVertexData(other), m_Coords(other.m_Coords), m_Labels(std::make_shared<LabelStorage>(*other.m_Labels))
{
    std::lock_guard<std::mutex> lock(other.m_BoundsLock);
    m_UvwDirty = other.m_UvwDirty;
    m_UvwBounds = other.m_UvwBounds;
    m_XyzDirty = other.m_XyzDirty;
    m_XyzBounds = other.m_XyzBounds;
}

void VdPoints::Resize(shr::PrimType coordType, shr::PrimType dataType, unsigned int pointCount, const void* coords,
                      const void* data, unsigned int componentCount)
{
    DataArray().Resize(dataType, pointCount, componentCount);
    CopyBlock(DataArray(), data);
    m_Coords.Resize(coordType, pointCount, kCoordComponents);
    CopyBlock(m_Coords, coords);
    SetModifiedCoords();
}

void VdPoints::Append(uint64_t count, const void* coords, const void* data)
{
    if (count == 0 || !coords || !data)
        return;
    VdArray newCoords(m_Coords);
    newCoords.Append(count, coords);
    VdArray newData(DataArray());
    newData.Append(count, data);
    SetModifiedCoords();
    m_Coords.Swap(newCoords);
    DataArray().Swap(newData);
}

void VdPoints::SetModified()
{
    DataModified();
    SetModifiedCoords();
}

void VdPoints::SetModifiedCoords()
{
    std::lock_guard<std::mutex> lock(m_BoundsLock);
    m_UvwDirty = true;
    m_XyzDirty = true;
    m_Coords.SetModified();
}

// ---- bounds ------------------------------------------------------------------

shr::Box3d VdPoints::GetUVWBounds() const
{
    std::lock_guard<std::mutex> lock(m_BoundsLock);
    if (m_UvwDirty) {
        m_UvwBounds = m_Coords.IsEmpty() ? shr::Box3d() : CoordMinMaxBounds();
        m_UvwDirty = false;
    }
    return m_UvwBounds;
}

shr::Box3d VdPoints::GetXYZBounds() const
{
    std::lock_guard<std::mutex> lock(m_BoundsLock);
    if (m_XyzDirty) {
        if (m_Coords.IsEmpty())
            m_XyzBounds = shr::Box3d();
        else
            m_XyzBounds = HasUserTransform() ? TransformedPointBounds() : CoordMinMaxBounds();
        m_XyzDirty = false;
    }
    return m_XyzBounds;
}

shr::Box3d VdPoints::CoordMinMaxBounds() const
{
    shr::Box3d box;
    for (unsigned int axis = 0; axis < kCoordComponents; ++axis) {
        const std::pair<double, double> range = m_Coords.GetMinMax(axis);
        box.min[axis] = range.first;
        box.max[axis] = range.second;
    }
    return box;
}

shr::Box3d VdPoints::TransformedPointBounds() const
{
    const VdArrayData& store = *m_Coords.GetData();
    const uint32_t count = static_cast<uint32_t>(m_Coords.TupleCount());
    shr::Box3d box;
    for (uint32_t point = 0; point < count; ++point) {
        shr::Vec3d uvw;
        for (unsigned int axis = 0; axis < kCoordComponents; ++axis)
            store.GetValue(point * kCoordComponents + axis, uvw[axis]);
        const shr::Vec3d xyz = UVWToXYZ(uvw);
        for (unsigned int axis = 0; axis < kCoordComponents; ++axis) {
            if (point == 0) {
                box.min[axis] = box.max[axis] = xyz[axis];
            } else if (xyz[axis] < box.min[axis]) {
                box.min[axis] = xyz[axis];
            } else if (xyz[axis] > box.max[axis]) {
                box.max[axis] = xyz[axis];
            }
        }
    }
    return box;
}

// ---- persistence -------------------------------------------------------------

void VdPoints::Serialize(shr::Archive& archive)
{
    if (archive.IsStoring()) {
        TransferFields(archive);
        return;
    }
    // Read into a fresh point set, so that a bad archive changes nothing here.
    VdPoints loaded;
    loaded.TransferFields(archive);
    TakeLoaded(loaded);
}

void VdPoints::TransferFields(shr::Archive& archive)
{
    VdSpatialData::Serialize(archive);
    archive.SyncCheck();
    if (archive.GetVersion() < LabelsVersion) {
        // Two words that older documents carry and nothing uses.
        uint32_t unused[2] = {0, 0};
        archive.Transfer(unused[0]);
        archive.Transfer(unused[1]);
    }
    std::lock_guard<std::mutex> lock(m_BoundsLock);
    archive.Transfer(m_UvwDirty);
    archive.Transfer(m_UvwBounds);
    archive.Transfer(m_XyzDirty);
    archive.Transfer(m_XyzBounds);
    DataArray().Serialize(archive);
    m_Coords.Serialize(archive);
    if (archive.GetVersion() >= LabelsVersion)
        m_Labels->Serialize(archive);
    if (archive.IsLoading() && (m_Coords.ComponentCount() != 3 || m_Coords.TupleCount() != DataArray().TupleCount()))
        archive.ThrowFormatError("points with %llu coordinate tuples of %llu components and %llu value tuples",
                                 static_cast<unsigned long long>(m_Coords.TupleCount()),
                                 static_cast<unsigned long long>(m_Coords.ComponentCount()),
                                 static_cast<unsigned long long>(DataArray().TupleCount()));
}

void VdPoints::TakeLoaded(VdPoints& loaded)
{
    VdSpatialData::operator=(loaded);
    DataArray().Swap(loaded.DataArray());
    m_Coords.Swap(loaded.m_Coords);
    {
        std::lock_guard<std::mutex> lock(m_BoundsLock);
        m_UvwDirty = loaded.m_UvwDirty;
        m_UvwBounds = loaded.m_UvwBounds;
        m_XyzDirty = loaded.m_XyzDirty;
        m_XyzBounds = loaded.m_XyzBounds;
    }
    // An archive from before labels leaves none.
    *m_Labels = std::move(*loaded.m_Labels);
}

} // namespace core
