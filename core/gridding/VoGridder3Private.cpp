#include "core/gridding/VoGridder3Private.h"

#include "core/data/ParallelFor.h"
#include "core/data/PrimConvert.h"
#include "core/data/VdLattice.h"
#include "core/gridding/CPointData.h"
#include "core/gridding/CSearchEngine.h"
#include "core/gridding/CSearchRules.h"
#include "core/network/VbProgress.h"
#include "shr/LeastSquares.h"
#include "shr/MathUtil.h"

#include <algorithm>
#include <atomic>
#include <cfloat>
#include <cmath>
#include <limits>
#include <memory>
#include <mutex>
#include <thread>

namespace core {
namespace VoGridder3Private {

namespace {

// The floor of a weight's denominator: the smallest normal float. A datum on
// a node gets weight 1 / FLT and dominates without a special case.
constexpr double kWeightFloor = 1.1754943508222875e-38;
// Beyond this power the weights underflow: the nearest datum decides.
constexpr double kNearestPower = 100.0;

double Component(const CNeighbor& neighbour, int component)
{
    return neighbour.datum->W(static_cast<size_t>(component));
}

double SquaredWorldDistance(const Point& a, const Point& b)
{
    const double dx = a.X() - b.X();
    const double dy = a.Y() - b.Y();
    const double dz = a.Z() - b.Z();
    return dx * dx + dy * dy + dz * dz;
}

// A neighbour's position and selected value, read from its row of the table.
class TableRows {
public:
    explicit TableRows(int component) : m_Component(component) {}
    const Point& Position(const CNeighbor& n) const { return *n.datum; }
    double Value(const CNeighbor& n) const { return Component(n, m_Component); }

private:
    int m_Component;
};

// The same numbers from a copy of the table that holds the position and the
// selected value of each row side by side: one cache line a neighbour where
// the table's rows and their value arrays lie apart.
class CompactRows {
public:
    CompactRows(const CPointData& data, int component) : m_First(data.empty() ? nullptr : &data[0])
    {
        m_Rows.resize(4 * data.size());
        ParallelFor(data.size(), 1 << 12, [&](size_t r) {
            const CPointDatum& row = data[r];
            double* out = &m_Rows[4 * r];
            out[0] = row.X();
            out[1] = row.Y();
            out[2] = row.Z();
            out[3] = row.W(static_cast<size_t>(component));
        });
    }
    Point Position(const CNeighbor& n) const
    {
        const double* row = Row(n);
        return Point(row[0], row[1], row[2]);
    }
    double Value(const CNeighbor& n) const { return Row(n)[3]; }

private:
    const double* Row(const CNeighbor& n) const { return &m_Rows[4 * static_cast<size_t>(n.datum - m_First)]; }

