#include "dense_solve.h"
#include "kernels.h"
#include "work_area.h"

#include <matrix/linear_algebra.h>
#include <matrix/wave_math.h>

int LuFactor(ComplexMatrix& a, IndexVector& pivots) {
    if (a.IsEmpty())
        return kSolved;
    pivots.resize(a.Rows());
    const WorkArea work(kernels::FactorWork(a.Rows(), a.Columns()));
    return kernels::Best(a.Columns()).factor({a.Rows(), a.Columns(), a.Data(), pivots.Data(), work.Get()})
               ? kSolved
               : kSingular;
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

namespace {

// Gives `x` its shape and the solution.
int Solve(const ComplexMatrix& a, kernels::Take takeA, const ComplexMatrix* b, kernels::Take takeB,
          ComplexMatrix& x) {
    const int m = a.Columns();
    const int n = b ? b->Columns() : a.Rows();
    if (x.Rows() != m || x.Columns() != n) {
        ComplexMatrix fresh(m, n); // `x` may be what is to be solved
        const int result = Solve(a, takeA, b, takeB, fresh);
        x = std::move(fresh);
        return result;
    }
    if (a.IsEmpty() || !a.IsSquare()) {
        x.fill(Complex());
        return kWrongShape;
    }
    return SolveDense({m, n, a.Data(), takeA, b ? b->Data() : nullptr, takeB}, x.Data());
}

} // namespace

int MatrixSolve(const ComplexMatrix& a, const ComplexMatrix& b, ComplexMatrix& x) {
    return Solve(a, kernels::Take::Plain, &b, kernels::Take::Plain, x);
}

int InvertInto(const ComplexMatrix& a, ComplexMatrix& x) {
    return Solve(a, kernels::Take::Plain, nullptr, kernels::Take::Plain, x);
}

ComplexMatrix MatrixInverse(const ComplexMatrix& a) {
    ComplexMatrix x;
    InvertInto(a, x);
    return x;
}

int SolveWaveFraction(const ComplexMatrix& m, WaveFraction form, ComplexMatrix& x) {
    using kernels::Take;
    switch (form) {
    case WaveFraction::PlusMinus:
        return Solve(m, Take::OnePlus, &m, Take::OneMinus, x);
    case WaveFraction::MinusPlus:
        return Solve(m, Take::OneMinus, &m, Take::OnePlus, x);
    default:
        return Solve(m, Take::OnePlus, &m, Take::MinusOne, x);
    }
}

void MultiplyByRoots(ComplexMatrix& m, const ComplexVector& z) {
    const WorkArea work(kernels::RootWork(z.Size()));
    kernels::Best(z.Size()).multiplyByRoots({z.Size(), z.Data(), m.Data(), work.Get()});
}

void DivideByRoots(ComplexMatrix& m, const ComplexVector& z) {
    const WorkArea work(kernels::RootWork(z.Size()));
    kernels::Best(z.Size()).divideByRoots({z.Size(), z.Data(), m.Data(), work.Get()});
}

ComplexMatrix operator*(const ComplexMatrix& a, const ComplexMatrix& b) {
    ComplexMatrix c;
    MultiplyInto(c, a, b);
    return c;
}

void MultiplyInto(ComplexMatrix& c, const ComplexMatrix& a, const ComplexMatrix& b) {
    if (&c != &a && &c != &b) {
        c.Reshape(a.Rows(), b.Columns());
        const WorkArea work(kernels::MultiplyWork(a.Rows(), a.Columns()));
        kernels::Best(b.Columns())
            .multiply({a.Rows(), a.Columns(), b.Columns(), a.Data(), b.Data(), c.Data(), work.Get()});
        return;
    }
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
