#pragma once
// CSearchEngine: finds the rows of a CPointData inside a search ellipsoid, the
// MaxData nearest kept, millions of times per gridding run.
//
// The rows are organised as an implicit k-d tree in transformed space (where
// the ellipsoid is the unit sphere): a range [first, last) of the tree order
// is a subtree whose root is its middle element, split on transformed X, Y, Z
// by depth; subtrees of a few rows are left unsplit and read as a bucket. The
// tree is three arrays in tree order: the rows' positions (copied, so that a
// search never reads the scattered rows), their table indices, and each inner
// node's split value. The caller's previous answer seeds the next query:
// gridding walks its lattice so that consecutive nodes are neighbours, and
// the last neighbour list shrinks the search before the tree is entered.
//
// Answer: the rows at squared transformed distance at most 1, ordered by
// distance and then by position in the table (a later row counts as farther),
// the MaxData first of them kept; listed farthest first. With all data every
// row is returned in table order with its plain squared distance. The answer
// does not depend on the seeds, which only make it quicker to find.
//
// The engine does not own the table, which must outlive it unchanged. One
// engine belongs to one thread; Share gives another thread its own engine
// over the same tree.
#include "core/gridding/CNeighbor.h"
#include "core/gridding/CPointData.h"
#include "core/gridding/CSearchRules.h"
#include "shr/Box3d.h"
#include "shr/Point.h"

#include <cstddef>
#include <cstdint>
#include <memory>
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

    // Another engine with the same rules over the same data and tree, for
    // another thread; the tree is not built again.
    std::unique_ptr<CSearchEngine> Share() const;

private:
    struct Tree;
    using Position = shr::Point3<double>;

    CSearchEngine(const CSearchRules& rules, const CPointData& data, std::shared_ptr<const Tree> tree);

    // The walk for general transforms: prunes by the node's box in
    // transformed space, which it narrows in place and restores.
    void ScanNode(size_t first, size_t last, int depth, shr::Box3d& nodeBox);
    // The walk for diagonal transforms over the tree's `count` rows: prunes
    // by the distance from the query to each node's box, kept per axis.
    void ScanDiagonal(size_t count);
    template <bool Diagonal>
    void ScanBucket(size_t first, size_t last);

    // The squared transformed distance to the query. With a diagonal
    // transform the zero terms are left out, which gives the same values for
    // finite input.
    template <bool Diagonal>
    double Distance(const Position& p) const;
    double Gap(double difference, double query) const;
    bool BallMisses(const double gap[3]) const;
    void SearchAllData(std::vector<CNeighbor>& neighbours) const;
    double SeedLimit(const std::vector<CNeighbor>& seeds);
    bool IsLastAnswer(const std::vector<CNeighbor>& seeds) const;
    void Offer(size_t at, double distance);
    void SetLimit(double limit);

    CSearchRules m_Rules;
    const CPointData* m_Data;
    std::shared_ptr<const Tree> m_Tree;
    bool m_Diagonal;
    size_t m_MaxData;
    shr::Point3<double> m_Query;
    shr::Point3<double> m_TransformedQuery;
    double m_Limit;
    shr::Box3d m_SearchBox;
    // A row found: its table index and its place in the tree.
    struct Candidate {
        double distance;
        uint32_t row;
        uint32_t at;
    };
    // The candidate set: unordered while it holds fewer than MaxData rows,
    // from then on a max-heap on (distance, row address) whose top is the
    // worst candidate, the one an ordered set would hold first.
    std::vector<Candidate> m_Neighbors;
    std::vector<CNeighbor> m_Seeds; // scratch
    // The last answer, where it was written and the tree places of its rows,
    // so that seeds that are this answer need not be looked up in the table.
    const CNeighbor* m_LastAnswer = nullptr;
    std::vector<size_t> m_LastAt;
};

} // namespace core
