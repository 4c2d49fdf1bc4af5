#include "core/gridding/CSearchEngine.h"

#include "core/network/VbProgress.h"
#include "shr/Exception.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <utility>

namespace core {

namespace {

// The order of the candidate set: a is better than b when nearer, or equally
// near and earlier in the table. The heap keeps the worst on top.
// Candidates carry their table row, answers the row's address: either
// orders the rows as the table does.
struct BetterOrder {
    bool operator()(const CNeighbor& a, const CNeighbor& b) const
    {
        if (a.distance != b.distance)
            return a.distance < b.distance;
        return std::less<const CPointDatum*>()(a.datum, b.datum);
    }
    template <class Candidate>
    bool operator()(const Candidate& a, const Candidate& b) const
    {
        if (a.distance != b.distance)
            return a.distance < b.distance;
        return a.row < b.row;
    }
};
constexpr BetterOrder Better{};

// Restores the heap after its top was replaced.
template <class Entry>
void SiftDownFromTop(std::vector<Entry>& heap)
{
    const size_t n = heap.size();
    const Entry moving = heap[0];
    size_t hole = 0;
    for (;;) {
        size_t child = 2 * hole + 1;
        if (child >= n)
            break;
        if (child + 1 < n && Better(heap[child], heap[child + 1]))
            ++child;
        if (!Better(moving, heap[child]))
            break;
        heap[hole] = heap[child];
        hole = child;
    }
    heap[hole] = moving;
}

bool BoxesIntersect(const shr::Box3d& a, const shr::Box3d& b)
{
    return a.min.x <= b.max.x && b.min.x <= a.max.x && a.min.y <= b.max.y && b.min.y <= a.max.y &&
           a.min.z <= b.max.z && b.min.z <= a.max.z;
}

double Coordinate(const shr::Point3<double>& p, int axis)
{
    return axis == 0 ? p.X() : axis == 1 ? p.Y() : p.Z();
}

// The tree depth whose finished subtrees report progress: 2^7 = 128 reports.
constexpr int kProgressDepth = 7;

// Subtrees of at most this many rows are left unsplit and read straight
// through: testing their nodes' boxes costs more than the distances it saves.
// Rows are offered in another order than a node walk would take, which leaves
// the answer as it is: it is the best MaxData rows by distance and table
// position, whatever order they come in.
constexpr size_t kBucketSize = 24;
// Answers of at most this many rows are sorted by insertion.
constexpr size_t kFewCandidates = 48;
// Deeper than any tree of at most 2^32 rows can be.
constexpr size_t kMaxDepth = 64;

// Relative widening of the search box of general transforms, far above the
// rounding of transformed coordinates, so that the box never loses a row the
// distance test would take: it only costs visits, never an answer.
constexpr double kBoxSlack = 1e-9;

// The largest sum of |forward| times |coordinate| over the axes of a point:
// a bound on the size of the terms of its transformed coordinates.
double TermBound(const CAffineTransform& t, const shr::Point3<double>& p)
{
    const double* f = t.Forward();
    const double* from = t.FromOrigin();
    const double d[3] = {std::fabs(p.X() - from[0]), std::fabs(p.Y() - from[1]), std::fabs(p.Z() - from[2])};
    double bound = 0.0;
    for (int axis = 0; axis < 3; ++axis) {
        const double* row = f + 3 * axis;
        const double terms = std::fabs(row[0]) * d[0] + std::fabs(row[1]) * d[1] + std::fabs(row[2]) * d[2] +
                             std::fabs(t.ToOrigin()[axis]);
        bound = terms > bound ? terms : bound;
    }
    return bound;
}

// The tree under construction: each row's key on the three transformed axes
// (the coordinate that orders the tree there) and its table index, permuted
// together by the selections.
class TreeBuilder {
public:
    TreeBuilder(const CAffineTransform& transform, const CPointData& data, VbProgress& progress)
        : m_Progress(progress), m_Size(data.size()), m_Splits(data.size())
    {
        const bool diagonal = transform.IsDiagonal();
        for (auto& keys : m_Keys)
            keys.resize(data.size());
        m_Rows.resize(data.size());
        for (size_t r = 0; r < data.size(); ++r) {
            for (int axis = 0; axis < 3; ++axis)
                m_Keys[axis][r] = Key(transform, diagonal, data[r], axis);
            m_Rows[r] = static_cast<uint32_t>(r);
            const double bound = TermBound(transform, data[r]);
            if (std::isfinite(bound) && bound > m_Terms)
                m_Terms = bound;
        }
        MakeTree(0, m_Size, 0);
    }

