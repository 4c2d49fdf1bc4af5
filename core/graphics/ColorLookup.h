#pragma once
// ColorLookup: a colour map's data-to-colour mapping for hot loops over many
// values, possibly on several threads: the scaling window and the colour
// table are copied once, and each lookup is a few inline operations. It gives
// exactly what VbColorMap::DatToColor gives; a map without a table is asked
// itself.
#include "core/graphics/VbColorMap.h"
#include "shr/Color4b.h"

#include <cmath>
#include <cstddef>
#include <vector>

namespace core {

class ColorLookup {
public:
    explicit ColorLookup(const VbColorMap& map)
        : m_Map(map), m_Min(map.GetScaleMin()), m_Width(map.GetScaleMax() - map.GetScaleMin())
    {
        const size_t size = map.GetLUTSize();
        if (size < 2)
            return;
        // Position i / (size - 1) lands on table entry i, the ends included.
        m_Last = double(size - 1);
        for (size_t i = 0; i < size; ++i)
            m_Table.push_back(map.PosToColor(double(i) / m_Last));
    }

    shr::Color4b operator()(double value) const
    {
        if (m_Table.empty())
            return m_Map.DatToColor(value);
        const double pos = m_Width == 0.0 ? 0.0 : (value - m_Min) / m_Width;
        if (pos <= 0.0)
            return m_Table.front();
        if (pos >= 1.0)
            return m_Table.back();
        const double index = m_Last * pos + 0.5;
        return std::isnan(index) ? m_Table.front() : m_Table[static_cast<size_t>(index)];
    }

private:
    const VbColorMap& m_Map;
    double m_Min;
    double m_Width;
    double m_Last = 0.0;
    std::vector<shr::Color4b> m_Table;
};

} // namespace core
