#include "core/gridding/CSearchEngine.h"

#include "core/network/VbProgress.h"

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

double Coordinate(const CPointDatum& p, int axis)
{
    return axis == 0 ? p.X() : axis == 1 ? p.Y() : p.Z();
}

double OrderKey(double key)
{
    return std::isnan(key) ? std::numeric_limits<double>::infinity() : key;
}

// The tree depth whose finished subtrees report progress: 2^7 = 128 reports.
constexpr int kProgressDepth = 7;

} // namespace

CSearchEngine::CSearchEngine(const CSearchRules& rules, const CPointData& data)
    : m_Rules(rules), m_Limit(1.0), m_Progress(nullptr), m_Diagonal(rules.AffineTransform().IsDiagonal()),
      m_SeedMask(0), m_FirstRow(nullptr), m_EndRow(nullptr)
{
    for (int axis = 0; axis < 3; ++axis)
        m_AxisTransforms[axis] = rules.AffineTransform();
    m_Points.reserve(data.size());
    for (PointIterator row = data.begin(); row != data.end(); ++row)
        m_Points.push_back(row);
    if (!data.empty()) {
        m_FirstRow = &*data.begin();
        m_EndRow = m_FirstRow + data.size();
    }
    if (m_Rules.AllData())
        return;
    VbProgress progress("Initializing the search engine.", 0, 500, 100);
    m_Progress = &progress;
    MakeTree(m_Points.begin(), m_Points.end(), 0);
    m_Progress = nullptr;
}

CSearchEngine::~CSearchEngine() = default;

// A NaN coordinate would break the ordering the selection and the pruning rely
// on; it sorts as +infinity instead, beyond every finite row. Such a row is
// never found (its distance is not at most any limit), and finite rows keep
// their places.
template <bool Diagonal>
inline double CSearchEngine::AxisKey(const CPointDatum& p, int axis) const
{
    const CAffineTransform& t = m_AxisTransforms[axis];
    return OrderKey(Diagonal ? t.Forward()[4 * axis] * Coordinate(p, axis) : t.TransformAxis(p, axis));
}

template <bool Diagonal>
inline double CSearchEngine::Distance(const CPointDatum& p) const
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

void CSearchEngine::MakeTree(TreeIterator first, TreeIterator last, int depth)
{
    if (last - first < 2)
        return;
    const TreeIterator middle = first + (last - first) / 2;
    const int axis = depth % 3;
    const double scale = m_AxisTransforms[axis].Forward()[4 * axis];
    if (m_Diagonal && scale > 0.0) {
        // A positive scale keeps the order of the raw coordinate, which is
        // cheaper to compare; rows of equal key may fall either way.
        std::nth_element(first, middle, last, [axis](const PointIterator& a, const PointIterator& b) {
            return OrderKey(Coordinate(*a, axis)) < OrderKey(Coordinate(*b, axis));
        });
    } else {
        std::nth_element(first, middle, last, [this, axis](const PointIterator& a, const PointIterator& b) {
            return AxisKey<false>(*a, axis) < AxisKey<false>(*b, axis);
        });
    }
    MakeTree(first, middle, depth + 1);
    MakeTree(middle + 1, last, depth + 1);
    if (depth == kProgressDepth && m_Progress)
        m_Progress->Update(static_cast<double>(last - m_Points.begin()) / static_cast<double>(m_Points.size()));
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
    if (!m_Points.empty()) {
        const shr::Box3d everywhere(-DBL_MAX, -DBL_MAX, -DBL_MAX, DBL_MAX, DBL_MAX, DBL_MAX);
        Scan(m_Points.begin(), m_Points.end(), 0, everywhere);
    }

    // Farthest first, nearest last.
    std::sort_heap(m_Neighbors.begin(), m_Neighbors.end(), Better);
    neighbours.assign(m_Neighbors.rbegin(), m_Neighbors.rend());
    return static_cast<int32_t>(neighbours.size()) >= m_Rules.MinData();
}

void CSearchEngine::SearchAllData(std::vector<CNeighbor>& neighbours) const
{
    const CAffineTransform& transform = m_Rules.AffineTransform();
    neighbours.clear();
    neighbours.reserve(m_Points.size());
    for (const PointIterator& row : m_Points)
        neighbours.emplace_back(transform.SquaredDistance(*row, m_Query), &*row);
}

