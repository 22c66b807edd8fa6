// The moving of reference planes: each row's factor, and S with the factors of its row and its column.
#pragma once

#include <matrix/cmat.h>

inline constexpr double kTwoPi = 6.283185307179586;
inline constexpr double kSpeedOfLight = 299792458.0; // metres a second

// exp of the exponent.
inline Complex PlaneFactor(const Complex& exponent) {
    const double magnitude = std::exp(exponent.re);
    return {magnitude * std::cos(exponent.im), magnitude * std::sin(exponent.im)};
}

inline ComplexVector DelayFactors(double frequency, const RealVector& delays) {
    const double w = kTwoPi * frequency;
    ComplexVector factors(delays.Size());
    for (int i = 0; i < delays.Size(); ++i)
        factors[i] = {std::cos(w * delays[i]), std::sin(w * delays[i])};
    return factors;
}

inline void MovePlanes(ComplexMatrix& s, const ComplexVector& factors) {
    for (int i = 0; i < s.Rows(); ++i) {
        for (int j = 0; j < s.Columns(); ++j) {
            s[i][j] *= factors[i];
            s[i][j] *= factors[j];
        }
    }
}