    std::vector<uint32_t>& Rows() { return m_Rows; }
    std::vector<double>& Splits() { return m_Splits; }
    double Terms() const { return m_Terms; }

private:
    // A NaN coordinate would break the ordering the selection and the
    // pruning rely on; it sorts as +infinity instead, beyond every finite
    // row. Such a row is never found (its distance is not at most any limit),
    // and finite rows keep their places. With a diagonal transform the zero
    // terms are left out, which gives the same values for finite input.
    static double Key(const CAffineTransform& t, bool diagonal, const shr::Point3<double>& p, int axis)
    {
        const double key = diagonal ? t.Forward()[4 * axis] * Coordinate(p, axis) : t.TransformAxis(p, axis);
        return std::isnan(key) ? std::numeric_limits<double>::infinity() : key;
    }

    void MakeTree(size_t first, size_t last, int depth)
    {
        if (last - first <= kBucketSize)
            return;
        const size_t middle = first + (last - first) / 2;
        const int axis = depth % 3;
        Select(first, middle, last, axis);
        m_Splits[middle] = m_Keys[axis][middle];
        MakeTree(first, middle, depth + 1);
        MakeTree(middle + 1, last, depth + 1);
        if (depth == kProgressDepth)
            m_Progress.Update(static_cast<double>(last) / static_cast<double>(m_Size));
    }

    void Swap(size_t a, size_t b)
    {
        std::swap(m_Keys[0][a], m_Keys[0][b]);
        std::swap(m_Keys[1][a], m_Keys[1][b]);
        std::swap(m_Keys[2][a], m_Keys[2][b]);
        std::swap(m_Rows[a], m_Rows[b]);
    }

    // Ranges of at most this many keys are finished by insertion.
    static constexpr size_t kFewKeys = 6;

    // Puts the element of rank `nth` of [first, last) in its sorted place by
    // the key of `axis`, no greater key before it and no smaller one after;
    // equal keys fall as they may. Quickselect on the key array alone, which
    // reads 8 bytes an element; a range that refuses to shrink goes to the
    // library's selection.
    void Select(size_t first, size_t nth, size_t last, int axis)
    {
        const double* k = m_Keys[axis].data();
        size_t lo = first, hi = last - 1;
        int rounds = 0;
        while (hi - lo > kFewKeys) {
            if (++rounds > 64) {
                SelectByOrder(lo, nth, hi + 1, axis);
                return;
            }
            const size_t mid = lo + (hi - lo) / 2;
            if (k[mid] < k[lo])
                Swap(mid, lo);
            if (k[hi] < k[lo])
                Swap(hi, lo);
            if (k[hi] < k[mid])
                Swap(hi, mid);
            const double pivot = k[mid];
            // k[lo] <= pivot <= k[hi] stop both scans inside the range.
            size_t i = lo, j = hi;
            PartitionBlocks(k, pivot, i, j);
            for (;;) {
                do
                    ++i;
                while (k[i] < pivot);
                do
                    --j;
                while (pivot < k[j]);
                if (i >= j)
                    break;
                Swap(i, j);
            }
            // [lo, j] holds keys up to the pivot, [j + 1, hi] from it on.
            if (nth <= j)
                hi = j;
            else
                lo = j + 1;
        }
        for (size_t i = lo + 1; i <= hi; ++i)
            for (size_t j = i; j > lo && k[j] < k[j - 1]; --j)
                Swap(j, j - 1);
    }

