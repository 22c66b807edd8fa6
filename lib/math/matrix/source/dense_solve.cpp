#include "dense_solve.h"
#include "work_area.h"

#include <algorithm>

namespace {

ComplexMatrix Taken(const Complex* elements, int m, int n, kernels::Take take) {
    ComplexMatrix matrix(m, n);
    if (elements)
        std::copy_n(elements, matrix.Size(), matrix.Data());
    switch (take) {
    case kernels::Take::OnePlus:
        return IdentityMatrix(m) + matrix;
    case kernels::Take::OneMinus:
        return IdentityMatrix(m) - matrix;
    case kernels::Take::MinusOne:
        return matrix - IdentityMatrix(m);
    default:
        return elements ? matrix : IdentityMatrix(m);
    }
}

// One column after the other, for a matrix that isn't singular.
void SolveColumns(const DenseSystem& system, Complex* x) {
    ComplexMatrix factors = Taken(system.a, system.n, system.n, system.takeA);
    const ComplexMatrix b = Taken(system.b, system.n, system.columns, system.takeB);
    IndexVector pivots;
    LuFactor(factors, pivots);
    ComplexVector column(system.n);
    for (int j = 0; j < system.columns; ++j) {
        for (int i = 0; i < system.n; ++i)
            column[i] = b[i][j];
        LuSolve(factors, pivots, column);
        for (int i = 0; i < system.n; ++i)
            x[std::size_t(i) * system.columns + j] = column[i];
    }
}

} // namespace

int SolveDense(const DenseSystem& system, Complex* x) {
    const WorkArea work(kernels::SolveWork(system.n, system.columns));
    switch (kernels::Best(system.columns)
                .solve({system.n, system.columns, system.a, system.takeA, system.b, system.takeB, x,
                        work.Get()})) {
    case kernels::Outcome::Singular:
        std::fill_n(x, std::size_t(system.n) * system.columns, Complex());
        return kSingular;
    case kernels::Outcome::Special:
        SolveColumns(system, x);
        break;
    case kernels::Outcome::Solved:
        break;
    }
    return kSolved;
}
