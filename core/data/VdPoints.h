#pragma once
// VdPoints: a scattered point set. Coordinates (U, V, W per point) stay in the
// primitive type the source gave them; the base's array holds one data tuple
// per point; labels are sparse texts by point index.
//
// Bounds are cached behind dirty flags that SetModifiedCoords raises. With a
// user transform the XYZ bounds come from every transformed point, as the box
// of the transformed UVW corners would be too loose for a rotation.
//
// Labels sit in a LabelStorage held by shared pointer and never shared
// between point sets: a copy gets a deep copy of its own.
#include "core/data/VdArray.h"
#include "core/data/VdVertexData.h"
#include "core/properties/LabelStorage.h"
#include "shr/Box3d.h"
#include "shr/GString.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

namespace core {

class VdPoints : public VdVertexData {
    SHR_DECLARE_CREATABLE_TYPE(VdPoints)
public:
    // The first document version that carries labels (and drops two unused words).
    static constexpr int LabelsVersion = 119;

    VD_DEFINE_VISITABLE(VdPoints, VdVertexData)

    // No points, double coordinates; clean dirty flags and inverted boxes.
    VdPoints();
    // Copies each block that is not null; both dirty flags are raised.
    VdPoints(shr::PrimType coordType, shr::PrimType dataType, unsigned int pointCount, const void* coords,
             const void* data, unsigned int componentCount);
    VdPoints(const VdPoints& other);
    VdPoints& operator=(const VdPoints&) = delete;

    unsigned int GetType() const override { return 1; }
    const char* GetTypeName() const override { return "Point set"; }

    // Spatial part; a marker; before LabelsVersion two zero words; the dirty
    // flags and boxes; the data array; the coordinates; from LabelsVersion on,
    // the labels. A failed load leaves the point set as it was.
    void Serialize(shr::Archive& archive) override;

    // New data array, then new coordinates, each filled from its block if not
    // null. Labels stay.
    void Resize(shr::PrimType coordType, shr::PrimType dataType, unsigned int pointCount, const void* coords,
                const void* data, unsigned int componentCount);
    // Appends `count` points from blocks in the arrays' own layouts. Nothing
    // happens for no points or a null block; on failure nothing changes.
    // Each call copies both arrays, so callers gather points and call once.
    void Append(uint64_t count, const void* coords, const void* data);

    shr::PrimType GetCoordType() const { return m_Coords.ComponentType(); }
    const void* GetCoordPtr() const { return m_Coords.GetReadPtr(); }
    unsigned int GetCoordComponentSize() const { return m_Coords.ComponentSize(); }
    uint64_t GetCoordTupleSize() const { return m_Coords.TupleSize(); }
    uint64_t GetCoordTotalSize() const { return m_Coords.TotalSize(); }

    // Values and coordinates both changed.
    void SetModified();
    void SetModifiedCoords() override;
    shr::Box3d GetUVWBounds() const override;
    shr::Box3d GetXYZBounds() const override;

    // Raises "Cannot add empty label."; a second label for an index is ignored.
    void AddLabel(const LabelStorage::Label& label) { m_Labels->AddLabel(label); }
    LabelStorage::const_iterator FindLabel(unsigned int index) const { return m_Labels->FindLabel(index); }
    LabelStorage::const_iterator labels_begin() const { return m_Labels->begin(); }
    LabelStorage::const_iterator labels_end() const { return m_Labels->end(); }
    void labels_clear() { m_Labels->clear(); }
    bool labels_empty() const { return m_Labels->empty(); }
    size_t labels_size() const { return m_Labels->size(); }
    const std::shared_ptr<LabelStorage>& Labels() const { return m_Labels; }

private:
    void* CoordWritePtr() { return m_Coords.GetWritePtr(); }
    void TransferFields(shr::Archive& archive);
    // Takes over everything that an archive carries from `loaded`.
    void TakeLoaded(VdPoints& loaded);
    // Bounds of the coordinates by the array's cached statistics.
    shr::Box3d CoordMinMaxBounds() const;
    // Bounds of every point taken through the user transform.
    shr::Box3d TransformedPointBounds() const;

    VdArray m_Coords;
    // The bounds caches are filled on first read, possibly by several readers.
    mutable std::mutex m_BoundsLock;
    mutable bool m_UvwDirty = false;
    mutable shr::Box3d m_UvwBounds;
    mutable bool m_XyzDirty = false;
    mutable shr::Box3d m_XyzBounds;
    std::shared_ptr<LabelStorage> m_Labels;
};

} // namespace core