void CSearchEngine::InsertSeeds(const std::vector<CNeighbor>& seeds)
{
    m_Neighbors.clear();
    size_t tableSize = 0;
    if (!seeds.empty()) {
        tableSize = 16;
        while (tableSize < 2 * seeds.size())
            tableSize *= 2;
    }
    m_SeedTable.assign(tableSize, nullptr);
    m_SeedMask = tableSize ? tableSize - 1 : 0;

    const uintptr_t first = reinterpret_cast<uintptr_t>(m_FirstRow);
    const uintptr_t end = reinterpret_cast<uintptr_t>(m_EndRow);
    for (const CNeighbor& seed : seeds) {
        // Only rows of this table can seed; anything else is ignored.
        const uintptr_t address = reinterpret_cast<uintptr_t>(seed.datum);
        if (address < first || address >= end || (address - first) % sizeof(CPointDatum) != 0)
            continue;
        const CPointDatum* row = m_FirstRow + (address - first) / sizeof(CPointDatum);
        size_t slot = (static_cast<size_t>(row - m_FirstRow) * 0x9E3779B97F4A7C15ull >> 17) & m_SeedMask;
        while (m_SeedTable[slot] && m_SeedTable[slot] != row)
            slot = (slot + 1) & m_SeedMask;
        if (m_SeedTable[slot])
            continue; // the same row twice: a set holds it once
        m_SeedTable[slot] = row;
        const double distance = m_Diagonal ? Distance<true>(*row) : Distance<false>(*row);
        if (distance <= 1.0)
            m_Neighbors.emplace_back(distance, row);
    }
    std::make_heap(m_Neighbors.begin(), m_Neighbors.end(), Better);
    const size_t maxData = static_cast<size_t>(m_Rules.MaxData());
    while (m_Neighbors.size() > maxData)
        PopWorst();
}

inline bool CSearchEngine::IsSeed(const CPointDatum* p) const
{
    if (m_SeedTable.empty())
        return false;
    size_t slot = (static_cast<size_t>(p - m_FirstRow) * 0x9E3779B97F4A7C15ull >> 17) & m_SeedMask;
    while (m_SeedTable[slot]) {
        if (m_SeedTable[slot] == p)
            return true;
        slot = (slot + 1) & m_SeedMask;
    }
    return false;
}

void CSearchEngine::PopWorst()
{
    std::pop_heap(m_Neighbors.begin(), m_Neighbors.end(), Better);
    m_Neighbors.pop_back();
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
inline void CSearchEngine::Offer(const CPointDatum* p, double distance)
{
    if (!(distance <= m_Limit) || IsSeed(p))
        return;
    const CNeighbor candidate(distance, p);
    const size_t maxData = static_cast<size_t>(m_Rules.MaxData());
    if (m_Neighbors.size() == maxData) {
        if (!Better(candidate, m_Neighbors.front()))
            return;
        m_Neighbors.front() = candidate;
        SiftDownFromTop(m_Neighbors);
    } else {
        m_Neighbors.push_back(candidate);
        std::push_heap(m_Neighbors.begin(), m_Neighbors.end(), Better);
        if (m_Neighbors.size() != maxData)
            return;
    }
    SetLimit(m_Neighbors.front().distance);
}

void CSearchEngine::Scan(TreeIterator first, TreeIterator last, int depth, const shr::Box3d& nodeBox)
{
    shr::Box3d box = nodeBox;
    if (m_Diagonal)
        ScanNode<true>(first, last, depth, box);
    else
        ScanNode<false>(first, last, depth, box);
}

// Whether the node lies wholly outside the ball of the current limit, which the
// box test alone cannot see near the corners of the search box. The test
// leaves a margin far above rounding on every gap and on the sum, so that it
// never skips a row that the distance test could take: it only saves visits
// and changes no answer. Used with diagonal transforms, whose tree keys and
// distances share the same per-axis terms.
inline bool CSearchEngine::BallMisses(const shr::Box3d& nodeBox) const
{
    const double query[3] = {m_TransformedQuery.X(), m_TransformedQuery.Y(), m_TransformedQuery.Z()};
    double sum = 0.0;
    for (int axis = 0; axis < 3; ++axis) {
        double gap = 0.0;
        if (nodeBox.min[axis] > query[axis])
            gap = nodeBox.min[axis] - query[axis];
        else if (query[axis] > nodeBox.max[axis])
            gap = query[axis] - nodeBox.max[axis];
        gap -= 1e-12 * (std::fabs(query[axis]) + gap + 1.0);
        if (gap > 0.0)
            sum += gap * gap;
    }
    return sum > m_Limit * (1.0 + 1e-12);
}

template <bool Diagonal>
void CSearchEngine::ScanNode(TreeIterator first, TreeIterator last, int depth, shr::Box3d& nodeBox)
{
    if (!BoxesIntersect(m_SearchBox, nodeBox) || (Diagonal && BallMisses(nodeBox)))
        return;
    const TreeIterator middle = first + (last - first) / 2;
    const CPointDatum& row = **middle;
    Offer(&row, Distance<Diagonal>(row));

    const int axis = depth % 3;
    const double split = AxisKey<Diagonal>(row, axis);
    if (first != middle) {
        const double saved = nodeBox.max[axis];
        nodeBox.max[axis] = split;
        ScanNode<Diagonal>(first, middle, depth + 1, nodeBox);
        nodeBox.max[axis] = saved;
    }
    if (middle + 1 != last) {
        const double saved = nodeBox.min[axis];
        nodeBox.min[axis] = split;
        ScanNode<Diagonal>(middle + 1, last, depth + 1, nodeBox);
        nodeBox.min[axis] = saved;
    }
}

} // namespace core
