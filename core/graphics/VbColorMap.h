#pragma once
// VbColorMap: turns a data value into a colour. A piecewise function on the
// position interval 0.0 to 1.0 made of sorted colour nodes and sorted opacity
// nodes, a scaling window that maps data values to positions, and a cached
// look-up table so that colouring a vertex or texel costs a multiply and a load.
//
// The map is a plain value: copyable, assignable, no virtual operations. The
// const colour queries may rebuild a stale table, so a map that several threads
// read must have a fresh table before they start (one PosToColor call does it).
//
// Text form (Save, Load):
//   ColorMap 2 <method> <colour count> <opacity count>
//   <position> <red> <green> <blue>          once per colour node
//   <position> <opacity>                      once per opacity node (if 2 or more)
// Load also reads the older version 1 and a five-column dialect of version 2
// (percent position, red, green, blue, alpha per line, no counts).
#include "shr/Color4b.h"
#include "core/properties/NamedItem.h"
#include "shr/GString.h"

#include <cstddef>
#include <iosfwd>
#include <utility>
#include <vector>

namespace shr {
class Archive;
class CBufferedFile;
} // namespace shr

namespace core {

class VbColorMapTable;

// The name lives in the NamedItem base; it may be empty.
class VbColorMap : public NamedItem {
public:
    // A colour node: a position on 0..1 and its colour.
    struct CNode {
        CNode() : pos(0.0), color() {}
        CNode(double position, const shr::Color4b& c) : pos(position), color(c) {}
        bool operator==(const CNode& o) const { return pos == o.pos && color == o.color; }
        bool operator!=(const CNode& o) const { return !(*this == o); }
        double pos;
        shr::Color4b color;
    };
    // An opacity node: a position on 0..1 and an opacity on 0..1.
    struct ONode {
        ONode() : pos(0.0), opacity(0.0) {}
        ONode(double position, double o) : pos(position), opacity(o) {}
        bool operator==(const ONode& o) const { return pos == o.pos && opacity == o.opacity; }
        bool operator!=(const ONode& o) const { return !(*this == o); }
        double pos;
        double opacity;
    };

    // Name null, method 0 (RGB), a 256-entry table.
    VbColorMap();
    // A null name gives "GrayScale". The map starts black at 0.0 and white at
    // 1.0, without opacity nodes, with auto scale on and every limit 0..1.
    // `method` is a shr::Color4b::InterpMethod; an int so that VbColorMap(0, 0, 256) reads naturally.
    VbColorMap(const char* name, int method, size_t lutSize);

    const char* GetName() const { return Name().c_str(); }
    void SetName(const char* name) { Name(shr::GString(name)); }

    shr::Color4b::InterpMethod GetInterpMethod() const { return m_InterpMethod; }
    void SetInterpMethod(shr::Color4b::InterpMethod method);

    // Insert after every node of equal position; return the new node's index.
    // Neither enforces end nodes nor ranges.
    size_t AddColorNode(double pos, const shr::Color4b& color);
    size_t AddColorNode(const CNode& node);
    size_t AddOpacityNode(double pos, double opacity);
    size_t AddOpacityNode(const ONode& node);

    // Out of range throws std::out_of_range("invalid vector<T> subscript").
    const CNode& operator[](size_t index) const;
    size_t GetColorCount() const { return m_ColorNodes.size(); }
    const std::vector<CNode>& GetColorNodes() const { return m_ColorNodes; }
    const ONode& GetOpacityNode(size_t index) const;
    const std::vector<ONode>& GetOpacityNodes() const { return m_OpacityNodes; }
    size_t GetOpacityCount() const { return m_OpacityNodes.size(); }

    size_t GetLUTSize() const { return m_LUT.size(); }
    // True while the table does not reflect the nodes; the next colour query rebuilds it.
    bool IsLUTStale() const { return m_LUTStale; }

    void ReserveColorNodes(size_t count) { m_ColorNodes.reserve(count); }
    void ReserveOpacityNodes(size_t count) { m_OpacityNodes.reserve(count); }
    void ClearColorNodes();
    void ClearOpacityNodes();
    void ClearAllNodes();

    // The scaling window follows the data limits while auto scale is on. Setting
    // a window other than the data limits turns it off. The window never makes
    // the table stale: positions do not change with it.
    bool GetAutoScale() const { return m_AutoScale; }
    void SetAutoScale(bool autoScale);
    void SetScalingLimits(double min, double max);
    double GetScaleMin() const { return m_ScaleMin; }
    double GetScaleMax() const { return m_ScaleMax; }
    void SetDataLimits(double min, double max);
    double GetDataMin() const { return m_DataMin; }
    double GetDataMax() const { return m_DataMax; }
    std::pair<double, double> GetDataRange() const { return std::make_pair(m_DataMin, m_DataMax); }

    // Position of a data value (not clamped; 0.0 for a window of zero width) and back.
    double DatToPos(double value) const;
    double PosToDat(double pos) const;
    shr::Color4b DatToColor(double value) const;
    // Through the table when it has entries (rounded to the nearest entry), else
    // interpolated directly between the nodes.
    shr::Color4b PosToColor(double pos) const;
    // The bin of a value among `count` equal bins of the window (truncation of
    // count * position, unlike the rounding of the table).
    int DatToIndex(double value, int count) const;

    // Takes name, method and colour nodes; opacity, scaling and limits stay.
    void CopyColormap(const VbColorMap& other);
    // Same scaling, method and nodes (opacity to 1e-10 and positions ignored
    // unless `exactOpacity`), and the same tables if both are fresh. The name is ignored.
    bool Equivalent(const VbColorMap& other, bool exactOpacity) const;

    // Writes the text form, version 2.
    void Save(std::ostream& out) const;
    // Reads any version; version 1 is read from the file at `path`. On failure
    // throws shr::Exception and leaves the map as it was. With `takeNameFromPath`
    // the name becomes the file name of `path`, else "GrayScale".
    void Load(const shr::GString& path, std::istream& in, bool takeNameFromPath);

    // "<name>:<Save text>", trailing white space trimmed: the property text.
    shr::GString ToString() const;
    // Reads a property text. A name found in the catalogue gives the catalogue's
    // map whatever follows the colon; otherwise the text after the colon is
    // loaded and named. False (map untouched) for an unknown name without a
    // body, or a body that does not load.
    static bool FromString(const shr::GString& text, VbColorMap& map);

    // The archive form; the table is not stored, a loaded map keeps its size.
    void Serialize(shr::Archive& archive);

private:
    friend class VbColorMapTable;

    void BuildLUT() const;
    void PruneOpacity();
    shr::Color4b DirectColor(double pos) const;

    void LoadV1(const shr::GString& path, shr::CBufferedFile& file);
    void LoadV2(const shr::GString& path, std::istream& in, int& line);
    void LoadZtV2(const shr::GString& path, std::istream& in, int colorCount, int opacityCount, int& line);
    void LoadBraltoV2(const shr::GString& path, std::istream& in, int& line);

    bool m_AutoScale;
    double m_ScaleMin, m_ScaleMax;
    double m_DataMin, m_DataMax;
    shr::Color4b::InterpMethod m_InterpMethod;
    std::vector<CNode> m_ColorNodes;
    std::vector<ONode> m_OpacityNodes;
    mutable bool m_LUTStale;
    mutable std::vector<shr::Color4b> m_LUT;
};

} // namespace core
