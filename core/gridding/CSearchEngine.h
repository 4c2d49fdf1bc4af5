#pragma once
// CSearchEngine: finds the rows of a CPointData inside a search ellipsoid, the
// MaxData nearest kept, millions of times per gridding run.
//
// The rows are organised as an implicit k-d tree in transformed space (where
// the ellipsoid is the unit sphere) that lives in one array of row pointers:
// a range [first, last) is a subtree whose root is its middle element, split on
// transformed X, Y, Z by depth. Beside each pointer the array keeps a copy of
// the row's position, so that a search reads the array alone, in tree order,
// and never the scattered rows themselves. The caller's previous answer seeds the next
// query: gridding walks its lattice so that consecutive nodes are neighbours,
// and the last neighbour list shrinks the search box before the tree is entered.
//
// Answer: the rows at squared transformed distance at most 1, ordered by
// distance and then by position in the table (a later row counts as farther),
// the MaxData first of them kept; listed farthest first. With all data every
// row is returned in table order with its plain squared distance.
//
// The engine does not own the table, which must outlive it unchanged. One
// engine belongs to one thread.
#include "core/gridding/CNeighbor.h"
#include "core/gridding/CPointData.h"
#include "core/gridding/CSearchRules.h"
#include "shr/Box3d.h"
#include "shr/Point.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace core {

class VbProgress;

class CSearchEngine {
public:
    // Builds the tree unless the rules ask for all data, under a progress
    // display "Initializing the search engine.".
    CSearchEngine(const CSearchRules& rules, const CPointData& data);
    ~CSearchEngine();
    CSearchEngine(const CSearchEngine&) = delete;
    CSearchEngine& operator=(const CSearchEngine&) = delete;

    // `neighbours` holds the previous answer of this engine (or nothing) on
    // entry and the new answer on exit. True when the answer holds at least
    // MinData rows.
    bool Search(const shr::Point3<double>& query, std::vector<CNeighbor>& neighbours);

private:
    // A tree node: a row (by its index in the table) and a copy of its
    // position. `stamp` marks the rows that seed the current query.
    struct Entry {
        shr::Point3<double> position;
        uint32_t row;
        uint32_t stamp;
    };
    using Position = shr::Point3<double>;

    void MakeTree(size_t first, size_t last, int depth);
    // The walk for general transforms: prunes by the node's box in
    // transformed space, which it narrows in place and restores.
    void ScanNode(size_t first, size_t last, int depth, shr::Box3d& nodeBox);
    // The walk for diagonal transforms: prunes by the distance from the query
    // to the node's box, kept per axis in `gap` and restored.
    void ScanDiagonal(size_t first, size_t last, int depth, double gap[3]);
    template <bool Diagonal>
    void ScanBucket(size_t first, size_t last);

    // The transformed coordinate that orders the tree on `axis`, and the
    // squared transformed distance to the query. With a diagonal transform the
    // zero terms are left out, which gives the same values for finite input.
    template <bool Diagonal>
    double AxisKey(const Position& p, int axis) const;
    template <bool Diagonal>
    double Distance(const Position& p) const;
    double Gap(double difference, double query) const;
    bool BallMisses(const double gap[3]) const;
    void SearchAllData(std::vector<CNeighbor>& neighbours) const;
    void NextStamp();
    void InsertSeeds(const std::vector<CNeighbor>& seeds);
    void Offer(const Entry& entry, double distance);
    void SetLimit(double limit);

    CSearchRules m_Rules;
    std::vector<Entry> m_Points;
    shr::Point3<double> m_Query;
    shr::Point3<double> m_TransformedQuery;
    double m_Limit;
    shr::Box3d m_SearchBox;
    // The candidate set: unordered while it holds fewer than MaxData rows
    // (the limit is then 1 and no worst is needed), from then on a max-heap on
    // (distance, row address) whose top is the worst candidate, the one an
    // ordered set would hold first.
    std::vector<CNeighbor> m_Neighbors;
    CAffineTransform m_AxisTransforms[3];
    VbProgress* m_Progress;
    bool m_Diagonal;

    // The seeds of a query carry its stamp in the tree: met again in the
    // walk, a seed is already a candidate (or was dropped as worse than all
    // candidates) and must not be offered twice.
    uint32_t m_Stamp;
    std::vector<uint32_t> m_TreeIndex; // table row -> tree position
    const CPointDatum* m_FirstRow;
    size_t m_RowCount;
};

} // namespace core
