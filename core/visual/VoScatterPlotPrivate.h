#pragma once
// The scatter plot's companions: the label extractors that turn a point into
// its label text, the parallel collection of symbols, and the two scene nodes
// that put labels at a pixel offset from their points and draw the leader
// lines between them.
#include "core/data/PrimConvert.h"
#include "core/graphics/ColorLookup.h"
#include "core/graphics/VgVertexData.h"
#include "core/visual/BlockCompaction.h"
#include "core/properties/VbLabelFormat.h"
#include "shr/Color4b.h"
#include "shr/GString.h"
#include "shr/Mat4d.h"
#include "shr/Vec3.h"

#include <Inventor/SbVec3f.h>
#include <Inventor/nodes/SoCallback.h>

#include <cstddef>
#include <cstdint>
#include <algorithm>
#include <optional>
#include <vector>

class SoAction;

namespace core {

class VdPoints;

namespace ScatterPlotPrivate {

// Element `index` of a typed block, as a double.
inline double ElementAt(const void* base, shr::PrimType type, size_t index)
{
    return DispatchPrimType(type, [&](auto tag) {
        using Element = typename decltype(tag)::Type;
        return PrimConvert<double>(static_cast<const Element*>(base)[index]);
    });
}

// Point `index` of a point set in scene coordinates: through the user
// transform when the set has one.
shr::Vec3d PointPosition(const VdPoints& points, size_t index);

// ---- labels -------------------------------------------------------------------

// The label of a point, formatted by the module's label format. An empty
// label means the point has none.
class LabelExtractor {
public:
    LabelExtractor(const VdPoints& points, const VbLabelFormat& format) : m_Points(points), m_Format(format) {}
    virtual ~LabelExtractor();
    // An index beyond the points raises "Point index out of range.".
    shr::GString Label(unsigned int index) const;

protected:
    virtual shr::GString LabelOf(unsigned int index) const = 0;

    const VdPoints& m_Points;
    const VbLabelFormat& m_Format;
};

// The point set's own text labels.
class TextLabelExtractor : public LabelExtractor {
public:
    using LabelExtractor::LabelExtractor;

private:
    shr::GString LabelOf(unsigned int index) const override;
};

// X, Y or Z of the point (Axis 0, 1, 2), or all three (Axis 3).
template <int Axis>
class PositionLabelExtractor : public LabelExtractor {
public:
    using LabelExtractor::LabelExtractor;

private:
    shr::GString LabelOf(unsigned int index) const override;
};

// The value of one data component; a blank has no label.
class ComponentLabelExtractor : public LabelExtractor {
public:
    ComponentLabelExtractor(const VdPoints& points, const VbLabelFormat& format, unsigned int component)
        : LabelExtractor(points, format), m_Component(component)
    {
    }

private:
    shr::GString LabelOf(unsigned int index) const override;
    unsigned int m_Component;
};

// ---- symbols ------------------------------------------------------------------

// Candidates per block of the parallel symbol collection.
constexpr size_t kSymbolBlock = 1 << 14;

// Fills `out` with the position of every candidate of `source` that is not
// blank and, given colours, its colour (per vertex); `kept`, when not null,
// receives each vertex's candidate number. The source offers Count(),
// Blankable(), Blank(n), Position(n) and Value(n); Value is read only with
// colours. The joined result equals the sequential walk. The vectors keep
// their memory from one run to the next.
template <class Source>
void CollectSymbols(const Source& source, const ColorLookup* colors, VgVertexData& out, std::vector<size_t>* kept)
{
    const size_t count = source.Count();
    const size_t blocks = (count + kSymbolBlock - 1) / kSymbolBlock;
    const auto first = [](size_t b) { return b * kSymbolBlock; };
    const auto last = [count](size_t b) { return std::min(count, (b + 1) * kSymbolBlock); };
    const auto countBlock = [&](size_t b) {
        if (!source.Blankable())
            return last(b) - first(b);
        size_t n = 0;
        for (size_t c = first(b); c < last(b); ++c)
            n += source.Blank(c) ? 0 : 1;
        return n;
    };
    const auto resize = [&](size_t total) {
        out.vertices.resize(total);
        out.colors.resize(colors ? total : 0);
        if (kept)
            kept->resize(total);
    };
    const auto fill = [&](size_t b, size_t at) {
        // Local copies: the colour stores (bytes) could alias anything the
        // loop reads through a reference, which would then be read again.
        const Source local = source;
        const std::optional<ColorLookup> lookup = colors ? std::optional<ColorLookup>(*colors) : std::nullopt;
        shr::Vec3d* vertices = out.vertices.data();
        shr::Color4b* colored = colors ? out.colors.data() : nullptr;
        size_t* candidates = kept ? kept->data() : nullptr;
        const bool blankable = local.Blankable();
        for (size_t c = first(b); c < last(b); ++c) {
            if (blankable && local.Blank(c))
                continue;
            vertices[at] = local.Position(c);
            if (colored)
                colored[at] = (*lookup)(local.Value(c));
            if (candidates)
                candidates[at] = c;
            ++at;
        }
    };
    CompactBlocks(blocks, countBlock, resize, fill, !source.Blankable());
}

// ---- scene nodes ---------------------------------------------------------------

// Shifts everything screen-aligned below it (2-D text) by a number of pixels,
// by moving the view volume's window; the 3-D positions stay where they are.
class TextOffsetNode : public SoCallback {
public:
    TextOffsetNode();
    float xOffset = 0.0f; // pixels, to the right
    float yOffset = 0.0f; // pixels, upwards

private:
    ~TextOffsetNode() override;
    static void Apply(void* data, SoAction* action);
};

// The leader lines from each labelled point to where its label stands, a
// pixel offset away: drawn in immediate mode in window coordinates at the
// point's depth. It holds its own copy of the points (in the scene's shifted
// frame), so the scene never points into a module.
class LeaderLineNode : public SoCallback {
public:
    LeaderLineNode();
    std::vector<SbVec3f> points;
    shr::Color4b color;
    float width = 1.0f;
    float xOffset = 0.0f;
    float yOffset = 0.0f;

private:
    ~LeaderLineNode() override;
    static void RenderLeaderLines(void* data, SoAction* action);
};

} // namespace ScatterPlotPrivate
} // namespace core
