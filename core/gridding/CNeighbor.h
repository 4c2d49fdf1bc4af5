#pragma once
// CNeighbor: one answer of a neighbour search. The distance is squared and
// taken in the space where the search ellipsoid is the unit sphere, so it is
// at most 1 for every row the ellipsoid holds; it is not a world distance.
namespace core {

class CPointDatum;

struct CNeighbor {
    CNeighbor() : distance(0.0), datum(nullptr) {}
    CNeighbor(double d, const CPointDatum* p) : distance(d), datum(p) {}

    double distance;
    const CPointDatum* datum; // not owned: a row of the searched CPointData
};

} // namespace core
