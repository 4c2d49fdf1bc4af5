#include "core/data/LatticeLocator.h"

#include "shr/Exception.h"

#include <algorithm>

namespace core {

LatticeLocator::LatticeLocator(const LatticeRange& range) : m_Range(range)
{
    if (range.iEnd <= range.iFirst || range.jEnd <= range.jFirst || range.kEnd <= range.kFirst)
        shr::ThrowSharedError("Core", "LatticeLocator", __LINE__, 0, "Invalid lattice range.");
    m_CellsI = uint64_t(range.iEnd) - range.iFirst - 1;
    m_CellsJ = uint64_t(range.jEnd) - range.jFirst - 1;
    m_CellsK = uint64_t(range.kEnd) - range.kFirst - 1;
    m_CellsPerLayer = m_CellsI * m_CellsJ;
    m_RowDivisor = std::max<uint64_t>(m_CellsI, 1);
    m_LayerDivisor = m_RowDivisor * std::max<uint64_t>(m_CellsJ, 1);
}

} // namespace core
