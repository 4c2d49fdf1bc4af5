#include "core/gridding/CSearchEngine.h"

#include "core/network/VbProgress.h"
#include "shr/Exception.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>

namespace core {

namespace {

// The order of the candidate set: a is better than b when nearer, or equally
// near and earlier in the table. The heap keeps the worst on top.
struct BetterOrder {
    bool operator()(const CNeighbor& a, const CNeighbor& b) const
    {
        if (a.distance != b.distance)
            return a.distance < b.distance;
        return std::less<const CPointDatum*>()(a.datum, b.datum);
    }
};
constexpr BetterOrder Better{};

// Restores the heap after its top was replaced.
void SiftDownFromTop(std::vector<CNeighbor>& heap)
{
    const size_t n = heap.size();
    const CNeighbor moving = heap[0];
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

double OrderKey(double key)
{
    return std::isnan(key) ? std::numeric_limits<double>::infinity() : key;
}

// The tree depth whose finished subtrees report progress: 2^7 = 128 reports.
constexpr int kProgressDepth = 7;

// Subtrees of at most this many rows are read straight through: testing their
// nodes' boxes costs more than the distances it saves. Rows are offered in
// another order than the node walk would take, which leaves the answer as it
// is: it is the best MaxData rows by distance and table position, whatever
// order they come in.
constexpr size_t kBucketSize = 16;

} // namespace

CSearchEngine::CSearchEngine(const CSearchRules& rules, const CPointData& data)
    : m_Rules(rules), m_Limit(1.0), m_Progress(nullptr), m_Diagonal(rules.AffineTransform().IsDiagonal()),
      m_Stamp(0), m_FirstRow(data.empty() ? nullptr : &data[0]), m_RowCount(data.size())
{
    // Rows are held by 32-bit index; a point set never has more.
    if (data.size() > std::numeric_limits<uint32_t>::max())
        shr::ThrowSharedError("Core", __FILE__, __LINE__, 0, "Too many rows for the search engine.");
    for (int axis = 0; axis < 3; ++axis)
        m_AxisTransforms[axis] = rules.AffineTransform();
    m_Points.reserve(data.size());
    for (size_t r = 0; r < data.size(); ++r)
        m_Points.push_back({data[r], static_cast<uint32_t>(r), 0});
    if (m_Rules.AllData())
        return;
    VbProgress progress("Initializing the search engine.", 0, 500, 100);
    m_Progress = &progress;
    MakeTree(0, m_Points.size(), 0);
    m_Progress = nullptr;
    m_TreeIndex.resize(m_Points.size());
    for (size_t t = 0; t < m_Points.size(); ++t)
        m_TreeIndex[m_Points[t].row] = static_cast<uint32_t>(t);
}

CSearchEngine::~CSearchEngine() = default;

// A NaN coordinate would break the ordering the selection and the pruning rely
// on; it sorts as +infinity instead, beyond every finite row. Such a row is
// never found (its distance is not at most any limit), and finite rows keep
// their places.
template <bool Diagonal>
inline double CSearchEngine::AxisKey(const Position& p, int axis) const
{
    const CAffineTransform& t = m_AxisTransforms[axis];
    return OrderKey(Diagonal ? t.Forward()[4 * axis] * Coordinate(p, axis) : t.TransformAxis(p, axis));
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

void CSearchEngine::MakeTree(size_t first, size_t last, int depth)
{
    if (last - first < 2)
        return;
    const size_t middle = first + (last - first) / 2;
    const auto begin = m_Points.begin();
    const int axis = depth % 3;
    const double scale = m_AxisTransforms[axis].Forward()[4 * axis];
    if (m_Diagonal && scale > 0.0) {
        // A positive scale keeps the order of the raw coordinate, which is
        // cheaper to compare; rows of equal key may fall either way.
        std::nth_element(begin + first, begin + middle, begin + last, [axis](const Entry& a, const Entry& b) {
            return OrderKey(Coordinate(a.position, axis)) < OrderKey(Coordinate(b.position, axis));
        });
    } else {
        std::nth_element(begin + first, begin + middle, begin + last, [this, axis](const Entry& a, const Entry& b) {
            return AxisKey<false>(a.position, axis) < AxisKey<false>(b.position, axis);
        });
    }
    MakeTree(first, middle, depth + 1);
    MakeTree(middle + 1, last, depth + 1);
    if (depth == kProgressDepth && m_Progress)
        m_Progress->Update(static_cast<double>(last) / static_cast<double>(m_Points.size()));
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
    if (m_Rules.MaxData() <= 0) {
        neighbours.clear();
        return 0 >= m_Rules.MinData();
    }

    InsertSeeds(neighbours);
    const size_t maxData = static_cast<size_t>(m_Rules.MaxData());
    SetLimit(m_Neighbors.size() == maxData ? m_Neighbors.front().distance : 1.0);
    if (m_Points.empty()) {
        // nothing to walk
    } else if (!m_Diagonal) {
        shr::Box3d everywhere(-DBL_MAX, -DBL_MAX, -DBL_MAX, DBL_MAX, DBL_MAX, DBL_MAX);
        ScanNode(0, m_Points.size(), 0, everywhere);
    } else if (std::isfinite(m_TransformedQuery.X()) && std::isfinite(m_TransformedQuery.Y()) &&
               std::isfinite(m_TransformedQuery.Z())) {
        // (No row lies at a finite distance from a query that is not finite.)
        double gap[3] = {0.0, 0.0, 0.0};
        ScanDiagonal(0, m_Points.size(), 0, gap);
    }

    // Farthest first, nearest last.
    std::sort(m_Neighbors.begin(), m_Neighbors.end(), [](const CNeighbor& a, const CNeighbor& b) { return Better(b, a); });
    neighbours.assign(m_Neighbors.begin(), m_Neighbors.end());
    return static_cast<int32_t>(neighbours.size()) >= m_Rules.MinData();
}

void CSearchEngine::SearchAllData(std::vector<CNeighbor>& neighbours) const
{
    const CAffineTransform& transform = m_Rules.AffineTransform();
    neighbours.clear();
    neighbours.reserve(m_Points.size());
    for (const Entry& entry : m_Points)
        neighbours.emplace_back(transform.SquaredDistance(entry.position, m_Query), m_FirstRow + entry.row);
}

void CSearchEngine::NextStamp()
{
    if (++m_Stamp != 0)
        return;
    for (Entry& entry : m_Points)
        entry.stamp = 0;
    m_Stamp = 1;
}

void CSearchEngine::InsertSeeds(const std::vector<CNeighbor>& seeds)
{
    m_Neighbors.clear();
    NextStamp();
    const uintptr_t first = reinterpret_cast<uintptr_t>(m_FirstRow);
    const uintptr_t end = first + m_RowCount * sizeof(CPointDatum);
    for (const CNeighbor& seed : seeds) {
        // Only rows of this table can seed; anything else is ignored.
        const uintptr_t address = reinterpret_cast<uintptr_t>(seed.datum);
        if (address < first || address >= end || (address - first) % sizeof(CPointDatum) != 0)
            continue;
        Entry& entry = m_Points[m_TreeIndex[(address - first) / sizeof(CPointDatum)]];
        if (entry.stamp == m_Stamp)
            continue; // the same row twice: a set holds it once
        entry.stamp = m_Stamp;
        const double distance = m_Diagonal ? Distance<true>(entry.position) : Distance<false>(entry.position);
        if (distance <= 1.0)
            m_Neighbors.emplace_back(distance, m_FirstRow + entry.row);
    }
    const size_t maxData = static_cast<size_t>(m_Rules.MaxData());
    if (m_Neighbors.size() > maxData) {
        std::nth_element(m_Neighbors.begin(), m_Neighbors.begin() + static_cast<std::ptrdiff_t>(maxData),
                         m_Neighbors.end(), Better);
        m_Neighbors.resize(maxData);
    }
    if (m_Neighbors.size() == maxData)
        std::make_heap(m_Neighbors.begin(), m_Neighbors.end(), Better);
}

inline void CSearchEngine::SetLimit(double limit)
{
    m_Limit = limit;
    const double half = std::sqrt(limit);
    m_SearchBox.Set(m_TransformedQuery.X() - half, m_TransformedQuery.Y() - half, m_TransformedQuery.Z() - half,
                    m_TransformedQuery.X() + half, m_TransformedQuery.Y() + half, m_TransformedQuery.Z() + half);
}

// Every seed is already a candidate, or was dropped as worse than all of them;
// either way meeting it in the tree changes nothing. Once the set is full a
// newcomer that is not better than the worst would be inserted and dropped at
// once, so it is not inserted at all.
inline void CSearchEngine::Offer(const Entry& entry, double distance)
{
    if (!(distance <= m_Limit) || entry.stamp == m_Stamp)
        return;
    const CNeighbor candidate(distance, m_FirstRow + entry.row);
    const size_t maxData = static_cast<size_t>(m_Rules.MaxData());
    if (m_Neighbors.size() == maxData) {
        if (!Better(candidate, m_Neighbors.front()))
            return;
        m_Neighbors.front() = candidate;
        SiftDownFromTop(m_Neighbors);
    } else {
        m_Neighbors.push_back(candidate);
        if (m_Neighbors.size() != maxData)
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
            Offer(m_Points[i], Distance<false>(m_Points[i].position));
        return;
    }
    // Distance<true> with the query and the gram diagonal held in registers.
    const double qx = m_Query.X(), qy = m_Query.Y(), qz = m_Query.Z();
    const double* g = m_Rules.AffineTransform().Gram();
    const double gx = g[0], gy = g[4], gz = g[8];
    for (size_t i = first; i < last; ++i) {
        const Position& p = m_Points[i].position;
        const double dx = p.X() - qx;
        const double dy = p.Y() - qy;
        const double dz = p.Z() - qz;
        const double distance = dx * (gx * dx) + dy * (gy * dy) + dz * (gz * dz);
        if (distance <= m_Limit)
            Offer(m_Points[i], distance);
    }
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
    const Entry& entry = m_Points[middle];
    Offer(entry, Distance<false>(entry.position));

    const int axis = depth % 3;
    const double split = AxisKey<false>(entry.position, axis);
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
// distance and table position whatever order they come in.
void CSearchEngine::ScanDiagonal(size_t first, size_t last, int depth, double gap[3])
{
    if (last - first <= kBucketSize) {
        ScanBucket<true>(first, last);
        return;
    }
    const size_t middle = first + (last - first) / 2;
    const Entry& entry = m_Points[middle];
    Offer(entry, Distance<true>(entry.position));

    const int axis = depth % 3;
    const double split = AxisKey<true>(entry.position, axis);
    const double query = Coordinate(m_TransformedQuery, axis);
    const double saved = gap[axis];
    const double leftGap = query > split ? Gap(query - split, query) : saved;
    const double rightGap = query < split ? Gap(split - query, query) : saved;
    const bool leftFirst = !(query > split);
    for (int side = 0; side < 2; ++side) {
        const bool left = (side == 0) == leftFirst;
        const size_t from = left ? first : middle + 1;
        const size_t to = left ? middle : last;
        if (from == to)
            continue;
        gap[axis] = left ? leftGap : rightGap;
        if (!BallMisses(gap))
            ScanDiagonal(from, to, depth + 1, gap);
    }
    gap[axis] = saved;
}

} // namespace core
