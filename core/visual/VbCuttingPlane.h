#pragma once
// VbCuttingPlane: the free plane through a lattice that the oblique slice
// paints and contours trace on. It holds the plane (an orientation shortcut,
// a normal and an offset from the centre of the data box), the property rows
// that edit it, and the dragger with which the user turns and moves it in the
// view. It is a plain member of its module; the module hands it a block of
// seven row ids and a key prefix.
//
// The plane is dot(n, p) = dot(n, centre) + offset with n the normalised
// normal, in the lattice's own coordinates (before its user transform).
//
// Threads: properties and dragger events arrive on the host's thread, which
// stops any running pass first (VoNetwork::AbortIfBusy); Execute runs on the
// update thread.
#include "core/graphics/VgDragger.h"
#include "shr/Box3d.h"
#include "shr/GString.h"
#include "shr/Vec3.h"

#include <boost/noncopyable.hpp>

#include <array>
#include <memory>
#include <vector>

namespace shr {
class Archive;
}

namespace core {

class VbPropertyEvent;
class VbPropList;
class VdLattice;
class VgPlaneDragger;
class VgRenderer;
class VoModule;

class VbCuttingPlane : private boost::noncopyable {
public:
    enum PlaneOrientation : unsigned int { OrientXY = 0, OrientXZ = 1, OrientYZ = 2, OrientCustom = 3 };
    // Rows relative to the base id.
    enum Row : int {
        RowOrientation = 0,
        RowNormalHeader = 1,
        RowNormalX = 2,
        RowNormalY = 3,
        RowNormalZ = 4,
        RowOffset = 5,
        RowShowDragger = 6,
        RowCount = 7
    };

    // Registers the public keys of a plane whose rows start at `base` in a
    // module whose keys start with `prefix`: prefix + "PlaneOrientation" and
    // so on. For a module's static initialisers:
    //   static const core::VbCuttingPlane::KeyRegistrar s_Plane("Contour", IdPlane);
    static void RegisterKeys(const char* prefix, int base);
    struct KeyRegistrar {
        KeyRegistrar(const char* prefix, int base) { RegisterKeys(prefix, base); }
    };

    VbCuttingPlane();
    ~VbCuttingPlane();

    // The module whose rows and modified state the plane serves.
    void Initialize(VoModule* module, int baseId);

    unsigned int Orientation() const { return m_Orientation; }
    // A value from 4 on raises "Invalid cutting plane orientation.", after it
    // has been stored all the same. The normal is not touched.
    void Orientation(unsigned int orientation);
    bool CustomOrientation() const { return m_Orientation == OrientCustom; }
    const shr::Vec3d& Normal() const { return m_Normal; }
    void Normal(const shr::Vec3d& normal);
    double Offset() const { return m_Offset; }
    void Offset(double offset);
    double OffsetLimit() const { return m_OffsetLimit; }
    const shr::Box3d& BoundingBox() const { return m_BoundingBox; }
    void BoundingBox(const shr::Box3d& box);
    int BasePropertyId() const { return m_BaseId; }
    void BasePropertyId(int baseId) { m_BaseId = baseId; }
    bool ShowDragger() const { return m_ShowDragger; }
    void ShowDragger(bool show) { m_ShowDragger = show; }
    // Whether a drag has changed the plane since the last release.
    bool NormalChanged() const { return m_NormalChanged; }
    bool OffsetChanged() const { return m_OffsetChanged; }
    const VgPlaneDragger* Dragger() const { return m_Dragger.get(); }

    // The offset at which the plane leaves the box, along the unit normal.
    void CalcOffsetLimits();
    // Fits the plane to a new input: a lattice one node thick on one axis
    // gets the plane of its other two; the box is taken, and an offset that
    // no longer reaches the box returns to 0.
    void UpdateDefaults(const unsigned int dims[3], const shr::Box3d& box);
    // The box face of the orientation: XY corners 0 1 2 3, XZ 0 4 5 1, YZ
    // 0 3 7 4 of Box3d::GetCorners. A custom plane has no face: internal error.
    std::array<shr::Vec3d, 4> PlaneCorners(const shr::Box3d& box) const;
    // Where the plane cuts `box`: counter-clockwise seen from the normal,
    // empty when it misses.
    std::vector<shr::Vec3d> Polygon(const shr::Box3d& box) const;
    // The plane's section of a lattice's box, in the lattice's coordinates: a
    // flat lattice shows whole (the face of the orientation), wherever the
    // offset puts the plane, unless the plane is a custom one.
    std::vector<shr::Vec3d> SectionPolygon(const VdLattice& lattice) const;
    // Reports a zero normal; adds the dragger, unpickable surroundings aside,
    // while it is to be shown.
    void Execute(VgRenderer& renderer);
    // Execute with the dragger in the lattice's frame: moved by the scene
    // offset and the lattice's user transform, like the rest of the scene.
    void Execute(VgRenderer& renderer, const VdLattice& lattice);

    // The seven rows from `baseId`, keys `prefix` + "PlaneOrientation", ...
    void GetProperties(VbPropList& list, const shr::GString& prefix, int baseId, bool disabled);
    // Takes a changed row of the group; false for an id outside it.
    bool PropertyEvent(VbPropList& list, const VbPropertyEvent& event, int baseId);
    // Sync mark, orientation, normal, offset, limit, show dragger, box and
    // the two drag flags. A load that fails leaves the plane as it was.
    void Serialize(shr::Archive& archive);

    // Dragger events, from the host's thread (through DraggerCallback).
    // A motion: takes the dragger's normal and offset if they differ.
    void DraggerMoved(const shr::Vec3d& normal, double offset);
    // A release: after a motion the limits follow and the module runs again.
    void DraggerReleased();

    // 0, 1 or 2 for the unit Z, Y, X normals, 3 for anything else or a normal
    // not longer than the float epsilon.
    static unsigned int NormalToOrientation(const shr::Vec3d& normal);

private:
    void UpdateOffsetRow(VbPropList& list) const;
    void ShowNormal(VbPropList& list) const;
    void TakeOrientation(VbPropList& list, unsigned int orientation);
    void TakeNormalComponent(VbPropList& list, int axis);
    void ChangeNormal(const shr::Vec3d& normal);
    // Bring an existing dragger up to the stored plane.
    void SyncDraggerNormal();
    void SyncDraggerOffset();
    void SyncDraggerBox();
    void AddDragger(VgRenderer& renderer);
    static void DraggerCallback(VgDragger::Event event, const VgDragger* sender, void* data);

    int m_BaseId = 0;
    unsigned int m_Orientation = OrientXY;
    shr::Vec3d m_Normal{0.0, 0.0, 1.0};
    double m_Offset = 0.0;
    double m_OffsetLimit = 1.0;
    bool m_ShowDragger = false;
    std::unique_ptr<VgPlaneDragger> m_Dragger;
    shr::Box3d m_BoundingBox;
    bool m_NormalChanged = false;
    bool m_OffsetChanged = false;
    VoModule* m_Module = nullptr;
};

} // namespace core
