// LAPACK's routines for the eigen decomposition: OpenBLAS where it is installed, else whatever LAPACK there is.
//
// It is loaded at the first decomposition and stays: loading takes milliseconds and starts threads, which most programs that
// hold this library never need.
#pragma once

#include <matrix/complex.h>

#include <cstddef>

// Everything by address, and the length of each text behind the arguments.
struct Lapack {
    void (*zgebal)(const char* job, const int* n, Complex* a, const int* lda, int* ilo, int* ihi,
                   double* scale, int* info, std::size_t);
    void (*zgehrd)(const int* n, const int* ilo, const int* ihi, Complex* a, const int* lda, Complex* tau,
                   Complex* work, const int* lwork, int* info);
    void (*zunghr)(const int* n, const int* ilo, const int* ihi, Complex* a, const int* lda,
                   const Complex* tau, Complex* work, const int* lwork, int* info);
    void (*zhseqr)(const char* job, const char* compz, const int* n, const int* ilo, const int* ihi,
                   Complex* h, const int* ldh, Complex* w, Complex* z, const int* ldz, Complex* work,
                   const int* lwork, int* info, std::size_t, std::size_t);
    void (*ztrevc)(const char* side, const char* howmny, const int* select, const int* n, Complex* t,
                   const int* ldt, Complex* vl, const int* ldvl, Complex* vr, const int* ldvr, const int* mm,
                   int* m, Complex* work, double* rwork, int* info, std::size_t, std::size_t);
    void (*zgebak)(const char* job, const char* side, const int* n, const int* ilo, const int* ihi,
                   const double* scale, const int* m, Complex* v, const int* ldv, int* info, std::size_t,
                   std::size_t);
    // Null where the library is one that has no threads.
    int (*getThreads)();
    void (*setThreads)(int count);
};

// Null if there is none on this machine. Any thread.
const Lapack* LoadedLapack();