    const CPointDatum* m_First;
    std::vector<double> m_Rows;
};

template <class Rows>
bool MeanValue(const Rows& rows, const Neighbors& neighbours, double& value)
{
    double sum = 0.0;
    for (const CNeighbor& n : neighbours)
        sum += rows.Value(n);
    value = sum / static_cast<double>(neighbours.size());
    return true;
}

// The mean over the rows tied for nearest under the anisotropy.
template <class Rows>
bool NearestValue(const CInverseDistanceRules& rules, const Rows& rows, const Point& node, const Neighbors& neighbours,
                  double& value)
{
    double nearest = DBL_MAX;
    double sum = 0.0;
    double count = 0.0;
    for (const CNeighbor& n : neighbours) {
        const double d2 = rules.transform.SquaredDistance(node, rows.Position(n));
        if (d2 < nearest) {
            nearest = d2;
            sum = rows.Value(n);
            count = 1.0;
        } else if (d2 == nearest) {
            sum += rows.Value(n);
            count += 1.0;
        }
    }
    if (count == 0.0)
        return false;
    value = sum / count;
    return true;
}

template <class Rows>
bool WeightedValue(const CInverseDistanceRules& rules, const Rows& rows, const Point& node, const Neighbors& neighbours,
                   double& value)
{
    const bool square = rules.power == 2.0;
    const double halfPower = rules.power / 2.0;
    double numerator = 0.0;
    double denominator = 0.0;
    for (const CNeighbor& n : neighbours) {
        const double d2 = rules.transform.SquaredDistance(node, rows.Position(n));
        const double powered = square ? d2 : std::pow(d2, halfPower);
        const double divisor = std::max(powered + rules.smooth, kWeightFloor);
        numerator += rows.Value(n) / divisor;
        denominator += 1.0 / divisor;
    }
    if (denominator < kWeightFloor)
        return false;
    value = numerator / denominator;
    return true;
}

template <class Rows>
bool InverseDistanceFrom(const CInverseDistanceRules& rules, const Rows& rows, const Point& node,
                         const Neighbors& neighbours, double& value)
{
    if (neighbours.empty())
        return false;
    if (rules.power == 0.0)
        return MeanValue(rows, neighbours, value);
    if (rules.power > kNearestPower)
        return NearestValue(rules, rows, node, neighbours, value);
    return WeightedValue(rules, rows, node, neighbours, value);
}

// Writes the node values of a lattice of any element type.
class LatticeWriter {
public:
    explicit LatticeWriter(VdLattice& lattice)
        : m_Lattice(lattice), m_Store(lattice.DataWritePtr()), m_Components(lattice.ComponentCount())
    {
    }

    // The lattices the gridder writes are new, with no blanks to lift, so a
    // value goes straight into the store.
    void Write(uint32_t tuple, double value)
    {
        DispatchPrimType(m_Lattice.DataType(), [&](auto tag) {
            using Element = typename decltype(tag)::Type;
            Element* first = static_cast<Element*>(m_Store) + uint64_t(tuple) * m_Components;
            std::fill(first, first + m_Components, PrimConvert<Element>(value));
        });
    }

private:
    VdLattice& m_Lattice;
    void* m_Store;
    unsigned m_Components;
};

// The rows of nodes (k, j-step) in the walk's order, shared out to TBB
// workers in runs of consecutive rows. Each run walks its rows in the
// serpentine order with an engine of its own over the one tree, seeded by its
// own first search. A search answer does not depend on its seeds, so every
// node gets the value the single walk gives it, at any thread count.
class RowWalk {
public:
    RowWalk(VdLattice& lattice, const char* text, const CSearchRules& search, const CPointData& data)
        : m_Lattice(lattice), m_Progress(text, 1, 500, 100), m_Engine(search, data), m_Writer(lattice),
          m_Caller(std::this_thread::get_id())
    {
        lattice.GetDims(m_Nx, m_Ny, m_Nz);
    }

