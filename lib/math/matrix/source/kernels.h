// The loops that the linear algebra spends its time in: independent columns side by side, in the width of the
// processor at hand, each element going through the same operations as it would alone.
//
// Matrices are worked on as rows of separate real and imaginary parts. A factor on the left of products is kept as
// the four numbers that the product of three multiplications needs of it.
#pragma once

#include <matrix/complex.h>

#include <cstddef>

namespace kernels {

// What becomes of an element as it is taken into a work row, with `one` for an element of the identity.
enum class Take {
    Plain,    // x
    OnePlus,  // one + x
    OneMinus, // one - x
    MinusOne, // x - one
};

// A system of n equations with `columns` right sides. All matrices are dense, row after row.
struct SolveTask {
    int n;
    int columns;
    const Complex* a;
    Take takeA;
    const Complex* b; // null: the identity
    Take takeB;
    Complex* x;   // n by columns; written last, so that it may be `a` or `b`
    double* work; // SolveWork(n, columns) numbers
};

enum class Outcome {
    Solved,
    Singular, // x isn't written
    Special,  // x isn't written: column by column the result may have other signs of zeros or other NaNs
};

struct FactorTask {
    int m;
    int n;
    Complex* a;
    int* pivots;  // 1-based
    double* work; // FactorWork(m, n) numbers
};

struct MultiplyTask {
    int m;
    int inner;
    int n;
    const Complex* a;
    const Complex* b;
    Complex* c;   // neither `a` nor `b`
    double* work; // MultiplyWork(m, inner) numbers
};

struct RootTask {
    int n;
    const Complex* z;
    Complex* m;   // n by n
    double* work; // RootWork(n) numbers
};

std::size_t SolveWork(int n, int columns);
std::size_t FactorWork(int m, int n);
std::size_t MultiplyWork(int m, int inner);
std::size_t RootWork(int n);

struct Set {
    Outcome (*solve)(const SolveTask&);
    bool (*factor)(const FactorTask&); // false: singular
    void (*multiply)(const MultiplyTask&);
    void (*multiplyByRoots)(const RootTask&);
    void (*divideByRoots)(const RootTask&);
};

// The set for any processor, and the fastest one for this processor and matrices of n columns.
extern const Set kPlain;
const Set& Best(int n);

} // namespace kernels
