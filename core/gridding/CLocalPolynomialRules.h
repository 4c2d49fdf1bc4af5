#pragma once
// CLocalPolynomialRules: the settings of a local polynomial gridding: the
// polynomial order (0 to 3) and the exponent of the weight that falls to zero
// at the edge of the search ellipsoid.
#include <cstdint>

namespace core {

struct CLocalPolynomialRules {
    CLocalPolynomialRules() = default;
    CLocalPolynomialRules(int component_, int order_, double power_) : component(component_), order(order_), power(power_) {}

    // Number of monomials of a polynomial of `order` in three variables: 1, 4, 10, 20.
    static int TermCount(int order) { return (order + 1) * (order + 2) * (order + 3) / 6; }

    int32_t component = 0;
    int32_t order = 1;
    double power = 1.0;
};

} // namespace core
