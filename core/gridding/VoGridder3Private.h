#pragma once
// The gridding methods behind VoGridder3: the value of one node from its
// neighbours (inverse distance, local polynomial, data metric) and the fill
// that walks a lattice in serpentine order, so that each node's neighbours
// seed the search of the next.
#include "core/gridding/CDataMetricRules.h"
#include "core/gridding/CInverseDistanceRules.h"
#include "core/gridding/CLocalPolynomialRules.h"
#include "core/gridding/CNeighbor.h"
#include "shr/Point.h"
#include "shr/RMatrix.h"

#include <vector>

namespace core {

class CPointData;
class CSearchRules;
class VdLattice;

namespace VoGridder3Private {

using Point = shr::Point3<double>;
using Neighbors = std::vector<CNeighbor>;

// Each Value computes the node value from a search answer; false means the
// node is blank.

bool InverseDistanceValue(const CInverseDistanceRules& rules, const Point& node, const Neighbors& neighbours,
                          double& value);

// Keeps its least-squares system between nodes.
class LocalPolynomialFit {
public:
    LocalPolynomialFit(const CLocalPolynomialRules& rules, const CAffineTransform& searchTransform);
    bool Value(const Point& node, const Neighbors& neighbours, double& value);

private:
    void FillRow(size_t row, const Point& node, const CNeighbor& neighbour);

    CLocalPolynomialRules m_Rules;
    CAffineTransform m_Transform;
    size_t m_Terms;
    shr::RMatrix m_Matrix;
    shr::RVector m_RightHandSide;
    shr::RVector m_Solution;
};

// Keeps its scratch vectors between nodes.
class DataMetric {
public:
    explicit DataMetric(const CDataMetricRules& rules) : m_Rules(rules) {}
    bool Value(const Point& node, const Neighbors& neighbours, double& value);

private:
    bool ValueStatistic(double& value);
    bool DistanceStatistic(const Point& node, const Neighbors& neighbours, double& value);
    // The element at `index` of `v` after a partial sort.
    static double Select(std::vector<double>& v, size_t index);
    double StandardDeviation(double mean) const;
    double SumOfSquaredDifferences(double mean) const;

    CDataMetricRules m_Rules;
    std::vector<double> m_Values;
    std::vector<double> m_Scratch;
};

// The fills: false when the user cancelled.
bool InverseDistanceFill(VdLattice& lattice, const CInverseDistanceRules& rules, const CSearchRules& search,
                         const CPointData& data);
bool LocalPolynomialFill(VdLattice& lattice, const CLocalPolynomialRules& rules, const CSearchRules& search,
                         const CPointData& data);
bool DataMetricFill(VdLattice& lattice, const CDataMetricRules& rules, const CSearchRules& search,
                    const CPointData& data);

} // namespace VoGridder3Private
} // namespace core
