#include "shr/RMatrix.h"

#include "shr/Exception.h"

namespace shr {

namespace {

[[noreturn]] void ThrowIndex(size_t index, size_t size)
{
    SHR_THROW(0, "Index %zu is out of range (size %zu).", index, size);
}

} // namespace

double& RVector::At(size_t i)
{
    if (i >= m_Data.size())
        ThrowIndex(i, m_Data.size());
    return m_Data[i];
}

double RVector::At(size_t i) const
{
    return const_cast<RVector*>(this)->At(i);
}

void RMatrix::Resize(size_t rows, size_t cols)
{
    m_Data.assign(rows * cols, 0.0);
    m_Rows = rows;
    m_Cols = cols;
}

double& RMatrix::At(size_t row, size_t col)
{
    if (row >= m_Rows)
        ThrowIndex(row, m_Rows);
    if (col >= m_Cols)
        ThrowIndex(col, m_Cols);
    return (*this)(row, col);
}

double RMatrix::At(size_t row, size_t col) const
{
    return const_cast<RMatrix*>(this)->At(row, col);
}

RVector operator*(const RMatrix& a, const RVector& x)
{
    if (a.Cols() != x.Size())
        SHR_THROW(0, "Cannot multiply a %zu x %zu matrix by a vector of %zu.", a.Rows(), a.Cols(), x.Size());
    RVector result(a.Rows());
    for (size_t r = 0; r < a.Rows(); ++r) {
        double sum = 0.0;
        for (size_t c = 0; c < a.Cols(); ++c)
            sum += a(r, c) * x[c];
        result[r] = sum;
    }
    return result;
}

} // namespace shr
