// A solve with all columns, on bare storage: what the public solves and the roots of matrices share.
#pragma once

#include "kernels.h"

#include <matrix/linear_algebra.h>

// What is to be solved for x: A x = B, n by n and n by `columns`. No `b` stands for the identity.
struct DenseSystem {
    int n; // at least 1
    int columns;
    const Complex* a;
    kernels::Take takeA = kernels::Take::Plain;
    const Complex* b = nullptr;
    kernels::Take takeB = kernels::Take::Plain;
};

// kSolved, or kSingular with `x` zero. `x` may be `a` or `b`.
int SolveDense(const DenseSystem& system, Complex* x);
