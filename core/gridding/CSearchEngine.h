#pragma once
// CSearchEngine: finds the rows of a CPointData inside a search ellipsoid, the
// MaxData nearest kept, millions of times per gridding run.
//
// The rows are organised as an implicit k-d tree in transformed space (where
// the ellipsoid is the unit sphere) that lives in one array of row iterators:
// a range [first, last) is a subtree whose root is its middle element, split on
// transformed X, Y, Z by depth. The caller's previous answer seeds the next
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
    using PointIterator = CPointData::const_iterator;
    using TreeIterator = std::vector<PointIterator>::iterator;

    void MakeTree(TreeIterator first, TreeIterator last, int depth);
    void Scan(TreeIterator first, TreeIterator last, int depth, const shr::Box3d& nodeBox);
    // Scan's recursion; it narrows nodeBox in place and restores it.
    template <bool Diagonal>
    void ScanNode(TreeIterator first, TreeIterator last, int depth, shr::Box3d& nodeBox);

    // The transformed coordinate that orders the tree on `axis`, and the
    // squared transformed distance to the query. With a diagonal transform the
    // zero terms are left out, which gives the same values for finite input.
    template <bool Diagonal>
    double AxisKey(const CPointDatum& p, int axis) const;
    template <bool Diagonal>
    double Distance(const CPointDatum& p) const;
    bool BallMisses(const shr::Box3d& nodeBox) const;
    void SearchAllData(std::vector<CNeighbor>& neighbours) const;
    void InsertSeeds(const std::vector<CNeighbor>& seeds);
    bool IsSeed(const CPointDatum* p) const;
    void Offer(const CPointDatum* p, double distance);
    void SetLimit(double limit);
    void PopWorst();

    CSearchRules m_Rules;
    std::vector<PointIterator> m_Points;
    shr::Point3<double> m_Query;
    shr::Point3<double> m_TransformedQuery;
    double m_Limit;
    shr::Box3d m_SearchBox;
    // The candidate set: a max-heap on (distance, row address), so its top is
    // the worst candidate, the one an ordered set would hold first.
    std::vector<CNeighbor> m_Neighbors;
    CAffineTransform m_AxisTransforms[3];
    VbProgress* m_Progress;
    bool m_Diagonal;

    // Rows of the current query's seeds, an open-addressing table: a seed met
    // again in the tree is already a candidate (or was dropped as worse than
    // all candidates) and must not be offered twice.
    std::vector<const CPointDatum*> m_SeedTable;
    size_t m_SeedMask;
    const CPointDatum* m_FirstRow;
    const CPointDatum* m_EndRow;
};

} // namespace core
