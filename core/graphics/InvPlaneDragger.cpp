#include "core/graphics/InvPlaneDragger.h"

#include "core/graphics/InvConvert.h"
#include "core/graphics/InvInterface.h"
#include "core/graphics/InvSmartPtr.h"
#include "core/network/VoNetwork.h"

#include <Inventor/SbRotation.h>
#include <Inventor/SoDB.h>
#include <Inventor/SoInput.h>
#include <Inventor/SoPath.h>
#include <Inventor/actions/SoGetBoundingBoxAction.h>
#include <Inventor/draggers/SoTrackballDragger.h>
#include <Inventor/draggers/SoTranslate1Dragger.h>
#include <Inventor/nodes/SoCoordinate3.h>
#include <Inventor/nodes/SoDrawStyle.h>
#include <Inventor/nodes/SoFaceSet.h>
#include <Inventor/nodes/SoRotation.h>
#include <Inventor/nodes/SoSeparator.h>
#include <Inventor/nodes/SoSwitch.h>
#include <Inventor/nodes/SoTranslation.h>

#include <algorithm>
#include <cstring>

namespace core {

SO_KIT_SOURCE(InvPlaneDragger)

namespace {

const bool s_Registered = (VoNetwork::RegisterSceneClass(&InvPlaneDragger::initClass), true);

const char kDefaultGeometry[] = "DEF pd_frame Separator {\n"
                                "  Material { diffuseColor 1.0 1.0 0.0 emissiveColor 1.0 1.0 0.0 }\n"
                                "  LightModel { model BASE_COLOR }\n"
                                "  ShapeHints { vertexOrdering UNKNOWN_ORDERING }\n"
                                "  DEF pd_style DrawStyle { style INVISIBLE lineWidth 2 }\n"
                                "  DEF pd_coords Coordinate3 {}\n"
                                "  DEF pd_face FaceSet {}\n"
                                "}\n";

// Our own node in each frame: shifts the frame back by the motion matrix.
const char kFrameShiftName[] = "pd_shift";

// The frame template, read from the text above on the first instance. Each
// dragger draws a copy of its own: the outline differs from plane to plane.
SoSeparator* DefaultFrame()
{
    static InvSmartPtr<SoNode> s_Frame = [] {
        SoInput in;
        in.setBuffer(kDefaultGeometry, std::strlen(kDefaultGeometry));
        InvSmartPtr<SoSeparator> root(SoDB::readAll(&in));
        return InvSmartPtr<SoNode>(root ? InvFindNode("pd_frame", root.get()) : nullptr);
    }();
    return static_cast<SoSeparator*>(s_Frame.get());
}

template <class T>
T* FindUnder(SoNode* root, const char* name)
{
    SoNode* node = root ? InvFindNode(name, root) : nullptr;
    return node && node->isOfType(T::getClassTypeId()) ? static_cast<T*>(node) : nullptr;
}

// Writes a sub-dragger's field without its value callbacks firing.
template <class Write>
void WriteQuietly(SoDragger* dragger, Write write)
{
    if (!dragger)
        return;
    const SbBool was = dragger->enableValueChangedCallbacks(FALSE);
    write();
    dragger->enableValueChangedCallbacks(was);
}

// ---- the cut of a plane through a box --------------------------------------

// Faces of the box as their four edges. The side faces come first, so that a
// ring starts round a side before it crosses the bottom.
const int kFaceEdges[6][4] = {{0, 9, 4, 8}, {1, 10, 5, 9}, {2, 11, 6, 10}, {3, 8, 7, 11}, {4, 5, 6, 7}, {0, 1, 2, 3}};

typedef std::array<int8_t, 8> EdgeRow;

bool Below(unsigned mask, int corner) { return (mask >> corner) & 1u; }

bool Crossed(unsigned mask, int edge)
{
    return Below(mask, InvPlaneDragger::kEdgeStart[edge]) != Below(mask, InvPlaneDragger::kEdgeEnd[edge]);
}

// Whether the corners on one side of the plane (below or not) are connected
// along edges that stay on that side. An empty side counts as connected.
bool SideConnected(unsigned mask, bool below)
{
    unsigned side = 0;
    for (int c = 0; c < 8; ++c)
        if (Below(mask, c) == below)
            side |= 1u << c;
    if (!side)
        return true;
    unsigned reached = side & (~side + 1u); // the lowest corner of the side
    for (bool grown = true; grown;) {
        grown = false;
        for (int e = 0; e < 12; ++e) {
            const unsigned a = 1u << InvPlaneDragger::kEdgeStart[e], b = 1u << InvPlaneDragger::kEdgeEnd[e];
            if ((side & a) && (side & b) && ((reached & a) != 0) != ((reached & b) != 0)) {
                reached |= a | b;
                grown = true;
            }
        }
    }
    return reached == side;
}

// The crossed edge of `face` other than `edge`, or -1. A face crossed on all
// four edges has no single way on: -2.
int NextOnFace(unsigned mask, int face, int edge)
{
    int next = -1, crossed = 0;
    for (int e : kFaceEdges[face]) {
        if (!Crossed(mask, e))
            continue;
        ++crossed;
        if (e != edge)
            next = e;
    }
    return crossed == 2 ? next : (crossed == 0 ? -1 : -2);
}

bool FaceHas(int face, int edge)
{
    return std::find(std::begin(kFaceEdges[face]), std::end(kFaceEdges[face]), edge) != std::end(kFaceEdges[face]);
}

EdgeRow MakeRow(unsigned mask)
{
    EdgeRow row;
    row.fill(-1);
    int crossedCount = 0, first = -1;
    for (int e = 0; e < 12; ++e)
        if (Crossed(mask, e)) {
            ++crossedCount;
            if (first < 0)
                first = e;
        }
    if (crossedCount == 0 || crossedCount > 6 || !SideConnected(mask, true) || !SideConnected(mask, false))
        return row;
    // Walk round the ring, leaving each edge by the face we did not come in by.
    int edge = first, cameFrom = -1, count = 0;
    do {
        row[count++] = static_cast<int8_t>(edge);
        int next = -1;
        for (int f = 0; f < 6 && next < 0; ++f) {
            if (f == cameFrom || !FaceHas(f, edge))
                continue;
            next = NextOnFace(mask, f, edge);
            if (next >= 0)
                cameFrom = f;
            else if (next == -2) {
                row.fill(-1);
                return row;
            }
        }
        edge = next;
    } while (edge >= 0 && edge != first && count < crossedCount);
    if (edge != first || count != crossedCount)
        row.fill(-1);
    return row;
}

} // namespace

const int InvPlaneDragger::kEdgeStart[12] = {0, 1, 2, 3, 4, 5, 6, 7, 0, 1, 2, 3};
const int InvPlaneDragger::kEdgeEnd[12] = {1, 2, 3, 0, 5, 6, 7, 4, 4, 5, 6, 7};

const std::array<int8_t, 8>& InvPlaneDragger::CutEdges(unsigned mask)
{
    static const std::array<EdgeRow, 256> s_Table = [] {
        std::array<EdgeRow, 256> table;
        for (unsigned m = 0; m < 256; ++m)
            table[m] = MakeRow(m);
        return table;
    }();
    return s_Table[mask & 255u];
}

// ---- class -----------------------------------------------------------------

void InvPlaneDragger::initClass()
{
    if (classTypeId != SoType::badType())
        return;
    SO_KIT_INIT_CLASS(InvPlaneDragger, SoDragger, "Dragger");
}

InvPlaneDragger::InvPlaneDragger()
{
    SO_KIT_CONSTRUCTOR(InvPlaneDragger);
    SO_KIT_ADD_CATALOG_ENTRY(rotator, SoTrackballDragger, FALSE, topSeparator, "", FALSE);
    SO_KIT_ADD_CATALOG_ENTRY(translatorSep, SoSeparator, FALSE, topSeparator, "", FALSE);
    SO_KIT_ADD_CATALOG_ENTRY(translatorRot, SoRotation, FALSE, translatorSep, "", FALSE);
    SO_KIT_ADD_CATALOG_ENTRY(translator, SoTranslate1Dragger, FALSE, translatorSep, "", FALSE);
    SO_KIT_ADD_CATALOG_ENTRY(frameSwitch, SoSwitch, FALSE, topSeparator, "", FALSE);
    SO_KIT_ADD_CATALOG_ENTRY(frame, SoSeparator, TRUE, frameSwitch, "", FALSE);
    SO_KIT_INIT_INSTANCE();

    if (SoSeparator* frame = DefaultFrame())
        setPartAsDefault("frame", frame->copy());
    FindParts();
    if (m_Translator) {
        // No handle of its own: the translator is grabbed through the frame.
        m_Translator->setPartAsDefault("translator", new SoSeparator);
        if (SoNode* frame = getAnyPart("frame", FALSE, FALSE, FALSE))
            m_Translator->setPartAsPath("translatorActive", new SoPath(frame));
    }
    if (m_Rotator) {
        m_Rotator->setAnimationEnabled(FALSE);
        SoGetBoundingBoxAction measure{SbViewportRegion()};
        measure.apply(m_Rotator);
        const SbBox3f box = measure.getBoundingBox();
        if (!box.isEmpty()) {
            float dx, dy, dz;
            box.getSize(dx, dy, dz);
            const double extent = std::max({dx, dy, dz});
            if (extent > 0.0)
                m_RotatorRadius = extent * 0.5;
        }
    }
    setUpConnections(TRUE, TRUE);
}

InvPlaneDragger::~InvPlaneDragger() { HookCallbacks(false); }

SbBool InvPlaneDragger::setUpConnections(SbBool onoff, SbBool doitalways)
{
    if (!doitalways && connectionsSetUp == onoff)
        return onoff;
    const SbBool was = connectionsSetUp;
    if (onoff) {
        inherited::setUpConnections(onoff, doitalways);
        HookCallbacks(false);
        FindParts();
        HookCallbacks(true);
    } else {
        HookCallbacks(false);
        inherited::setUpConnections(onoff, doitalways);
    }
    connectionsSetUp = onoff;
    return was;
}

void InvPlaneDragger::FindParts()
{
    m_Rotator = SO_GET_ANY_PART(this, "rotator", SoTrackballDragger);
    m_Translator = SO_GET_ANY_PART(this, "translator", SoTranslate1Dragger);
    m_TranslatorRot = SO_GET_ANY_PART(this, "translatorRot", SoRotation);
    m_FrameSwitch = SO_GET_ANY_PART(this, "frameSwitch", SoSwitch);
    SetupFrame();
}

// Only hooks we made are taken off: the scene graph's callback lists do not
// take kindly to removing what was never added.
void InvPlaneDragger::HookCallbacks(bool on)
{
    for (InvSmartPtr<SoDragger>& hooked : m_Hooked) {
        if (!hooked)
            continue;
        hooked->removeStartCallback(&StartCB, this);
        hooked->removeFinishCallback(&FinishCB, this);
        hooked->removeValueChangedCallback(&ValueChangedCB, this);
        hooked.reset();
    }
    if (!on)
        return;
    m_Hooked[0] = m_Rotator;
    m_Hooked[1] = m_Translator;
    for (const InvSmartPtr<SoDragger>& hooked : m_Hooked) {
        if (!hooked)
            continue;
        hooked->addStartCallback(&StartCB, this);
        hooked->addFinishCallback(&FinishCB, this);
        hooked->addValueChangedCallback(&ValueChangedCB, this);
    }
}

// The frame's nodes are found by name; the shift node goes in front once.
void InvPlaneDragger::SetupFrame()
{
    SoNode* frame = getAnyPart("frame", FALSE, FALSE, FALSE);
    m_Style = FindUnder<SoDrawStyle>(frame, "pd_style");
    m_Coords = FindUnder<SoCoordinate3>(frame, "pd_coords");
    m_Face = FindUnder<SoFaceSet>(frame, "pd_face");
    m_FrameShift = FindUnder<SoTranslation>(frame, kFrameShiftName);
    if (!m_FrameShift && frame && frame->isOfType(SoSeparator::getClassTypeId())) {
        m_FrameShift = new SoTranslation;
        m_FrameShift->setName(kFrameShiftName);
        static_cast<SoSeparator*>(frame)->insertChild(m_FrameShift, 0);
    }
}

void InvPlaneDragger::SetNotify(NotifyFunc func, void* data)
{
    m_Notify = func;
    m_NotifyData = data;
}

void InvPlaneDragger::Notify(int code)
{
    if (m_Notify)
        m_Notify(this, code, m_NotifyData);
}

shr::Vec3d InvPlaneDragger::Position() const { return m_Box.Center() + m_Normal * m_Offset; }

// ---- setters -----------------------------------------------------------------

void InvPlaneDragger::SetScale(double scale)
{
    m_Scale = scale;
    if (m_Box.IsEmpty() || !m_Rotator)
        return;
    const float factor = static_cast<float>(scale * (m_Box.Diagonal() * 0.5 / m_RotatorRadius));
    WriteQuietly(m_Rotator, [&] { m_Rotator->scaleFactor.setValue(factor, factor, factor); });
}

void InvPlaneDragger::SetNormal(const shr::Vec3d& normal)
{
    m_Normal = normal.Normalized();
    if (m_Rotator) {
        const SbRotation rotation(SbVec3f(0.0f, 1.0f, 0.0f), ToSbVec3f(m_Normal));
        WriteQuietly(m_Rotator, [&] { m_Rotator->rotation.setValue(rotation); });
    }
    SetMotionPosition();
    SetTranslatorRotation();
    RebuildFrame();
}

void InvPlaneDragger::SetOffset(double offset)
{
    m_Offset = offset;
    SetMotionPosition();
    if (m_Translator) {
        const float x = static_cast<float>(offset);
        WriteQuietly(m_Translator, [&] { m_Translator->translation.setValue(x, 0.0f, 0.0f); });
    }
    RebuildFrame();
}

void InvPlaneDragger::SetBox(const shr::Box3d& box)
{
    m_Box = box;
    SetScale(m_Scale);
    SetOffset(m_Offset);
}

// The handles sit at the plane's position. The frame's points are kept in
// box space, so the frame is shifted back by the same amount.
void InvPlaneDragger::SetMotionPosition()
{
    const SbVec3f translation = ToSbVec3f(Position());
    SbMatrix matrix = getMotionMatrix();
    workValuesIntoTransform(matrix, &translation, nullptr, nullptr, nullptr, nullptr);
    WriteQuietly(this, [&] { setMotionMatrix(matrix); });
    if (m_FrameShift)
        m_FrameShift->translation.setValue(-translation);
}

void InvPlaneDragger::SetTranslatorRotation()
{
    if (m_TranslatorRot)
        m_TranslatorRot->rotation.setValue(SbRotation(SbVec3f(1.0f, 0.0f, 0.0f), ToSbVec3f(m_Normal)));
}

void InvPlaneDragger::SetFrameStyle(int style)
{
    if (m_Style)
        m_Style->style.setValue(style);
}

// ---- drag events -------------------------------------------------------------

void InvPlaneDragger::StartCB(void* data, SoDragger* source) { static_cast<InvPlaneDragger*>(data)->DragStarted(source); }

void InvPlaneDragger::FinishCB(void* data, SoDragger* source)
{
    static_cast<InvPlaneDragger*>(data)->DragFinished(source);
}

void InvPlaneDragger::ValueChangedCB(void* data, SoDragger* source)
{
    static_cast<InvPlaneDragger*>(data)->DragValueChanged(source);
}

void InvPlaneDragger::DragStarted(SoDragger* source)
{
    if (source != m_Rotator && source != m_Translator)
        return;
    SetFrameStyle(SoDrawStyle::LINES);
    Notify(source == m_Rotator ? ROTATOR_START : TRANSLATOR_START);
}

void InvPlaneDragger::DragFinished(SoDragger* source)
{
    if (source != m_Rotator && source != m_Translator)
        return;
    SetFrameStyle(SoDrawStyle::INVISIBLE);
    if (source == m_Rotator)
        SetTranslatorRotation();
    SetMotionPosition();
    Notify(source == m_Rotator ? ROTATOR_FINISH : TRANSLATOR_FINISH);
}

void InvPlaneDragger::DragValueChanged(SoDragger* source)
{
    int code;
    if (source == m_Rotator && m_Rotator) {
        SbVec3f turned;
        m_Rotator->rotation.getValue().multVec(SbVec3f(0.0f, 1.0f, 0.0f), turned);
        const shr::Vec3d normal(turned[0], turned[1], turned[2]);
        if (normal == m_Normal)
            return;
        m_Normal = normal;
        code = ROTATOR_VALUE;
    } else if (source == m_Translator && m_Translator) {
        const double offset = m_Translator->translation.getValue()[0];
        if (offset == m_Offset)
            return;
        m_Offset = offset;
        code = TRANSLATOR_VALUE;
    } else {
        return;
    }
    RebuildFrame();
    Notify(code);
}

// ---- the frame -----------------------------------------------------------------

void InvPlaneDragger::RebuildFrame()
{
    if (m_Box.IsEmpty() || !m_Coords || !m_Face || !m_FrameSwitch)
        return;
    shr::Vec3d corners[8];
    m_Box.GetCorners(corners);
    const double c = m_Normal.Dot(m_Box.Center()) + m_Offset;
    double distance[8];
    unsigned mask = 0;
    for (int i = 0; i < 8; ++i) {
        distance[i] = m_Normal.Dot(corners[i]) - c;
        if (distance[i] < 0.0)
            mask |= 1u << i;
    }
    const EdgeRow& row = CutEdges(mask);
    SbVec3f points[8];
    int count = 0;
    for (; count < 8 && row[count] >= 0; ++count) {
        const int a = kEdgeStart[row[count]], b = kEdgeEnd[row[count]];
        const double t = (0.0 - distance[a]) / (distance[b] - distance[a]);
        points[count] = ToSbVec3f(corners[a] * (1.0 - t) + corners[b] * t);
    }
    if (count == 0) {
        m_FrameSwitch->whichChild.setValue(SO_SWITCH_NONE);
        return;
    }
    if (count < 3)
        return;
    m_Coords->point.setValues(0, count, points);
    m_Coords->point.setNum(count);
    m_FrameSwitch->whichChild.setValue(0);
    m_Face->numVertices.setValue(count);
}

} // namespace core