    // The bulk of a partition, a block of keys from each end at a time: the
    // keys that must cross (not below the pivot on the left, not above it on
    // the right, so equal keys spread to both sides) are listed without
    // branches, then swapped in pairs. Keeps [lo, i] <= pivot <= [j, hi]; a
    // block not yet cleared is left to the plain scans that follow.
    void PartitionBlocks(const double* k, double pivot, size_t& i, size_t& j)
    {
        constexpr size_t kBlock = 64;
        uint8_t left[kBlock], right[kBlock];
        size_t leftCount = 0, rightCount = 0, leftFirst = 0, rightFirst = 0;
        while (j - i - 1 >= 2 * kBlock) {
            if (leftCount == 0) {
                leftFirst = 0;
                for (size_t n = 0; n < kBlock; ++n) {
                    left[leftCount] = static_cast<uint8_t>(n);
                    leftCount += !(k[i + 1 + n] < pivot);
                }
            }
            if (rightCount == 0) {
                rightFirst = 0;
                for (size_t n = 0; n < kBlock; ++n) {
                    right[rightCount] = static_cast<uint8_t>(n);
                    rightCount += !(pivot < k[j - 1 - n]);
                }
            }
            const size_t pairs = std::min(leftCount, rightCount);
            for (size_t n = 0; n < pairs; ++n)
                Swap(i + 1 + left[leftFirst + n], j - 1 - right[rightFirst + n]);
            leftCount -= pairs;
            rightCount -= pairs;
            leftFirst += pairs;
            rightFirst += pairs;
            if (leftCount == 0)
                i += kBlock;
            if (rightCount == 0)
                j -= kBlock;
        }
    }

    void SelectByOrder(size_t first, size_t nth, size_t last, int axis)
    {
        std::vector<size_t> order(last - first);
        for (size_t n = 0; n < order.size(); ++n)
            order[n] = first + n;
        const std::vector<double>& k = m_Keys[axis];
        std::nth_element(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(nth - first), order.end(),
                         [&k](size_t a, size_t b) { return k[a] < k[b]; });
        std::vector<double> keys[3];
        std::vector<uint32_t> rows;
        for (size_t at : order) {
            for (int a = 0; a < 3; ++a)
                keys[a].push_back(m_Keys[a][at]);
            rows.push_back(m_Rows[at]);
        }
        for (int a = 0; a < 3; ++a)
            std::copy(keys[a].begin(), keys[a].end(), m_Keys[a].begin() + static_cast<std::ptrdiff_t>(first));
        std::copy(rows.begin(), rows.end(), m_Rows.begin() + static_cast<std::ptrdiff_t>(first));
    }

    VbProgress& m_Progress;
    size_t m_Size;
    std::vector<double> m_Keys[3];
    std::vector<uint32_t> m_Rows;
    std::vector<double> m_Splits;
    double m_Terms = 0.0;
};

} // namespace

struct CSearchEngine::Tree {
    std::vector<double> x, y, z;     // the rows' positions, in tree order

