#include "core/graphics/VbColorMap.h"

#include "core/graphics/VbColorMapTable.h"
#include "core/network/CoreError.h"
#include "shr/Archive.h"
#include "shr/BufferedFile.h"
#include "shr/Exception.h"
#include "shr/Path.h"
#include "shr/StringUtil.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <istream>
#include <locale>
#include <ostream>
#include <sstream>
#include <stdexcept>

// Every report of the readers is a numbered "Core" error. The codes used here
// are all in the table, so CORE_THROW never returns; the fallback only keeps
// control from running on into a half-read map if it ever did.
#define COLORMAP_ERROR(...)                                                  \
    do {                                                                     \
        CORE_THROW(__VA_ARGS__);                                             \
        throw std::logic_error("colour-map error code outside the table");   \
    } while (0)

namespace core {

namespace {

// Lines of colour-map text are read into a buffer of this size, so a line holds
// at most 255 characters.
constexpr unsigned int kLineBuffer = 256;
// Counts in a file are untrusted: what they reserve is capped. Capacity has no
// visible effect, so the cap changes nothing but the memory a bad file claims.
constexpr int kMaxReserve = 4096;

enum ErrorCode {
    kBadFormat = 10,
    kNotValidFile = 11,
    kNewerVersion = 12,
    kUnexpectedEnd = 13,
    kMissingEndNodes = 42,
    kOutOfOrder = 43,
};

// False for NaN, which no range admits.
bool InRange(double value, double low, double high) { return value >= low && value <= high; }

bool ColorInRange(double r, double g, double b) { return InRange(r, 0, 255) && InRange(g, 0, 255) && InRange(b, 0, 255); }

// Half away from zero; the value has been checked to lie in 0..255.
unsigned char RoundToByte(double value) { return static_cast<unsigned char>(std::lround(value)); }

shr::Color4b RoundColor(double r, double g, double b, double a = 255.0)
{
    return shr::Color4b(RoundToByte(r), RoundToByte(g), RoundToByte(b), RoundToByte(a));
}

// Truncates a blended opacity (already scaled to 0..255) to the alpha byte.
// Nodes added by code are not range-checked and a table walk may extrapolate
// before the first node, so the value is clamped first: converting an
// out-of-range or NaN double to a byte would be undefined. Values in range
// truncate as they always did.
unsigned char OpacityToAlpha(double scaled)
{
    if (!(scaled > 0.0))
        return 0;
    if (scaled >= 255.0)
        return 255;
    return static_cast<unsigned char>(scaled);
}

template <class Node>
size_t InsertAfterEqual(std::vector<Node>& nodes, const Node& node)
{
    const auto at = std::upper_bound(nodes.begin(), nodes.end(), node.pos,
                                     [](double pos, const Node& n) { return pos < n.pos; });
    const auto inserted = nodes.insert(at, node);
    return static_cast<size_t>(inserted - nodes.begin());
}

template <class Node>
const Node& CheckedAt(const std::vector<Node>& nodes, size_t index)
{
    if (index >= nodes.size())
        throw std::out_of_range("invalid vector<T> subscript");
    return nodes[index];
}

// The nodes around `pos` on the direct path; `to` is null where one node's
// value stands: at or beyond either end, or past the last node when the nodes
// stop short of 1.0 (or for a NaN), where the search would leave the list.
template <class Node>
struct Bracket {
    const Node* from;
    const Node* to;
};

template <class Node>
Bracket<Node> FindBracket(const std::vector<Node>& nodes, double pos)
{
    if (pos <= 0.0)
        return {&nodes.front(), nullptr};
    if (pos >= 1.0)
        return {&nodes.back(), nullptr};
    size_t i = 1; // the first node from index 1 on above the position
    while (i < nodes.size() && !(nodes[i].pos > pos))
        ++i;
    if (i == nodes.size())
        return {&nodes.back(), nullptr};
    return {&nodes[i - 1], &nodes[i]};
}

double Fraction(double pos, double from, double to) { return to == from ? 0.0 : (pos - from) / (to - from); }

// Sample positions i / (n - 1) walked in increasing order over sorted nodes:
// the running node advances while the sample lies beyond it. It stops at the
// last node instead of leaving the list (nodes that stop short of 1.0), where
// the fraction then exceeds 1 and the blend clamps it.
template <class Node>
class NodeWalk {
public:
    explicit NodeWalk(const std::vector<Node>& nodes) : m_Nodes(nodes), m_Index(1) {}

