// Matrix: a dense matrix of complex numbers that owns its elements, one block row after row.
//
// A value: a copy has its own storage, a move leaves the source empty (0 by 0). Dimensions that are negative or
// whose product is beyond 2^31 - 1 are std::bad_array_new_length. Element access isn't tested. Where two
// operands meet, their shapes are the caller's care: they aren't tested either. One thread at a time may
// change a matrix.
#pragma once

#include <matrix/vec.h>

template <class T>
class Matrix {
public:
    Matrix() = default;
    // All elements zero.
    Matrix(int m, int n) : Matrix(m, n, T()) {}
    Matrix(int m, int n, const T& value);
    Matrix(const Matrix& other);
    Matrix(Matrix&& other) noexcept;
    // Storage of the same shape is kept.
    Matrix& operator=(const Matrix& other);
    Matrix& operator=(Matrix&& other) noexcept;
    ~Matrix() { Free(); }

    int Rows() const { return m_; }
    int Columns() const { return n_; }
    int Size() const { return mn_; }
    bool IsEmpty() const { return mn_ == 0; }
    bool IsSquare() const { return m_ == n_; }
    T* Data() { return v_; }
    const T* Data() const { return v_; }

    // Nothing if the shape is the same; else the elements are lost and the new ones are zero.
    void Reshape(int m, int n);
    void fill(const T& value) { std::fill_n(v_, mn_, value); }

    // 1-based element.
    T& operator()(int i, int j) { return row_[i - 1][j - 1]; }
    const T& operator()(int i, int j) const { return row_[i - 1][j - 1]; }
    // Start of a 0-based row.
    T* operator[](int i) { return row_[i]; }
    const T* operator[](int i) const { return row_[i]; }

    // Element by element over the left operand; the right one has the same shape.
    Matrix& operator+=(const Matrix& right);
    Matrix& operator-=(const Matrix& right);

private:
    void Allocate(int m, int n);
    void Free();

    int m_ = 0;
    int n_ = 0;
    int mn_ = 0;        // m_ * n_
    T* v_ = nullptr;    // null when empty; the row starts stand behind the elements in the same allocation
    T** row_ = nullptr; // row_[i] == v_ + i * n_
};

extern template class Matrix<Complex>;
using ComplexMatrix = Matrix<Complex>;

ComplexMatrix operator+(const ComplexMatrix& left, const ComplexMatrix& right);
ComplexMatrix operator-(const ComplexMatrix& left, const ComplexMatrix& right);

// The sums run over ascending k from (0, 0); the left factor's element is the left operand of each product.
ComplexMatrix operator*(const ComplexMatrix& a, const ComplexMatrix& b);
ComplexVector operator*(const ComplexMatrix& a, const ComplexVector& x);
// The same into `c`, which takes the shape of the product and keeps its storage if it has it. `c` may be `a` or `b`
// when the other factor is diagonal: it is then written row by row, each from the left, while it is being read.
void MultiplyInto(ComplexMatrix& c, const ComplexMatrix& a, const ComplexMatrix& b);

ComplexMatrix Transpose(const ComplexMatrix& a);
ComplexMatrix ConjugateTranspose(const ComplexMatrix& a);

ComplexMatrix IdentityMatrix(int n);
ComplexMatrix DiagonalMatrix(const ComplexVector& diagonal);