    // `makeValue()` gives each run its own node value function, whose
    // scratch memory then stays on one thread.
    template <class MakeNodeValue>
    bool Run(const MakeNodeValue& makeValue)
    {
        const size_t rows = size_t(m_Nz) * m_Ny;
        if (rows == 0 || m_Nx == 0) {
            m_Lattice.DataModified();
            return true;
        }
        std::vector<std::vector<uint32_t>> blanks;
        std::mutex blanksLock;
        tbb::task_group_context context;
        ParallelForRanges(rows, std::max<size_t>(1, rows / 256), [&](const tbb::blocked_range<size_t>& run) {
            auto nodeValue = makeValue();
            std::vector<uint32_t> runBlanks;
            WalkRows(run.begin(), run.end(), nodeValue, runBlanks);
            const std::lock_guard<std::mutex> lock(blanksLock);
            blanks.push_back(std::move(runBlanks));
        }, context);
        if (m_Stop.load())
            return false;
        // The blank mask is shared by neighbouring nodes: it is written here,
        // on one thread.
        for (const std::vector<uint32_t>& run : blanks)
            for (uint32_t tuple : run)
                m_Lattice.SetBlank(tuple % m_Nx, tuple / m_Nx % m_Ny, tuple / m_Nx / m_Ny);
        m_Lattice.DataModified();
        return true;
    }

private:
    template <class NodeValue>
    void WalkRows(size_t first, size_t last, NodeValue& nodeValue, std::vector<uint32_t>& blanks)
    {
        const std::unique_ptr<CSearchEngine> engine = m_Engine.Share();
        Neighbors neighbours;
        for (size_t row = first; row < last; ++row) {
            if (!NextRow())
                return;
            const auto k = static_cast<unsigned>(row / m_Ny);
            const auto jStep = static_cast<unsigned>(row % m_Ny);
            const unsigned j = k % 2 == 0 ? jStep : m_Ny - 1 - jStep;
            for (unsigned iStep = 0; iStep < m_Nx; ++iStep) {
                const unsigned i = j % 2 == 0 ? iStep : m_Nx - 1 - iStep;
                const shr::Vec3d xyz = m_Lattice.IJKToXYZ(i, j, k);
                const Point node(xyz[0], xyz[1], xyz[2]);
                double value = 0.0;
                const uint32_t tuple = m_Lattice.Index(i, j, k);
                if (engine->Search(node, neighbours) && nodeValue(node, neighbours, value))
                    m_Writer.Write(tuple, value);
                else
                    blanks.push_back(tuple);
            }
        }
    }

    // Progress is reported from the calling thread only; its false answer
    // stops every run at its next row.
    bool NextRow()
    {
        const size_t done = m_Done.fetch_add(1, std::memory_order_relaxed);
        if (std::this_thread::get_id() == m_Caller) {
            if (!m_Progress.Update(static_cast<double>(done) / (static_cast<double>(m_Nz) * m_Ny)))
                m_Stop.store(true, std::memory_order_relaxed);
        }
        return !m_Stop.load(std::memory_order_relaxed);
    }

