// The two steps that the conversions of network data are made of, without temporaries: fractions of I + M and I - M,
// and scaling by the roots of impedance products. Both do each element's operations in the order that the
// written-out formula has, so that the results are the same to the bit. Any thread, each on its own matrices.
#pragma once

#include <matrix/linear_algebra.h>

enum class WaveFraction {
    PlusMinus, // (I + M)^-1 (I - M): S to normalised Y, and normalised Y to S
    MinusPlus, // (I - M)^-1 (I + M): S to normalised Z
    PlusOver,  // (M + I)^-1 (M - I): normalised Z to S
};

// The results and failures of MatrixSolve: `x` takes the shape of `m`, and is zero if the left factor is singular
// or `m` isn't square. `x` may be `m`.
int SolveWaveFraction(const ComplexMatrix& m, WaveFraction form, ComplexMatrix& x);

// With q(i, j) = sqrt(z(i) z(j)), one root of the product. `z` has one element for each row and column.
// m(i, j) = m(i, j) * q(i, j)
void MultiplyByRoots(ComplexMatrix& m, const ComplexVector& z);
// m(i, j) = m(i, j) / q(i, j), guarded: where q is zero both parts become Complex::kDividedByZero.
void DivideByRoots(ComplexMatrix& m, const ComplexVector& z);
