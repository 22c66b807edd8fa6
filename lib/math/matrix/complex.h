// Complex: the number of all network data, two doubles with the real part first.
//
// Every operation is a fixed sequence of roundings, so that a result has the same bits on every machine and in
// every build; code that computes many at once does the same steps for each. What is inlined from here keeps to that
// where it is compiled as this library is, with -ffp-contract=off. Nothing throws. Pure values: any thread.
#pragma once

#include <cmath>
#include <limits>

struct Complex {
    double re = 0.0;
    double im = 0.0;

    // What a guarded division by zero gives in both parts, in place of an infinity.
    static constexpr double kDividedByZero = std::numeric_limits<double>::max();

    constexpr Complex() = default;
    constexpr Complex(double real, double imaginary = 0.0) : re(real), im(imaginary) {}

    constexpr bool operator==(const Complex& other) const = default;

    constexpr Complex& operator+=(const Complex& right) {
        re += right.re;
        im += right.im;
        return *this;
    }
    constexpr Complex& operator-=(const Complex& right) {
        re -= right.re;
        im -= right.im;
        return *this;
    }
    constexpr Complex& operator*=(const Complex& right);
    // Guarded: by (0, 0) both parts become kDividedByZero.
    constexpr Complex& operator/=(const Complex& right);
};

constexpr Complex operator+(const Complex& left, const Complex& right) {
    return {left.re + right.re, left.im + right.im};
}
constexpr Complex operator-(const Complex& left, const Complex& right) {
    return {left.re - right.re, left.im - right.im};
}
constexpr Complex operator-(const Complex& value) {
    return {-value.re, -value.im};
}

// Three real multiplications; two where the left operand is real. The operands' order matters for the last
// bit.
constexpr Complex operator*(const Complex& left, const Complex& right) {
    if (left.im == 0.0)
        return {left.re * right.re, left.re * right.im};
    const double t = (right.re + right.im) * left.re;
    return {t - (left.re + left.im) * right.im, t + (left.im - left.re) * right.re};
}
constexpr Complex operator*(double left, const Complex& right) {
    return {left * right.re, left * right.im};
}
constexpr Complex& Complex::operator*=(const Complex& right) {
    return *this = *this * right;
}

// Unguarded: for divisors known not to be zero. By zero it gives NaNs.
constexpr Complex operator/(const Complex& left, const Complex& right) {
    const double r = 1.0 / (right.re * right.re + right.im * right.im);
    return {(left.re * right.re + left.im * right.im) * r, (right.re * left.im - right.im * left.re) * r};
}
// Guarded as `/=` is.
constexpr Complex operator/(double left, const Complex& right) {
    const double q = right.re * right.re + right.im * right.im;
    if (q != 0.0)
        return {left * right.re / q, -(left * right.im / q)};
    return {Complex::kDividedByZero, Complex::kDividedByZero};
}
constexpr Complex& Complex::operator/=(const Complex& right) {
    const double q = right.re * right.re + right.im * right.im;
    if (q != 0.0)
        return *this = {(right.re * re + right.im * im) / q, (right.re * im - re * right.im) / q};
    return *this = {kDividedByZero, kDividedByZero};
}
// The guarded division as a value.
constexpr Complex Quotient(Complex left, const Complex& right) {
    return left /= right;
}

// Unscaled: the squares overflow from 1.3e154 on and vanish below 1.5e-162.
constexpr double norm(const Complex& value) {
    return value.re * value.re + value.im * value.im;
}
inline double abs(const Complex& value) {
    return std::sqrt(norm(value));
}

// The root with a real part that isn't negative, but for a real part not above 0 with a negative imaginary part: there
// the other one.
inline Complex sqrt(const Complex& value) {
    if (value.re == 0.0 && value.im == 0.0)
        return {};
    const double s = std::sqrt((abs(value) + std::fabs(value.re)) * 0.5);
    const double t = value.im / s * 0.5;
    if (value.re > 0.0)
        return {s, t};
    if (value.im >= 0.0)
        return {t, s};
    return {-t, -s};
}
