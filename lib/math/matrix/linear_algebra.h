// Solves, inverses, the eigen decomposition and what rests on it.
//
// Results are those of plain Gaussian elimination with row pivoting, step by step and to the bit, whatever the machine;
// only the eigen decomposition is LAPACK's and may differ in its last digits. Numeric failure is a result,
// never an exception, and it is not a matter of rounding: "singular" means that a pivot column was exactly zero
// (or too small for its magnitude not to vanish). A matrix that is merely close to singular is solved, with
// large elements. Solves and inverses leave their result ZERO when they fail, of the shape that it would have had.
//
// Any thread, each on its own matrices; every thread keeps a work area of up to a megabyte. LAPACK runs on the
// calling thread alone.
#pragma once

#include <matrix/cmat.h>

enum SolveResult : int {
    kSolved = 0,
    kSingular = 1,
    kWrongShape = 2, // empty or not square
};

// Replaces `a` by its factors: the multipliers below the diagonal, the upper triangle on and above it. `pivots`
// gets one 1-based row number for each column, and is replaced if its length isn't the number of rows. Of rows
// with equal magnitude the first is taken. Singular: `a` stays as it was when the zero pivot was found. An empty
// matrix is solved. A matrix that isn't square is factored as far as its smaller side.
int LuFactor(ComplexMatrix& a, IndexVector& pivots);
// Replaces `b` by the solution; `a` and `pivots` come from a LuFactor that succeeded. Always kSolved.
int LuSolve(const ComplexMatrix& a, const IndexVector& pivots, ComplexVector& b);

// Solves a x = b for all columns of `b`. `x` takes the shape a.Columns() by b.Columns(), keeping its storage if it
// has it, and is zero on failure. `x` may be `a` or `b`.
int MatrixSolve(const ComplexMatrix& a, const ComplexMatrix& b, ComplexMatrix& x);
// Zero, a.Columns() by a.Rows(), on failure.
ComplexMatrix MatrixInverse(const ComplexMatrix& a);
int InvertInto(const ComplexMatrix& a, ComplexMatrix& x);

// Eigenvalues and, in the columns of `vectors`, right eigenvectors of length 1 of a square matrix. False if LAPACK (OpenBLAS's
// or, without it, any; it is loaded at the first call)
// reports a failure; the results are then as they stood. An element that isn't finite is a failure, an empty
// matrix a success with empty results.
bool EigenDecompose(const ComplexMatrix& a, ComplexVector& values, ComplexMatrix& vectors);
// The principal root, by way of the eigenvectors. False, with `x` as it stood, if `a` isn't square or the
// decomposition fails. A matrix without a full set of eigenvectors gives what the zero inverse of theirs gives: zero,
// or large elements if they are only nearly dependent. `x` may be `a`.
bool MatrixSqrt(const ComplexMatrix& a, ComplexMatrix& x);
// The power `p` by the same road. A zero eigenvalue stays zero, also for negative exponents.
bool MatrixPower(const ComplexMatrix& a, double p, ComplexMatrix& x);
// The power of one number, as MatrixPower takes it of an eigenvalue.
Complex Power(const Complex& value, double p);
