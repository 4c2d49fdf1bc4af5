#pragma once
// Dense, resizable matrices and vectors of double for the small linear systems
// of gridding and gradient fitting. RMatrix is row-major. Element access with
// operator() / operator[] is unchecked, for inner loops; At() checks and throws.
#include <cstddef>
#include <vector>

namespace shr {

class RVector {
public:
    RVector() = default;
    // `size` zeros.
    explicit RVector(size_t size) : m_Data(size, 0.0) {}

    // New elements are zero; kept elements keep their values.
    void Resize(size_t size) { m_Data.resize(size, 0.0); }
    size_t Size() const { return m_Data.size(); }
    size_t size() const { return m_Data.size(); }

    double& operator[](size_t i) { return m_Data[i]; }
    double operator[](size_t i) const { return m_Data[i]; }
    double& operator()(size_t i) { return m_Data[i]; }
    double operator()(size_t i) const { return m_Data[i]; }
    double& At(size_t i);
    double At(size_t i) const;

    double* Data() { return m_Data.data(); }
    const double* Data() const { return m_Data.data(); }

    bool operator==(const RVector& o) const { return m_Data == o.m_Data; }
    bool operator!=(const RVector& o) const { return !(*this == o); }

private:
    std::vector<double> m_Data;
};

class RMatrix {
public:
    RMatrix() = default;
    // rows x cols zeros.
    RMatrix(size_t rows, size_t cols) : m_Rows(rows), m_Cols(cols), m_Data(rows * cols, 0.0) {}

    // Sets the shape and zeros every element (the old contents do not keep
    // their places in a new shape, so none are kept).
    void Resize(size_t rows, size_t cols);
    size_t Rows() const { return m_Rows; }
    size_t Cols() const { return m_Cols; }

    double& operator()(size_t row, size_t col) { return m_Data[row * m_Cols + col]; }
    double operator()(size_t row, size_t col) const { return m_Data[row * m_Cols + col]; }
    // A pointer to the row, for m[row][col].
    double* operator[](size_t row) { return &m_Data[row * m_Cols]; }
    const double* operator[](size_t row) const { return &m_Data[row * m_Cols]; }
    double& At(size_t row, size_t col);
    double At(size_t row, size_t col) const;

    double* Data() { return m_Data.data(); }
    const double* Data() const { return m_Data.data(); }

private:
    size_t m_Rows = 0;
    size_t m_Cols = 0;
    std::vector<double> m_Data;
};

// The product A x; throws when the sizes do not match.
RVector operator*(const RMatrix& a, const RVector& x);

} // namespace shr
