#pragma once
// Linear least squares by the modified Gram-Schmidt method: the polynomial
// fits of gridding and the gradient fits of curvilinear lattices.
namespace shr {

class RMatrix;
class RVector;

// Solves min |A x - b| for an m x n matrix A with m >= n >= 1 and b of size m.
// On success `solution` is resized to n and holds x, and the result is true.
//
// The work is done in place: A is overwritten with the orthonormal factor Q and
// b with the residual b - A x. The result is false, `solution` untouched, when
// the shapes do not fit (nothing is changed then) or when A is rank deficient:
// a column lies within a relative 1e-12 of the span of the columns before it
// (A and b may then be partly overwritten).
bool MGSLeastSquares(RMatrix& A, RVector& solution, RVector& rightHandSide);

} // namespace shr