    VdLattice& m_Lattice;
    VbProgress m_Progress;
    CSearchEngine m_Engine;
    LatticeWriter m_Writer;
    unsigned m_Nx = 0, m_Ny = 0, m_Nz = 0;
    std::thread::id m_Caller;
    std::atomic<size_t> m_Done{0};
    std::atomic<bool> m_Stop{false};
};

template <class MakeNodeValue>
bool Fill(VdLattice& lattice, const char* text, const CSearchRules& search, const CPointData& data,
          const MakeNodeValue& makeValue)
{
    RowWalk walk(lattice, text, search, data);
    return walk.Run(makeValue);
}

} // namespace

// ---- inverse distance ---------------------------------------------------------

bool InverseDistanceValue(const CInverseDistanceRules& rules, const Point& node, const Neighbors& neighbours,
                          double& value)
{
    return InverseDistanceFrom(rules, TableRows(rules.component), node, neighbours, value);
}

// ---- local polynomial ---------------------------------------------------------

LocalPolynomialFit::LocalPolynomialFit(const CLocalPolynomialRules& rules, const CAffineTransform& searchTransform)
    : m_Rules(rules),
      m_Transform(searchTransform),
      m_Terms(static_cast<size_t>(CLocalPolynomialRules::TermCount(rules.order)))
{
}

bool LocalPolynomialFit::Value(const Point& node, const Neighbors& neighbours, double& value)
{
    const size_t count = neighbours.size();
    if (count < m_Terms)
        return false;
    m_Matrix.Resize(count, m_Terms);
    m_RightHandSide.Resize(count);
    for (size_t row = 0; row < count; ++row)
        FillRow(row, node, neighbours[row]);
    if (!shr::MGSLeastSquares(m_Matrix, m_Solution, m_RightHandSide))
        return false;
    // The coordinates are centred on the node, so the constant term is the
    // polynomial's value there.
    value = m_Solution[0];
    return true;
}

void LocalPolynomialFit::FillRow(size_t row, const Point& node, const CNeighbor& neighbour)
{
    const Point d = m_Transform.TransformDifference(node, *neighbour.datum);
    const double x = d.X(), y = d.Y(), z = d.Z();
    const double w = std::pow(std::max(1.0 - std::sqrt(neighbour.distance), 0.0), m_Rules.power);
    const double monomials[20] = {1.0,       x,         y,         z,         x * x,     x * y,        x * z,
                                  y * y,     y * z,     z * z,     x * x * x, x * x * y, x * x * z,    x * y * y,
                                  x * y * z, x * z * z, y * y * y, y * y * z, y * z * z, z * z * z};
    double* out = m_Matrix[row];
    for (size_t term = 0; term < m_Terms; ++term)
        out[term] = w * monomials[term];
    m_RightHandSide[row] = w * Component(neighbour, m_Rules.component);
}

// ---- data metrics ---------------------------------------------------------------

bool DataMetric::Value(const Point& node, const Neighbors& neighbours, double& value)
{
    const size_t n = neighbours.size();
    if (m_Rules.Metric() == CDataMetricRules::Count) {
        value = static_cast<double>(n);
        return true;
    }
    if (n == 0)
        return false;
    if (m_Rules.Metric() >= CDataMetricRules::Density)
        return DistanceStatistic(node, neighbours, value);
    m_Values.clear();
    for (const CNeighbor& neighbour : neighbours)
        m_Values.push_back(Component(neighbour, m_Rules.Index()));
    return ValueStatistic(value);
}

double DataMetric::Select(std::vector<double>& v, size_t index)
{
    std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(index), v.end());
    return v[index];
}

double DataMetric::SumOfSquaredDifferences(double mean) const
{
    double s = 0.0;
    for (double v : m_Values)
        s += (v - mean) * (v - mean);
    return s;
}

double DataMetric::StandardDeviation(double mean) const
{
    const double n = static_cast<double>(m_Values.size());
    const double s = SumOfSquaredDifferences(mean);
    if (m_Values.size() == 1 || !(s > 0.0) || !(s / n > 0.0))
        return 0.0;
    return std::sqrt(s / n);
}

bool DataMetric::ValueStatistic(double& value)
{
    std::vector<double>& v = m_Values;
    const size_t n = v.size();
    const double count = static_cast<double>(n);
    const auto [smallest, largest] = std::minmax_element(v.begin(), v.end());
    double sum = 0.0, sumOfSquares = 0.0;
    for (double x : v) {
        sum += x;
        sumOfSquares += x * x;
    }
    const double mean = sum / count;
    switch (m_Rules.Metric()) {
    case CDataMetricRules::Minimum: value = *smallest; return true;
    case CDataMetricRules::Maximum: value = *largest; return true;
    case CDataMetricRules::Range: value = *largest - *smallest; return true;
    case CDataMetricRules::Midrange: value = (*largest + *smallest) * 0.5; return true;
    case CDataMetricRules::LowerQuartile: value = Select(v, n / 4); return true;
    case CDataMetricRules::Median: value = Select(v, n / 2); return true;
    case CDataMetricRules::UpperQuartile: value = Select(v, (3 * n) / 4); return true;
    case CDataMetricRules::InterQuartileRange: {
        const double upper = Select(v, (3 * n) / 4);
        value = upper - Select(v, n / 4);
        return true;
    }
    case CDataMetricRules::Mean: value = mean; return true;
    case CDataMetricRules::StandardDeviation: value = StandardDeviation(mean); return true;
    case CDataMetricRules::Variance: {
        const double s = SumOfSquaredDifferences(mean);
        value = (n == 1 || !(s > 0.0)) ? 0.0 : s / count;
        return true;
    }
    case CDataMetricRules::CoefficientOfVariation:
        if (n == 1) {
            value = 0.0;
            return true;
        }
        if (!(mean > 0.0))
            return false;
        value = StandardDeviation(mean) / mean;
        return true;
    case CDataMetricRules::Sum: value = sum; return true;
    case CDataMetricRules::MedianAbsoluteDeviation: {
        if (n == 1) {
            value = 0.0;
            return true;
        }
        const double median = Select(v, n / 2);
        m_Scratch.clear();
        for (double x : v)
            m_Scratch.push_back(std::fabs(x - median));
        value = Select(m_Scratch, n / 2);
        return true;
    }
    case CDataMetricRules::RootMeanSquare:
        value = sumOfSquares > 0.0 ? std::sqrt(sumOfSquares / count) : 0.0;
        return true;
    default: return false;
    }
}

bool DataMetric::DistanceStatistic(const Point& node, const Neighbors& neighbours, double& value)
{
    m_Scratch.clear();
    for (const CNeighbor& neighbour : neighbours)
        m_Scratch.push_back(SquaredWorldDistance(node, *neighbour.datum));
    const size_t n = m_Scratch.size();
    const double infinity = std::numeric_limits<double>::infinity();
    switch (m_Rules.Metric()) {
    case CDataMetricRules::Density: {
        // A planar density: the count over the disc reaching the farthest datum.
        const double r = *std::max_element(m_Scratch.begin(), m_Scratch.end());
        value = static_cast<double>(n) / (shr::ONE_PI * std::max(r, 0.0));
        return true;
    }
    case CDataMetricRules::Nearest: {
        const double r = std::min(infinity, *std::min_element(m_Scratch.begin(), m_Scratch.end()));
        value = r > 0.0 ? std::sqrt(r) : 0.0;
        return true;
    }
    case CDataMetricRules::Farthest: {
        // Starts, like Nearest, at +infinity and keeps the greater value, so
        // it stays there: the established result, kept as it is.
        double r = infinity;
        for (double d2 : m_Scratch)
            r = std::max(r, d2);
        value = r > 0.0 ? std::sqrt(r) : 0.0;
        return true;
    }
    case CDataMetricRules::MedianDistance: value = std::sqrt(Select(m_Scratch, n / 2)); return true;
    case CDataMetricRules::AverageDistance: {
        double sum = 0.0;
        for (double d2 : m_Scratch)
            sum += std::sqrt(d2);
        value = sum / static_cast<double>(n);
        return true;
    }
    default: return false;
    }
}

// ---- the fills --------------------------------------------------------------------

bool InverseDistanceFill(VdLattice& lattice, const CInverseDistanceRules& rules, const CSearchRules& search,
                         const CPointData& data)
{
    const CompactRows rows(data, rules.component);
    return Fill(lattice, "Gridding with inverse distance...", search, data, [&rules, &rows] {
        return [&rules, &rows](const Point& node, const Neighbors& neighbours, double& value) {
            return InverseDistanceFrom(rules, rows, node, neighbours, value);
        };
    });
}

bool LocalPolynomialFill(VdLattice& lattice, const CLocalPolynomialRules& rules, const CSearchRules& search,
                         const CPointData& data)
{
    return Fill(lattice, "Gridding with local polynomial...", search, data, [&rules, &search] {
        return [fit = LocalPolynomialFit(rules, search.AffineTransform())](
                   const Point& node, const Neighbors& neighbours, double& value) mutable {
            return fit.Value(node, neighbours, value);
        };
    });
}

bool DataMetricFill(VdLattice& lattice, const CDataMetricRules& rules, const CSearchRules& search,
                    const CPointData& data)
{
    return Fill(lattice, "Gridding with data metrics...", search, data, [&rules] {
        return [metric = DataMetric(rules)](const Point& node, const Neighbors& neighbours, double& value) mutable {
            return metric.Value(node, neighbours, value);
        };
    });
}

} // namespace VoGridder3Private
} // namespace core
