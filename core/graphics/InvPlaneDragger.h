#pragma once
// InvPlaneDragger: the scene-graph kit behind the cutting-plane handle. A
// trackball ("rotator") turns the normal; a one-axis translator, which has no
// handle of its own and is grabbed through the plane's outline, moves the
// plane along the normal. The outline ("frame") is the cut of the plane
// through the box: hidden while idle, drawn as lines during a drag.
//
// The node reports to one notification function with these codes:
//   0 rotator start, 1 rotator finish, 2 rotator value,
//   3 translator start, 4 translator finish, 5 translator value.
// Value codes are sent only when the normal or the offset really changed.
// The setters write the sub-draggers with their value callbacks disabled, so
// a program's change never reads as a user's motion.
#include "core/graphics/InvSmartPtr.h"
#include "shr/Box3d.h"
#include "shr/Vec3.h"

#include <Inventor/draggers/SoDragger.h>
#include <Inventor/nodekits/SoSubKit.h>

#include <array>
#include <cstdint>
#include <vector>

class SoCoordinate3;
class SoDrawStyle;
class SoFaceSet;
class SoRotation;
class SoSwitch;
class SoTrackballDragger;
class SoTranslate1Dragger;
class SoTranslation;

namespace core {

class InvPlaneDragger : public SoDragger {
    typedef SoDragger inherited;

    SO_KIT_HEADER(InvPlaneDragger);
    SO_KIT_CATALOG_ENTRY_HEADER(rotator);
    SO_KIT_CATALOG_ENTRY_HEADER(translatorSep);
    SO_KIT_CATALOG_ENTRY_HEADER(translatorRot);
    SO_KIT_CATALOG_ENTRY_HEADER(translator);
    SO_KIT_CATALOG_ENTRY_HEADER(frameSwitch);
    SO_KIT_CATALOG_ENTRY_HEADER(frame);

public:
    enum NotifyCode {
        ROTATOR_START = 0,
        ROTATOR_FINISH = 1,
        ROTATOR_VALUE = 2,
        TRANSLATOR_START = 3,
        TRANSLATOR_FINISH = 4,
        TRANSLATOR_VALUE = 5
    };
    typedef void (*NotifyFunc)(InvPlaneDragger* node, int code, void* data);

    // Registers the class (and its parent classes) with the database; calls
    // after the first do nothing.
    static void initClass();

    InvPlaneDragger();

    void SetNotify(NotifyFunc func, void* data);

    // `scale` is the trackball's size as a fraction of half the box diagonal.
    // Ignored for an empty box, but kept.
    void SetScale(double scale);
    // Normalised on the way in.
    void SetNormal(const shr::Vec3d& normal);
    // Distance of the plane from the box centre along the normal.
    void SetOffset(double offset);
    // Stores the box and applies scale and offset again.
    void SetBox(const shr::Box3d& box);

    double Scale() const { return m_Scale; }
    const shr::Vec3d& Normal() const { return m_Normal; }
    double Offset() const { return m_Offset; }
    const shr::Box3d& Box() const { return m_Box; }
    // Half the largest extent of the trackball at unit scale.
    double RotatorRadius() const { return m_RotatorRadius; }
    // Centre of the box plus normal x offset.
    shr::Vec3d Position() const;

    SoTrackballDragger* Rotator() const { return m_Rotator; }
    SoTranslate1Dragger* Translator() const { return m_Translator; }
    SoRotation* TranslatorRotation() const { return m_TranslatorRot; }
    SoSwitch* FrameSwitch() const { return m_FrameSwitch; }
    SoDrawStyle* FrameStyle() const { return m_Style; }
    SoCoordinate3* FrameCoords() const { return m_Coords; }
    SoFaceSet* FrameFace() const { return m_Face; }

    // What the sub-draggers' start, finish and value callbacks do; `source`
    // is the rotator or the translator. Others are ignored.
    void DragStarted(SoDragger* source);
    void DragFinished(SoDragger* source);
    void DragValueChanged(SoDragger* source);

    // The edges crossed by a plane for a mask of the corners below it (bit i
    // for corner i of Box3d::GetCorners), in order round the polygon, ended
    // by -1. Edge e joins corners kEdgeStart[e] and kEdgeEnd[e]. Empty unless
    // the corners below and those above are each connected along edges.
    static const std::array<int8_t, 8>& CutEdges(unsigned mask);
    static const int kEdgeStart[12];
    static const int kEdgeEnd[12];

protected:
    ~InvPlaneDragger() override;
    // Finds the parts and hooks the sub-draggers' callbacks (on), or unhooks
    // them (off); reading a kit from a file replaces parts in between.
    SbBool setUpConnections(SbBool onoff, SbBool doitalways = FALSE) override;

private:
    static void StartCB(void* data, SoDragger* source);
    static void FinishCB(void* data, SoDragger* source);
    static void ValueChangedCB(void* data, SoDragger* source);

    void FindParts();
    void HookCallbacks(bool on);
    void SetupFrame();
    void Notify(int code);
    void SetFrameStyle(int style);
    void SetMotionPosition();
    void SetTranslatorRotation();
    void RebuildFrame();

    shr::Box3d m_Box;
    shr::Vec3d m_Normal = shr::Vec3d::UNIT_Z;
    double m_Offset = 0.0;
    double m_RotatorRadius = 1.0;
    double m_Scale = 1.0;
    SoSwitch* m_FrameSwitch = nullptr;
    SoDrawStyle* m_Style = nullptr;
    SoCoordinate3* m_Coords = nullptr;
    SoFaceSet* m_Face = nullptr;
    // Undoes the motion matrix for the frame, whose points are in box space.
    SoTranslation* m_FrameShift = nullptr;
    SoTrackballDragger* m_Rotator = nullptr;
    SoTranslate1Dragger* m_Translator = nullptr;
    SoRotation* m_TranslatorRot = nullptr;
    // The sub-draggers whose callbacks we hold, kept alive until unhooked.
    InvSmartPtr<SoDragger> m_Hooked[2];
    NotifyFunc m_Notify = nullptr;
    void* m_NotifyData = nullptr;
};

} // namespace core
