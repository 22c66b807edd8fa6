// What the tests of fitted sweeps have in common: samples of every sort, and networks of known order.
#pragma once

#include "plain_sweep.h"
#include "solution_tests.h"

#include <cmath>
#include <functional>
#include <vector>

inline ComplexVector VectorOf(const std::vector<Complex>& values) {
    ComplexVector vector(static_cast<int>(values.size()));
    std::copy(values.begin(), values.end(), vector.Data());
    return vector;
}
inline RealVector VectorOf(const std::vector<double>& values) {
    RealVector vector(static_cast<int>(values.size()));
    std::copy(values.begin(), values.end(), vector.Data());
    return vector;
}
inline IndexVector VectorOf(const plain::Indices& values) {
    IndexVector vector(static_cast<int>(values.size()));
    for (std::size_t i = 0; i < values.size(); ++i)
        vector[static_cast<int>(i)] = static_cast<int>(values[i]);
    return vector;
}

struct NamedSamples {
    const char* name;
    std::vector<double> x;
    plain::Values y;
};

// Ways in which samples are special, of `m` samples each.
inline std::vector<NamedSamples> SpecialSamples(Networks& random, std::size_t m) {
    std::vector<double> x(m);
    for (double& value : x)
        value = random.Between(0.2, 2.0);
    plain::Values y(m);
    for (Complex& value : y)
        value = random.Number(1.0);
    std::vector<NamedSamples> all;
    const auto add = [&](const char* name, const std::function<void(NamedSamples&)>& change) {
        all.push_back({name, x, y});
        change(all.back());
    };
    const auto each = [](const std::function<Complex(double)>& value) {
        return [value](NamedSamples& of) {
            for (std::size_t i = 0; i < of.x.size(); ++i)
                of.y[i] = value(of.x[i]);
        };
    };
    add("random", [](NamedSamples&) {});
    add("at DC", [m](NamedSamples& of) { of.x[m / 2] = 0.0, of.y[m / 2].im = 0.0; });
    add("first at DC", [](NamedSamples& of) { of.x[0] = 0.0, of.y[0].im = 0.0; });
    add("not real at DC", [m](NamedSamples& of) { of.x[m / 2] = 0.0; });
    add("nothing at DC", [m](NamedSamples& of) { of.x[m / 2] = 0.0, of.y[m / 2] = Complex(1e-15); });
    add("two at DC", [m](NamedSamples& of) { of.x[0] = of.x[m - 1] = 0.0, of.y[0] = Complex(); });
    add("a zero", [m](NamedSamples& of) { of.y[m / 2] = Complex(); });
    add("zeros", each([](double) { return Complex(); }));
    add("tiny", each([](double) { return Complex(1e-31, 1e-31); }));
    add("huge", each([](double at) { return Complex(1e150 * at, 1e152); }));
    add("beyond squares", each([](double at) { return Complex(1e200 * at, 1.0); }));
    add("constant", each([](double) { return Complex(0.6, -0.8); }));
    add("real", each([](double at) { return Complex(at * at - 1.0); }));
    add("rational", each([](double at) { return Quotient(Complex(1.0, at), Complex(1.0 - at * at, at)); }));
    add("equal frequencies", [m](NamedSamples& of) { of.x[m - 1] = of.x[0]; });
    add("equal samples", [m](NamedSamples& of) { of.x[m - 1] = of.x[0], of.y[m - 1] = of.y[0]; });
    add("negative", [m](NamedSamples& of) { of.x[m / 2] = -of.x[0]; });
    add("not a number", [m](NamedSamples& of) { of.y[m / 2].re = std::nan(""); });
    add("infinite", [m](NamedSamples& of) { of.y[m / 2].im = INFINITY; });
    add("frequency not a number", [m](NamedSamples& of) { of.x[m / 2] = std::nan(""); });
    return all;
}

// Two numbers with the same bits, but for the sign of zeros; NaNs are one.
inline bool Same(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}
inline bool Same(const Complex& a, const Complex& b) {
    return Same(a.re, b.re) && Same(a.im, b.im);
}

// S of a two-port of equal sections (r + s l in series, g + s c in parallel) between 1 ohm ports, s = j frequency / 1e9:
// of order 2 * sections.
inline ComplexMatrix Ladder(double frequency, int sections, double r, double l, double g, double c) {
    const Complex s(0.0, frequency / 1e9);
    const Complex series = Complex(r) + Complex(l) * s, parallel = Complex(g) + Complex(c) * s;
    Complex a = 1.0, b, cc, d = 1.0;
    for (int i = 0; i < sections; ++i) {
        b += a * series;
        d += cc * series;
        a += b * parallel;
        cc += d * parallel;
    }
    const Complex sum = a + b + cc + d;
    return Matrix_(2, {Quotient(a + b - cc - d, sum), Quotient(Complex(2.0), sum),
                       Quotient(Complex(2.0), sum), Quotient(Complex() - a + b - cc + d, sum)});
}
// Two resonators, at 2 and 2.1 GHz, with losses of 1 / q.
inline ComplexMatrix Resonators(double frequency, double q) {
    const Complex s(0.0, frequency / 2e9);
    const Complex first = Quotient(s, s * s + Complex(1 / q) * s + Complex(1.0));
    const Complex second = Quotient(s, s * s + Complex(1 / q) * s + Complex(1.1025));
    const Complex through = Complex(0.4 / q) * (first - second);
    return Matrix_(2, {Complex(0.5 / q) * first - Complex(0.9), through, through,
                       Complex(0.5 / q) * second - Complex(0.8)});
}

// What is read again, with all digits.
inline io::CBlock BlockFrom(CNetworkDataSolution& solution) {
    io::CBlock written(AString(u"SolutionData")), read;
    EXPECT_TRUE(solution.WriteToBlock(written, true));
    AString text;
    EXPECT_TRUE(read.FromText(written.ToText(text, 0, 17)));
    return read;
}
