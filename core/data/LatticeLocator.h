#pragma once
// LatticeRange and LatticeLocator: a box of nodes of a lattice, and the map
// from a running cell number in that box to the cell's first node, with i
// fastest as in node order. Per-cell loops run over cell numbers so that
// they split into independent pieces.
#include <cstdint>

namespace core {

// Half-open node ranges per axis: iFirst to iEnd - 1 are the nodes taken, so
// an axis has iEnd - iFirst - 1 cells.
struct LatticeRange {
    unsigned int iFirst = 0, iEnd = 0;
    unsigned int jFirst = 0, jEnd = 0;
    unsigned int kFirst = 0, kEnd = 0;
};

class LatticeLocator {
public:
    // An empty axis (end not above first) raises "Invalid lattice range.".
    explicit LatticeLocator(const LatticeRange& range);

    // The first node (lowest i, j, k) of cell n. On a flat axis, with no
    // cells, every cell lies at that axis's first node.
    void Locate(uint64_t n, unsigned int& i, unsigned int& j, unsigned int& k) const
    {
        const uint64_t inLayer = n % m_LayerDivisor;
        i = static_cast<unsigned int>(m_Range.iFirst + inLayer % m_RowDivisor);
        j = static_cast<unsigned int>(m_Range.jFirst + inLayer / m_RowDivisor);
        k = static_cast<unsigned int>(m_Range.kFirst + n / m_LayerDivisor);
    }

    const LatticeRange& Range() const { return m_Range; }
    uint64_t CellsI() const { return m_CellsI; }
    uint64_t CellsJ() const { return m_CellsJ; }
    uint64_t CellsK() const { return m_CellsK; }
    uint64_t CellsPerLayer() const { return m_CellsPerLayer; }
    uint64_t CellCount() const { return m_CellsPerLayer * m_CellsK; }

private:
    LatticeRange m_Range;
    uint64_t m_CellsI, m_CellsJ, m_CellsK;
    uint64_t m_CellsPerLayer;
    // The divisors of Locate: the counts, with 1 for a flat axis.
    uint64_t m_RowDivisor, m_LayerDivisor;
};

} // namespace core
