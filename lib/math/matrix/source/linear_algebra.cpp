#include <matrix/linear_algebra.h>
#include <matrix/wave_math.h>

int LuFactor(ComplexMatrix& a, IndexVector& pivots) {
    const int m = a.Rows();
    const int n = a.Columns();
    if (a.IsEmpty())
        return kSolved;
    pivots.resize(m);
    int* pivot = pivots.Data();
    const int k = std::min(m, n);
    for (int j = 0; j < k; ++j) {
        int p = j;
        double largest = abs(a[j][j]);
        for (int i = j + 1; i < m; ++i) {
            const double magnitude = abs(a[i][j]);
            if (magnitude > largest) {
                p = i;
                largest = magnitude;
            }
        }
        pivot[j] = p + 1;
        if (largest == 0.0)
            return kSingular;
        if (p != j)
            std::swap_ranges(a[j], a[j] + n, a[p]);
        const Complex r = 1.0 / a[j][j];
        for (int i = j + 1; i < m; ++i)
            a[i][j] *= r;
        for (int i = j + 1; i < m; ++i)
            for (int c = j + 1; c < n; ++c)
                a[i][c] -= a[i][j] * a[j][c];
    }
    return kSolved;
}

int LuSolve(const ComplexMatrix& a, const IndexVector& pivots, ComplexVector& b) {
    const int n = b.Size();
    const int* pivot = pivots.Data();
    Complex* x = b.Data();
    int first = -1; // the first row that isn't zero
    for (int i = 0; i < n; ++i) {
        const int p = pivot[i] - 1;
        Complex sum = x[p];
        x[p] = x[i];
        if (first >= 0) {
            for (int j = first; j < i; ++j)
                sum -= a[i][j] * x[j];
        } else if (sum.re != 0.0 || sum.im != 0.0) {
            first = i;
        }
        x[i] = sum;
    }
    for (int i = n - 1; i >= 0; --i) {
        Complex sum = x[i];
        for (int j = i + 1; j < n; ++j)
            sum -= a[i][j] * x[j];
        x[i] = sum / a[i][i];
    }
    return kSolved;
}

int MatrixSolve(const ComplexMatrix& a, const ComplexMatrix& b, ComplexMatrix& x) {
    ComplexMatrix solution(a.Columns(), b.Columns());
    int result = kWrongShape;
    if (!a.IsEmpty() && a.IsSquare()) {
        ComplexMatrix factors = a;
        IndexVector pivots;
        result = LuFactor(factors, pivots);
        ComplexVector column(a.Rows());
        for (int j = 0; result == kSolved && j < b.Columns(); ++j) {
            for (int i = 0; i < b.Rows(); ++i)
                column[i] = b[i][j];
            LuSolve(factors, pivots, column);
            for (int i = 0; i < b.Rows(); ++i)
                solution[i][j] = column[i];
        }
    }
    x = std::move(solution);
    return result;
}

ComplexMatrix MatrixInverse(const ComplexMatrix& a) {
    ComplexMatrix x;
    InvertInto(a, x);
    return x;
}

int InvertInto(const ComplexMatrix& a, ComplexMatrix& x) {
    return MatrixSolve(a, IdentityMatrix(a.Rows()), x);
}

int SolveWaveFraction(const ComplexMatrix& m, WaveFraction form, ComplexMatrix& x) {
    const ComplexMatrix one = IdentityMatrix(m.Rows());
    switch (form) {
    case WaveFraction::PlusMinus:
        return MatrixSolve(one + m, one - m, x);
    case WaveFraction::MinusPlus:
        return MatrixSolve(one - m, one + m, x);
    default:
        return MatrixSolve(m + one, m - one, x);
    }
}

void MultiplyByRoots(ComplexMatrix& m, const ComplexVector& z) {
    for (int i = 0; i < m.Rows(); ++i)
        for (int j = 0; j < m.Columns(); ++j)
            m[i][j] *= sqrt(z[i] * z[j]);
}

void DivideByRoots(ComplexMatrix& m, const ComplexVector& z) {
    for (int i = 0; i < m.Rows(); ++i)
        for (int j = 0; j < m.Columns(); ++j)
            m[i][j] /= sqrt(z[i] * z[j]);
}

ComplexMatrix operator*(const ComplexMatrix& a, const ComplexMatrix& b) {
    ComplexMatrix c;
    MultiplyInto(c, a, b);
    return c;
}

void MultiplyInto(ComplexMatrix& c, const ComplexMatrix& a, const ComplexMatrix& b) {
    c.Reshape(a.Rows(), b.Columns());
    for (int i = 0; i < a.Rows(); ++i) {
        for (int j = 0; j < b.Columns(); ++j) {
            Complex sum;
            for (int k = 0; k < a.Columns(); ++k)
                sum += a[i][k] * b[k][j];
            c[i][j] = sum;
        }
    }
}
