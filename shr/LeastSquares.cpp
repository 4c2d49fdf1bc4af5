#include "shr/LeastSquares.h"

#include "shr/RMatrix.h"

#include <cmath>
#include <vector>

namespace shr {

namespace {

// A column below this fraction of its original length, once the earlier
// directions are taken out of it, counts as dependent on them.
constexpr double kRankTolerance = 1e-12;

double ColumnDot(const RMatrix& a, size_t c1, size_t c2)
{
    double sum = 0.0;
    for (size_t r = 0; r < a.Rows(); ++r)
        sum += a(r, c1) * a(r, c2);
    return sum;
}

double ColumnDotVector(const RMatrix& a, size_t c, const RVector& v)
{
    double sum = 0.0;
    for (size_t r = 0; r < a.Rows(); ++r)
        sum += a(r, c) * v[r];
    return sum;
}

// Column c2 -= s * column c1.
void SubtractColumn(RMatrix& a, size_t c2, size_t c1, double s)
{
    for (size_t r = 0; r < a.Rows(); ++r)
        a(r, c2) -= s * a(r, c1);
}

// Turns the columns of A into Q and fills the upper triangle R (n x n, row
// major), so that A = Q R. False when a column is (numerically) dependent.
bool Orthogonalise(RMatrix& a, std::vector<double>& rmat)
{
    const size_t n = a.Cols();
    std::vector<double> originalNorm(n);
    for (size_t c = 0; c < n; ++c)
        originalNorm[c] = std::sqrt(ColumnDot(a, c, c));

    for (size_t k = 0; k < n; ++k) {
        const double norm = std::sqrt(ColumnDot(a, k, k));
        if (!(norm > kRankTolerance * originalNorm[k]) || !std::isfinite(norm))
            return false;
        rmat[k * n + k] = norm;
        for (size_t r = 0; r < a.Rows(); ++r)
            a(r, k) /= norm;
        for (size_t j = k + 1; j < n; ++j) {
            const double rkj = ColumnDot(a, k, j);
            rmat[k * n + j] = rkj;
            SubtractColumn(a, j, k, rkj);
        }
    }
    return true;
}

} // namespace

bool MGSLeastSquares(RMatrix& A, RVector& solution, RVector& rightHandSide)
{
    const size_t m = A.Rows(), n = A.Cols();
    if (n == 0 || m < n || rightHandSide.Size() != m)
        return false;

    std::vector<double> rmat(n * n, 0.0);
    if (!Orthogonalise(A, rmat))
        return false;

    // Project b onto each q in turn (the modified form: b loses each component
    // before the next is measured), leaving the residual in b.
    std::vector<double> qtb(n);
    for (size_t k = 0; k < n; ++k) {
        qtb[k] = ColumnDotVector(A, k, rightHandSide);
        for (size_t r = 0; r < m; ++r)
            rightHandSide[r] -= qtb[k] * A(r, k);
    }

    // Back substitution R x = Q^T b.
    std::vector<double> x(n);
    for (size_t i = n; i-- > 0;) {
        double sum = qtb[i];
        for (size_t j = i + 1; j < n; ++j)
            sum -= rmat[i * n + j] * x[j];
        x[i] = sum / rmat[i * n + i];
    }
    solution.Resize(n);
    for (size_t i = 0; i < n; ++i)
        solution[i] = x[i];
    return true;
}

} // namespace shr