    double FractionAt(double sample)
    {
        while (m_Index + 1 < m_Nodes.size() && sample > m_Nodes[m_Index].pos)
            ++m_Index;
        return Fraction(sample, Previous().pos, Next().pos);
    }
    const Node& Previous() const { return m_Nodes[m_Index - 1]; }
    const Node& Next() const { return m_Nodes[m_Index]; }

private:
    const std::vector<Node>& m_Nodes;
    size_t m_Index;
};

// Reads one line into `buffer`, emptied first so that a read that extracts
// nothing leaves an empty line behind.
void ReadLine(std::istream& in, char (&buffer)[kLineBuffer])
{
    buffer[0] = '\0';
    in.getline(buffer, kLineBuffer);
}

// Exactly five numbers separated by white space, nothing after the last one.
bool ScanFiveNumbers(const char* text, double (&values)[5])
{
    std::istringstream line(text);
    line.imbue(std::locale::classic());
    for (double& value : values)
        line >> value;
    return !line.fail() && line.eof();
}

int ReserveCount(int count) { return std::clamp(count, 0, kMaxReserve); }

} // namespace

VbColorMap::VbColorMap() : VbColorMap(nullptr, shr::Color4b::Rgb, 256) {}

VbColorMap::VbColorMap(const char* name, int method, size_t lutSize)
    : NamedItem(name ? name : "GrayScale", false),
      m_AutoScale(true),
      m_ScaleMin(0.0),
      m_ScaleMax(1.0),
      m_DataMin(0.0),
      m_DataMax(1.0),
      m_InterpMethod(static_cast<shr::Color4b::InterpMethod>(method)),
      m_ColorNodes{CNode(0.0, shr::Color4b::Black), CNode(1.0, shr::Color4b::White)},
      m_LUTStale(true),
      m_LUT(lutSize, shr::Color4b::Black)
{
}

void VbColorMap::SetInterpMethod(shr::Color4b::InterpMethod method)
{
    m_InterpMethod = method;
    m_LUTStale = true;
}

size_t VbColorMap::AddColorNode(double pos, const shr::Color4b& color) { return AddColorNode(CNode(pos, color)); }

size_t VbColorMap::AddColorNode(const CNode& node)
{
    m_LUTStale = true;
    return InsertAfterEqual(m_ColorNodes, node);
}

size_t VbColorMap::AddOpacityNode(double pos, double opacity) { return AddOpacityNode(ONode(pos, opacity)); }

size_t VbColorMap::AddOpacityNode(const ONode& node)
{
    m_LUTStale = true;
    return InsertAfterEqual(m_OpacityNodes, node);
}

const VbColorMap::CNode& VbColorMap::operator[](size_t index) const { return CheckedAt(m_ColorNodes, index); }

const VbColorMap::ONode& VbColorMap::GetOpacityNode(size_t index) const { return CheckedAt(m_OpacityNodes, index); }

void VbColorMap::ClearColorNodes()
{
    m_ColorNodes.clear();
    m_LUTStale = true;
}

void VbColorMap::ClearOpacityNodes()
{
    m_OpacityNodes.clear();
    m_LUTStale = true;
}

void VbColorMap::ClearAllNodes()
{
    ClearColorNodes();
    ClearOpacityNodes();
}

void VbColorMap::SetAutoScale(bool autoScale)
{
    m_AutoScale = autoScale;
    if (autoScale)
        SetScalingLimits(m_DataMin, m_DataMax);
}

void VbColorMap::SetScalingLimits(double min, double max)
{
    m_ScaleMin = min;
    m_ScaleMax = max;
    m_AutoScale = min == m_DataMin && max == m_DataMax;
}

void VbColorMap::SetDataLimits(double min, double max)
{
    m_DataMin = min;
    m_DataMax = max;
    if (m_AutoScale)
        SetScalingLimits(min, max);
}

double VbColorMap::DatToPos(double value) const
{
    const double width = m_ScaleMax - m_ScaleMin;
    return width == 0.0 ? 0.0 : (value - m_ScaleMin) / width;
}

double VbColorMap::PosToDat(double pos) const { return (m_ScaleMax - m_ScaleMin) * pos + m_ScaleMin; }

shr::Color4b VbColorMap::DatToColor(double value) const { return PosToColor(DatToPos(value)); }

int VbColorMap::DatToIndex(double value, int count) const
{
    if (m_ScaleMax - m_ScaleMin == 0.0)
        return 0;
    const double pos = DatToPos(value);
    if (pos <= 0.0)
        return 0;
    if (pos >= 1.0)
        return count - 1;
    // A NaN position falls through both tests; its bin is 0 (casting NaN to int is undefined).
    const double bin = count * pos;
    if (std::isnan(bin))
        return 0;
    return std::min(static_cast<int>(bin), count - 1);
}

shr::Color4b VbColorMap::PosToColor(double pos) const
{
    if (m_LUT.empty())
        return DirectColor(pos);
    if (m_LUTStale)
        BuildLUT();
    if (pos <= 0.0)
        return m_LUT.front();
    if (pos >= 1.0)
        return m_LUT.back();
    // Inside (0, 1) the rounded index lies inside the table; a NaN position is
    // the one value that reaches here without, and it takes the first entry.
    const double index = static_cast<double>(m_LUT.size() - 1) * pos + 0.5;
    return std::isnan(index) ? m_LUT.front() : m_LUT[static_cast<size_t>(index)];
}

// Interpolation between the nodes, for a map without a table.
shr::Color4b VbColorMap::DirectColor(double pos) const
{
    if (m_ColorNodes.empty())
        return shr::Color4b::Black;
    const Bracket<CNode> c = FindBracket(m_ColorNodes, pos);
    // No zero-width test: the search never stops between coincident nodes.
    shr::Color4b color = c.to ? shr::Color4b::Interp(c.from->color, c.to->color,
                                                     (pos - c.from->pos) / (c.to->pos - c.from->pos), m_InterpMethod)
                              : c.from->color;
    if (m_OpacityNodes.size() < 2)
        return color;
    const Bracket<ONode> o = FindBracket(m_OpacityNodes, pos);
    double opacity = o.from->opacity;
    if (o.to) {
        const double t = Fraction(pos, o.from->pos, o.to->pos);
        opacity = (1.0 - t) * o.from->opacity + t * o.to->opacity;
    }
    color.a = OpacityToAlpha(opacity * 255.0);
    return color;
}

void VbColorMap::BuildLUT() const
{
    m_LUTStale = false;
    const size_t count = m_LUT.size();
    if (count <= 1 || m_ColorNodes.size() < 2)
        return;
    const double last = static_cast<double>(count - 1);
    NodeWalk<CNode> colors(m_ColorNodes);
    for (size_t i = 0; i < count; ++i) {
        const double t = colors.FractionAt(static_cast<double>(i) / last);
        m_LUT[i] = shr::Color4b::Interp(colors.Previous().color, colors.Next().color, t, m_InterpMethod);
    }
    if (m_OpacityNodes.size() < 2)
        return;
    NodeWalk<ONode> opacities(m_OpacityNodes);
    for (size_t i = 0; i < count; ++i) {
        const double t = opacities.FractionAt(static_cast<double>(i) / last);
        const double from = opacities.Previous().opacity;
        const double to = opacities.Next().opacity;
        m_LUT[i].a = OpacityToAlpha((1.0 - t) * from * 255.0 + t * to * 255.0);
    }
}

// Keeps the first and the last node of every run of equal opacity.
void VbColorMap::PruneOpacity()
{
    const size_t count = m_OpacityNodes.size();
    if (count < 3)
        return;
    std::vector<ONode> kept;
    size_t i = 0;
    while (i < count) {
        kept.push_back(m_OpacityNodes[i]);
        size_t j = i;
        while (j + 1 < count && m_OpacityNodes[j + 1].opacity == m_OpacityNodes[i].opacity)
            ++j;
        if (j != i)
            kept.push_back(m_OpacityNodes[j]);
        i = j + 1;
    }
    m_OpacityNodes.swap(kept);
    m_LUTStale = true;
}

void VbColorMap::CopyColormap(const VbColorMap& other)
{
    Name(other.Name());
    m_InterpMethod = other.m_InterpMethod;
    m_ColorNodes = other.m_ColorNodes;
    m_LUTStale = true;
}

bool VbColorMap::Equivalent(const VbColorMap& other, bool exactOpacity) const
{
    if (m_AutoScale != other.m_AutoScale || m_ScaleMin != other.m_ScaleMin || m_ScaleMax != other.m_ScaleMax ||
        m_DataMin != other.m_DataMin || m_DataMax != other.m_DataMax || m_InterpMethod != other.m_InterpMethod)
        return false;
    if (m_ColorNodes != other.m_ColorNodes)
        return false;
    if (exactOpacity) {
        if (m_OpacityNodes != other.m_OpacityNodes)
            return false;
    } else {
        // Positions of opacity nodes are deliberately left out of this comparison.
        const auto near = [](const ONode& a, const ONode& b) { return std::fabs(a.opacity - b.opacity) <= 1e-10; };
        if (m_OpacityNodes.size() != other.m_OpacityNodes.size() ||
            !std::equal(m_OpacityNodes.begin(), m_OpacityNodes.end(), other.m_OpacityNodes.begin(), near))
            return false;
    }
    if (m_LUTStale || other.m_LUTStale)
        return true;
    return m_LUT == other.m_LUT;
}

void VbColorMap::Save(std::ostream& out) const
{
    char line[128];
    std::snprintf(line, sizeof line, "ColorMap %d %d %d %d\n", 2, static_cast<int>(m_InterpMethod),
                  static_cast<int>(m_ColorNodes.size()), static_cast<int>(m_OpacityNodes.size()));
    out << line;
    for (const CNode& node : m_ColorNodes) {
        std::snprintf(line, sizeof line, "%16.14g %3d %3d %3d\n", node.pos, node.color.r, node.color.g, node.color.b);
        out << line;
    }
    // A single opacity node is counted in the header but not written.
    if (m_OpacityNodes.size() < 2)
        return;
    for (const ONode& node : m_OpacityNodes) {
        std::snprintf(line, sizeof line, "%16.14g %16.14g\n", node.pos, node.opacity);
        out << line;
    }
}

void VbColorMap::Load(const shr::GString& path, std::istream& in, bool takeNameFromPath)
{
    char line[kLineBuffer];
    ReadLine(in, line);
    int version = 0;
    if (!in.good() || std::sscanf(line, "ColorMap %d", &version) != 1)
        COLORMAP_ERROR(kNotValidFile, path.c_str(), "colormap");
    in.seekg(0, std::ios::beg);

    VbColorMap loaded(nullptr, shr::Color4b::Rgb, 256);
    int lineNumber = 0;
    if (version == 1) {
        shr::CBufferedFile file(path, "rt");
        loaded.LoadV1(path, file);
    } else if (version == 2) {
        loaded.LoadV2(path, in, lineNumber);
    } else if (version > 2) {
        COLORMAP_ERROR(kNewerVersion, path.c_str());
    } else {
        COLORMAP_ERROR(kNotValidFile, path.c_str(), "colormap");
    }
    const std::vector<CNode>& nodes = loaded.m_ColorNodes;
    if (nodes.size() < 2 || nodes.front().pos != 0.0 || nodes.back().pos != 1.0)
        COLORMAP_ERROR(kMissingEndNodes, path.c_str());

    *this = std::move(loaded);
    if (takeNameFromPath)
        Name(shr::CPath(path).GetName());
}

// Version 1: a header line, then "percent red green blue" per line.
void VbColorMap::LoadV1(const shr::GString& path, shr::CBufferedFile& file)
{
    ClearAllNodes();
    m_InterpMethod = shr::Color4b::Rgb;
    char line[kLineBuffer];
    int lineNumber = 0;
    if (file.ReadString(line, kLineBuffer))
        ++lineNumber;
    double previous = 0.0;
    while (file.ReadString(line, kLineBuffer)) {
        ++lineNumber;
        double pos, r, g, b;
        if (std::sscanf(line, "%lg%lg%lg%lg", &pos, &r, &g, &b) != 4 || !InRange(pos, 0, 100) ||
            !ColorInRange(r, g, b))
            COLORMAP_ERROR(kBadFormat, path.c_str(), lineNumber);
        pos /= 100.0;
        if (pos < previous)
            COLORMAP_ERROR(kOutOfOrder, static_cast<unsigned int>(lineNumber), path.c_str());
        previous = pos;
        m_ColorNodes.push_back(CNode(pos, RoundColor(r, g, b)));
    }
}

// Version 2: the header decides between the counted dialect and the five-column one.
void VbColorMap::LoadV2(const shr::GString& path, std::istream& in, int& line)
{
    char text[kLineBuffer];
    ++line;
    ReadLine(in, text);
    if (in.bad())
        COLORMAP_ERROR(kBadFormat, path.c_str(), line);
    int version = 2, method = 0, colorCount = 0, opacityCount = 0;
    const int fields = std::sscanf(text, "ColorMap %d%d%d%d", &version, &method, &colorCount, &opacityCount);
    // Counted once more here, so every later message names the line after the
    // one at fault; readers of old reports rely on these numbers.
    ++line;
    if (version != 2 || method > 9)
        COLORMAP_ERROR(kBadFormat, path.c_str(), line);
    ClearAllNodes();
    m_InterpMethod = static_cast<shr::Color4b::InterpMethod>(method);
    if (fields == 2)
        LoadBraltoV2(path, in, line);
    else if (fields == 4)
        LoadZtV2(path, in, colorCount, opacityCount, line);
    else
        COLORMAP_ERROR(kBadFormat, path.c_str(), line);
}

void VbColorMap::LoadZtV2(const shr::GString& path, std::istream& in, int colorCount, int opacityCount, int& line)
{
    if (colorCount < 2)
        COLORMAP_ERROR(kBadFormat, path.c_str(), line);
    char text[kLineBuffer];
    m_ColorNodes.reserve(ReserveCount(colorCount));
    double previous = 0.0;
    for (int i = 0; i < colorCount; ++i) {
        ++line;
        ReadLine(in, text);
        // Plain end of input leaves an empty line, which fails as bad format below.
        if (in.bad())
            COLORMAP_ERROR(kUnexpectedEnd, path.c_str());
        double pos, r, g, b;
        if (std::sscanf(text, "%lg%lg%lg%lg", &pos, &r, &g, &b) != 4 || !InRange(pos, 0, 1) || !ColorInRange(r, g, b))
            COLORMAP_ERROR(kBadFormat, path.c_str(), line);
        if (pos < previous)
            COLORMAP_ERROR(kOutOfOrder, static_cast<unsigned int>(line), path.c_str());
        previous = pos;
        m_ColorNodes.push_back(CNode(pos, RoundColor(r, g, b)));
    }
    m_OpacityNodes.reserve(ReserveCount(opacityCount));
    previous = 0.0;
    for (int i = 0; i < opacityCount; ++i) {
        ++line;
        ReadLine(in, text);
        if (in.bad())
            COLORMAP_ERROR(kUnexpectedEnd, path.c_str());
        double pos, opacity;
        if (std::sscanf(text, "%lg%lg", &pos, &opacity) != 2 || !InRange(pos, 0, 1) || !InRange(opacity, 0, 1))
            COLORMAP_ERROR(kBadFormat, path.c_str(), line);
        if (pos < previous)
            COLORMAP_ERROR(kOutOfOrder, static_cast<unsigned int>(line), path.c_str());
        previous = pos;
        m_OpacityNodes.push_back(ONode(pos, opacity));
    }
}

// The five-column dialect: "percent red green blue alpha" per line until the
// input ends, positions normalised by the first and last node, alpha turned
// into opacity nodes.
void VbColorMap::LoadBraltoV2(const shr::GString& path, std::istream& in, int& line)
{
    std::vector<CNode> nodes;
    char text[kLineBuffer];
    double previous = 0.0;
    for (ReadLine(in, text); in; ReadLine(in, text)) {
        ++line;
        double v[5];
        if (!ScanFiveNumbers(text, v) || !InRange(v[0], 0, 100) || !ColorInRange(v[1], v[2], v[3]) ||
            !InRange(v[4], 0, 255))
            COLORMAP_ERROR(kBadFormat, path.c_str(), line);
        if (v[0] < previous)
            COLORMAP_ERROR(kOutOfOrder, static_cast<unsigned int>(line), path.c_str());
        previous = v[0];
        nodes.push_back(CNode(v[0], RoundColor(v[1], v[2], v[3], v[4])));
    }
    if (nodes.size() < 2)
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Colormap must contain at least two nodes.");

    // Nodes all at one position give NaN positions here, which Load then
    // rejects as missing end nodes.
    const double first = nodes.front().pos;
    const double last = nodes.back().pos;
    for (const CNode& node : nodes) {
        double pos = (node.pos - first) / (last - first);
        if (pos < 0.0)
            pos = 0.0;
        if (pos > 1.0)
            pos = 1.0;
        m_OpacityNodes.push_back(ONode(pos, std::clamp(node.color.a / 255.0, 0.0, 1.0)));
        m_ColorNodes.push_back(CNode(pos, shr::Color4b(node.color.r, node.color.g, node.color.b, 255)));
    }
    PruneOpacity();
}

shr::GString VbColorMap::ToString() const
{
    std::ostringstream text;
    Save(text);
    shr::GString result = Name() + ":" + text.str();
    shr::TrimRight(result);
    return result;
}

bool VbColorMap::FromString(const shr::GString& text, VbColorMap& map)
{
    const size_t colon = text.find(':');
    shr::GString name = text.substr(0, colon);
    const shr::GString body = colon == std::string::npos ? shr::GString() : shr::GString(text.substr(colon + 1));
    shr::Trim(name);

    const VbColorMapTable& catalogue = VbColorMapTable::Instance();
    const int index = catalogue.Find(name.c_str());
    if (index >= 0) {
        map = catalogue[static_cast<size_t>(index)];
        return true;
    }
    if (body.empty())
        return false;
    try {
        std::istringstream in(body);
        VbColorMap loaded(nullptr, shr::Color4b::Rgb, 256);
        loaded.Load(shr::GString(), in, true);
        loaded.SetName(name.c_str());
        map = std::move(loaded);
        return true;
    } catch (const shr::Exception&) {
        return false;
    }
}

namespace {

// A node list in the archive's direction: the count (32 bits), then per node
// the position and the field that `value` transfers.
template <class Node, class TransferValue>
void TransferNodes(shr::Archive& archive, std::vector<Node>& nodes, uint64_t bytesPerNode, TransferValue value)
{
    uint32_t count = static_cast<uint32_t>(nodes.size());
    archive.Transfer(count);
    if (archive.IsLoading()) {
        archive.CheckCount(count, bytesPerNode);
        nodes.resize(count);
    }
    for (Node& node : nodes) {
        archive.Transfer(node.pos);
        value(node);
    }
}

} // namespace

void VbColorMap::Serialize(shr::Archive& archive)
{
    archive.SyncCheck();
    // Loading fills a copy, so a damaged archive leaves this map as it was.
    VbColorMap loaded;
    VbColorMap& target = archive.IsLoading() ? (loaded = *this) : *this;
    shr::GString name = target.Name();
    archive.Transfer(name);
    target.Name(name);
    archive.Transfer(target.m_AutoScale);
    archive.Transfer(target.m_ScaleMin);
    archive.Transfer(target.m_ScaleMax);
    archive.Transfer(target.m_DataMin);
    archive.Transfer(target.m_DataMax);
    int32_t method = target.m_InterpMethod;
    archive.Transfer(method);
    archive.CheckRange(method, 0, shr::Color4b::InterpMethodCount - 1, "the colour map's interpolation");
    target.m_InterpMethod = static_cast<shr::Color4b::InterpMethod>(method);
    TransferNodes(archive, target.m_ColorNodes, 12, [&](CNode& node) { archive.Transfer(node.color); });
    TransferNodes(archive, target.m_OpacityNodes, 16, [&](ONode& node) { archive.Transfer(node.opacity); });
    if (archive.IsLoading()) {
        loaded.m_LUTStale = true;
        *this = std::move(loaded);
    }
}

} // namespace core
