#include <matrix/cmat.h>

#include <cstdint>
#include <new>

#define TARVOK_CMAT_ASSERT(expression, text) TARVOK_ASSERT_AT("math/matrix/cmat", __LINE__, expression, text)

template <class T>
void Matrix<T>::Allocate(int m, int n) {
    const std::int64_t size = std::int64_t(m) * n;
    if (m < 0 || n < 0 || size > INT32_MAX)
        throw std::bad_array_new_length();
    m_ = m;
    n_ = n;
    mn_ = int(size);
    if (mn_ == 0)
        return;
    void* storage = ::operator new(std::size_t(mn_) * sizeof(T) + std::size_t(m) * sizeof(T*));
    v_ = static_cast<T*>(storage);
    row_ = reinterpret_cast<T**>(v_ + mn_);
    TARVOK_CMAT_ASSERT(v_ != nullptr, "v_ != 0");
    TARVOK_CMAT_ASSERT(row_ != nullptr, "row_ != 0");
    for (int i = 0; i < m; ++i)
        row_[i] = v_ + std::size_t(i) * n;
}

template <class T>
void Matrix<T>::Free() {
    ::operator delete(v_);
    m_ = n_ = mn_ = 0;
    v_ = nullptr;
    row_ = nullptr;
}

template <class T>
Matrix<T>::Matrix(int m, int n, const T& value) {
    Allocate(m, n);
    fill(value);
}

template <class T>
Matrix<T>::Matrix(const Matrix& other) {
    Allocate(other.m_, other.n_);
    std::copy_n(other.v_, mn_, v_);
}

template <class T>
Matrix<T>::Matrix(Matrix&& other) noexcept
    : m_(std::exchange(other.m_, 0)), n_(std::exchange(other.n_, 0)), mn_(std::exchange(other.mn_, 0)),
      v_(std::exchange(other.v_, nullptr)), row_(std::exchange(other.row_, nullptr)) {}

template <class T>
Matrix<T>& Matrix<T>::operator=(const Matrix& other) {
    if (this == &other)
        return *this;
    if (m_ != other.m_ || n_ != other.n_) {
        Free();
        Allocate(other.m_, other.n_);
    }
    std::copy_n(other.v_, mn_, v_);
    return *this;
}

template <class T>
Matrix<T>& Matrix<T>::operator=(Matrix&& other) noexcept {
    std::swap(m_, other.m_);
    std::swap(n_, other.n_);
    std::swap(mn_, other.mn_);
    std::swap(v_, other.v_);
    std::swap(row_, other.row_);
    return *this;
}

template <class T>
void Matrix<T>::Reshape(int m, int n) {
    if (m == m_ && n == n_)
        return;
    Free();
    Allocate(m, n);
    fill(T());
}

template <class T>
Matrix<T>& Matrix<T>::operator+=(const Matrix& right) {
    for (int k = 0; k < mn_; ++k)
        v_[k] += right.v_[k];
    return *this;
}

template <class T>
Matrix<T>& Matrix<T>::operator-=(const Matrix& right) {
    for (int k = 0; k < mn_; ++k)
        v_[k] -= right.v_[k];
    return *this;
}

template class Matrix<Complex>;

ComplexMatrix operator+(const ComplexMatrix& left, const ComplexMatrix& right) {
    ComplexMatrix sum = left;
    sum += right;
    return sum;
}

ComplexMatrix operator-(const ComplexMatrix& left, const ComplexMatrix& right) {
    ComplexMatrix difference = left;
    difference -= right;
    return difference;
}

ComplexVector operator*(const ComplexMatrix& a, const ComplexVector& x) {
    ComplexVector product(a.Rows());
    const Complex* factors = x.Data();
    for (int i = 0; i < a.Rows(); ++i) {
        const Complex* row = a[i];
        Complex sum;
        for (int k = 0; k < a.Columns(); ++k)
            sum += row[k] * factors[k];
        product.Data()[i] = sum;
    }
    return product;
}

ComplexMatrix Transpose(const ComplexMatrix& a) {
    ComplexMatrix t(a.Columns(), a.Rows());
    for (int i = 0; i < a.Rows(); ++i)
        for (int j = 0; j < a.Columns(); ++j)
            t[j][i] = a[i][j];
    return t;
}

ComplexMatrix ConjugateTranspose(const ComplexMatrix& a) {
    ComplexMatrix t = Transpose(a);
    for (int k = 0; k < t.Size(); ++k)
        t.Data()[k].im = -t.Data()[k].im;
    return t;
}

ComplexMatrix IdentityMatrix(int n) {
    return DiagonalMatrix(ComplexVector(n, Complex(1.0)));
}

ComplexMatrix DiagonalMatrix(const ComplexVector& diagonal) {
    ComplexMatrix d(diagonal.Size(), diagonal.Size());
    for (int i = 0; i < diagonal.Size(); ++i)
        d[i][i] = diagonal[i];
    return d;
}