    Position At(size_t at) const { return Position(x[at], y[at], z[at]); }
    std::vector<uint32_t> rows;      // the table index of each
    std::vector<double> splits;      // each inner node's key on its axis
    double slack = 0.0;              // the box widening of general transforms for the rows' size
};

CSearchEngine::CSearchEngine(const CSearchRules& rules, const CPointData& data)
    : CSearchEngine(rules, data, nullptr)
{
}

CSearchEngine::CSearchEngine(const CSearchRules& rules, const CPointData& data, std::shared_ptr<const Tree> tree)
    : m_Rules(rules), m_Data(&data), m_Tree(std::move(tree)), m_Diagonal(rules.AffineTransform().IsDiagonal()),
      m_MaxData(rules.MaxData() > 0 ? static_cast<size_t>(rules.MaxData()) : 0), m_Limit(1.0)
{
    // Rows are held by 32-bit index; a point set never has more.
    if (data.size() > std::numeric_limits<uint32_t>::max())
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Too many rows for the search engine.");
    if (m_Rules.AllData() || m_Tree)
        return;
    VbProgress progress("Initializing the search engine.", 0, 500, 100);
    TreeBuilder builder(rules.AffineTransform(), data, progress);
    auto built = std::make_shared<Tree>();
    built->rows = std::move(builder.Rows());
    built->splits = std::move(builder.Splits());
    built->slack = kBoxSlack * (1.0 + builder.Terms());
    for (uint32_t row : built->rows) {
        built->x.push_back(data[row].X());
        built->y.push_back(data[row].Y());
        built->z.push_back(data[row].Z());
    }
    m_Tree = std::move(built);
}

CSearchEngine::~CSearchEngine() = default;

std::unique_ptr<CSearchEngine> CSearchEngine::Share() const
{
    return std::unique_ptr<CSearchEngine>(new CSearchEngine(m_Rules, *m_Data, m_Tree));
}

template <bool Diagonal>
inline double CSearchEngine::Distance(const Position& p) const
{
    const CAffineTransform& t = m_Rules.AffineTransform();
    if (!Diagonal)
        return t.SquaredDistance(p, m_Query);
    const double* g = t.Gram();
    const double dx = p.X() - m_Query.X();
    const double dy = p.Y() - m_Query.Y();
    const double dz = p.Z() - m_Query.Z();
    return dx * (g[0] * dx) + dy * (g[4] * dy) + dz * (g[8] * dz);
}

bool CSearchEngine::Search(const shr::Point3<double>& query, std::vector<CNeighbor>& neighbours)
{
    const CAffineTransform& transform = m_Rules.AffineTransform();
    m_Query = query;
    m_TransformedQuery = transform.Transform(query);
    if (m_Rules.AllData()) {
        SearchAllData(neighbours);
        return static_cast<int32_t>(neighbours.size()) >= m_Rules.MinData();
    }
    // With room for no row the answer is empty whatever the data; an ordered
    // set would then ask for the worst of no candidates, which has no value.
    if (m_MaxData == 0) {
        neighbours.clear();
        return 0 >= m_Rules.MinData();
    }

    m_Neighbors.clear();
    SetLimit(SeedLimit(neighbours));
    const size_t count = m_Tree->rows.size();
    if (count == 0) {
        // nothing to walk
    } else if (!m_Diagonal) {
        shr::Box3d everywhere(-DBL_MAX, -DBL_MAX, -DBL_MAX, DBL_MAX, DBL_MAX, DBL_MAX);
        ScanNode(0, count, 0, everywhere);
    } else if (std::isfinite(m_TransformedQuery.X()) && std::isfinite(m_TransformedQuery.Y()) &&
               std::isfinite(m_TransformedQuery.Z())) {
        // (No row lies at a finite distance from a query that is not finite.)
        ScanDiagonal(count);
    }

    // Farthest first, nearest last. The few rows of a usual answer are put in
    // order by insertion, which costs less than the library's sort there.
    const auto farther = [](const Candidate& a, const Candidate& b) { return Better(b, a); };
    if (m_Neighbors.size() <= kFewCandidates) {
        for (size_t i = 1; i < m_Neighbors.size(); ++i) {
            const Candidate moving = m_Neighbors[i];
            size_t j = i;
            for (; j > 0 && farther(moving, m_Neighbors[j - 1]); --j)
                m_Neighbors[j] = m_Neighbors[j - 1];
            m_Neighbors[j] = moving;
        }
    } else {
        std::sort(m_Neighbors.begin(), m_Neighbors.end(), farther);
    }
    neighbours.resize(m_Neighbors.size());
    m_LastAt.resize(m_Neighbors.size());
    for (size_t n = 0; n < m_Neighbors.size(); ++n) {
        neighbours[n] = CNeighbor(m_Neighbors[n].distance, &(*m_Data)[m_Neighbors[n].row]);
        m_LastAt[n] = m_Neighbors[n].at;
    }
    m_LastAnswer = neighbours.empty() ? nullptr : neighbours.data();
    return static_cast<int32_t>(neighbours.size()) >= m_Rules.MinData();
}

void CSearchEngine::SearchAllData(std::vector<CNeighbor>& neighbours) const
{
    const CAffineTransform& transform = m_Rules.AffineTransform();
    neighbours.clear();
    neighbours.reserve(m_Data->size());
    for (const CPointDatum& row : *m_Data)
        neighbours.emplace_back(transform.SquaredDistance(row, m_Query), &row);
}

// The limit the seeds allow: the distance of the MaxData-th best of them when
// there are that many distinct rows of the table within the ellipsoid, else
// 1. Every row of the answer lies within it, so the walk may start there with
// an empty set. Anything that is not a row of this table is ignored.
double CSearchEngine::SeedLimit(const std::vector<CNeighbor>& seeds)
{
    if (seeds.size() < m_MaxData || m_Data->empty())
        return 1.0;
    if (IsLastAnswer(seeds)) {
        // Distinct rows whose positions the tree holds at hand: the limit is
        // the farthest of them, if none has left the ellipsoid.
        double limit = 0.0;
        for (size_t at : m_LastAt) {
            const Position p = m_Tree->At(at);
            const double distance = m_Diagonal ? Distance<true>(p) : Distance<false>(p);
            if (!(distance <= 1.0))
                return 1.0;
            limit = distance > limit ? distance : limit;
        }
        return limit;
    }
    m_Seeds.clear();
    const uintptr_t first = reinterpret_cast<uintptr_t>(&(*m_Data)[0]);
    const uintptr_t end = first + m_Data->size() * sizeof(CPointDatum);
    for (const CNeighbor& seed : seeds) {
        const uintptr_t address = reinterpret_cast<uintptr_t>(seed.datum);
        if (address < first || address >= end || (address - first) % sizeof(CPointDatum) != 0)
            continue;
        const double distance = m_Diagonal ? Distance<true>(*seed.datum) : Distance<false>(*seed.datum);
        if (distance <= 1.0)
            m_Seeds.emplace_back(distance, seed.datum);
    }
    if (m_Seeds.size() < m_MaxData)
        return 1.0;
    // The same row twice counts once.
    std::sort(m_Seeds.begin(), m_Seeds.end(), Better);
    m_Seeds.erase(std::unique(m_Seeds.begin(), m_Seeds.end(),
                              [](const CNeighbor& a, const CNeighbor& b) { return a.datum == b.datum; }),
                  m_Seeds.end());
    return m_Seeds.size() < m_MaxData ? 1.0 : m_Seeds[m_MaxData - 1].distance;
}

// Whether the seeds are this engine's last answer, as a caller that walks a
// lattice passes it back: the same vector, of MaxData rows, unchanged.
bool CSearchEngine::IsLastAnswer(const std::vector<CNeighbor>& seeds) const
{
    if (seeds.data() != m_LastAnswer || seeds.size() != m_MaxData || m_LastAt.size() != m_MaxData)
        return false;
    const std::vector<uint32_t>& rows = m_Tree->rows;
    for (size_t n = 0; n < seeds.size(); ++n)
        if (seeds[n].datum != &(*m_Data)[rows[m_LastAt[n]]])
            return false;
    return true;
}

// General transforms prune by a box around the query, widened beyond the
// rounding of the coordinates; diagonal ones by the limit alone.
inline void CSearchEngine::SetLimit(double limit)
{
    m_Limit = limit;
    if (m_Diagonal)
        return;
    const double half = std::sqrt(limit) * (1.0 + kBoxSlack) + m_Tree->slack +
                        kBoxSlack * TermBound(m_Rules.AffineTransform(), m_Query);
    m_SearchBox.Set(m_TransformedQuery.X() - half, m_TransformedQuery.Y() - half, m_TransformedQuery.Z() - half,
                    m_TransformedQuery.X() + half, m_TransformedQuery.Y() + half, m_TransformedQuery.Z() + half);
}

// Once the set is full a newcomer that is not better than the worst would be
// inserted and dropped at once, so it is not inserted at all.
inline void CSearchEngine::Offer(size_t at, double distance)
{
    if (!(distance <= m_Limit))
        return;
    const Candidate candidate{distance, m_Tree->rows[at], static_cast<uint32_t>(at)};
    if (m_Neighbors.size() == m_MaxData) {
        if (!Better(candidate, m_Neighbors.front()))
            return;
        m_Neighbors.front() = candidate;
        SiftDownFromTop(m_Neighbors);
    } else {
        m_Neighbors.push_back(candidate);
        if (m_Neighbors.size() != m_MaxData)
            return;
        std::make_heap(m_Neighbors.begin(), m_Neighbors.end(), Better);
    }
    SetLimit(m_Neighbors.front().distance);
}

template <bool Diagonal>
void CSearchEngine::ScanBucket(size_t first, size_t last)
{
    if (!Diagonal) {
        for (size_t i = first; i < last; ++i)
            Offer(i, Distance<false>(m_Tree->At(i)));
        return;
    }
    // Distance<true> of the whole bucket first, in a loop the compiler runs
    // on vector registers (each lane the same IEEE operations), then the
    // offers in order.
    const double qx = m_Query.X(), qy = m_Query.Y(), qz = m_Query.Z();
    const double* g = m_Rules.AffineTransform().Gram();
    const double gx = g[0], gy = g[4], gz = g[8];
    const double* x = m_Tree->x.data() + first;
    const double* y = m_Tree->y.data() + first;
    const double* z = m_Tree->z.data() + first;
    const size_t count = last - first;
    double distances[kBucketSize];
    for (size_t n = 0; n < count; ++n) {
        const double dx = x[n] - qx;
        const double dy = y[n] - qy;
        const double dz = z[n] - qz;
        distances[n] = dx * (gx * dx) + dy * (gy * dy) + dz * (gz * dz);
    }
    for (size_t n = 0; n < count; ++n)
        if (distances[n] <= m_Limit)
            Offer(first + n, distances[n]);
}

void CSearchEngine::ScanNode(size_t first, size_t last, int depth, shr::Box3d& nodeBox)
{
    if (!BoxesIntersect(m_SearchBox, nodeBox))
        return;
    if (last - first <= kBucketSize) {
        ScanBucket<false>(first, last);
        return;
    }
    const size_t middle = first + (last - first) / 2;
    Offer(middle, Distance<false>(m_Tree->At(middle)));

    const int axis = depth % 3;
    const double split = m_Tree->splits[middle];
    if (first != middle) {
        const double saved = nodeBox.max[axis];
        nodeBox.max[axis] = split;
        ScanNode(first, middle, depth + 1, nodeBox);
        nodeBox.max[axis] = saved;
    }
    if (middle + 1 != last) {
        const double saved = nodeBox.min[axis];
        nodeBox.min[axis] = split;
        ScanNode(middle + 1, last, depth + 1, nodeBox);
        nodeBox.min[axis] = saved;
    }
}

// The distance from the query to a node's box along one axis, made smaller by
// a margin far above rounding, so that pruning by it never skips a row that
// the distance test could take: it only saves visits and changes no answer.
// A gap that cannot be computed counts as none.
inline double CSearchEngine::Gap(double difference, double query) const
{
    const double gap = difference - 1e-12 * (std::fabs(query) + difference + 1.0);
    return gap > 0.0 ? gap : 0.0;
}

// Whether a node lies wholly outside the ball of the current limit. With a
// diagonal transform the tree keys and the distances share their per-axis
// terms, so the ball is a sound test (the margin of Gap and here aside).
inline bool CSearchEngine::BallMisses(const double gap[3]) const
{
    return gap[0] * gap[0] + gap[1] * gap[1] + gap[2] * gap[2] > m_Limit * (1.0 + 1e-12);
}

// The child on the query's side is walked first: it holds the nearest rows,
// which shrink the limit before the far side is tested. The order changes
// which rows are offered, not the answer, which is the best MaxData rows by
// distance and table position whatever order they come in. A loop down the
// near side with the far sides kept on a stack, each tested against the limit
// as it then stands when its turn comes.
void CSearchEngine::ScanDiagonal(size_t count)
{
    struct Pending {
        size_t first, last;
        int depth;
        double gap[3];
    };
    // A walk down from the root keeps at most one far side per level.
    Pending stack[kMaxDepth];
    size_t pending = 0;
    stack[pending++] = {0, count, 0, {0.0, 0.0, 0.0}};
    while (pending > 0) {
        Pending node = stack[--pending];
        if (BallMisses(node.gap))
            continue;
        while (node.last - node.first > kBucketSize) {
            const size_t middle = node.first + (node.last - node.first) / 2;
            Offer(middle, Distance<true>(m_Tree->At(middle)));
            const int axis = node.depth % 3;
            const double split = m_Tree->splits[middle];
            const double query = Coordinate(m_TransformedQuery, axis);
            const bool leftNear = !(query > split);
            Pending far = node;
            ++far.depth;
            ++node.depth;
            if (leftNear) {
                far.first = middle + 1;
                node.last = middle;
                if (query < split)
                    far.gap[axis] = Gap(split - query, query);
            } else {
                far.last = middle;
                node.first = middle + 1;
                far.gap[axis] = Gap(query - split, query);
            }
            if (far.first != far.last && !BallMisses(far.gap))
                stack[pending++] = far;
        }
        if (node.first != node.last)
            ScanBucket<true>(node.first, node.last);
    }
}

} // namespace core
