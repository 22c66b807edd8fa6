// The rational fit, the explorer and the choice of frequencies as they are written out, one number after the other: what
// the library's must equal to the bit.
#pragma once

#include <matrix/cmat.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace plain {

using Indices = std::vector<std::size_t>;
using Values = std::vector<Complex>;

inline Complex Over(const Complex& value, double divisor) {
    if (divisor == 0.0)
        return {1.7976931348623157e+308, 1.7976931348623157e+308};
    return {value.re / divisor, value.im / divisor};
}

struct Fit {
    std::vector<double> a, b, c;
    bool zeroAtDC = false;
    double scale = 0.0;

    Fit(const std::vector<double>& xa, const Values& samples, const Indices& subset) {
        std::vector<double> x;
        Values y;
        for (std::size_t i : subset) {
            x.push_back(xa[i]);
            y.push_back(samples[i]);
        }
        for (const Complex& value : y)
            scale = abs(value) > scale ? abs(value) : scale;
        if (scale < 1e-30) {
            scale = 0.0;
            return;
        }
        for (Complex& value : y)
            value = Over(value, scale);
        for (std::size_t i = 0; i < y.size(); ++i) {
            if (x[i] == 0.0 && abs(y[i]) <= 1e-14) {
                zeroAtDC = true;
                x.erase(x.begin() + static_cast<std::ptrdiff_t>(i));
                y.erase(y.begin() + static_cast<std::ptrdiff_t>(i));
                for (std::size_t k = 0; k < y.size(); ++k)
                    y[k] = Quotient(y[k], Complex(0.0, x[k]));
                break;
            }
        }
        for (std::size_t k = 0; k < y.size(); ++k) {
            double big = 0.0;
            for (std::size_t i = k; i < y.size(); ++i)
                big = abs(y[i]) > big ? abs(y[i]) : big;
            if (big <= 1e-14)
                return;
            if (abs(y[k]) <= 1e-14 * big)
                continue;
            const Complex w = 1.0 / y[k];
            b.push_back(w.re);
            c.push_back(x[k]);
            a.push_back(x[k] != 0.0 ? w.im / x[k] : 0.0);
            for (std::size_t i = k + 1; i < y.size(); ++i) {
                if (abs(y[i]) <= 1e-14 * big) {
                    y[i] = Complex();
                    continue;
                }
                const Complex u = 1.0 / y[i];
                if (c.back() != 0.0)
                    y[i] = Over(Complex(u.re - b.back(), u.im - a.back() * x[i]),
                                c.back() * c.back() - x[i] * x[i]);
                else
                    y[i] = Quotient(u - Complex(b.back()), Complex(0.0, x[i]));
            }
        }
    }

    Complex operator()(double x) const {
        const Complex s(0.0, x);
        Complex t;
        bool infinite = false;
        for (std::size_t k = b.size(); k-- > 0;) {
            if (s.re == 0.0 && s.im == c[k]) {
                t = Complex();
                infinite = false;
            } else if (infinite) {
                t = Complex();
                infinite = false;
                continue;
            }
            if (c[k] != 0.0)
                t = t * (s * s + Complex(c[k] * c[k])) + a[k] * s;
            else
                t = t * s;
            t = t + Complex(b[k]);
            if (abs(t) != 0.0)
                t = 1.0 / t;
            else
                infinite = true;
        }
        if (infinite)
            t = Complex(1e30, 0.0);
        if (zeroAtDC)
            t = t * s;
        return {t.re * scale, t.im * scale};
    }
};

inline Indices UpTo(std::size_t n) {
    Indices all(n);
    for (std::size_t i = 0; i < n; ++i)
        all[i] = i;
    return all;
}

struct Explorer {
    Complex scale{1.0};
    double estimate = 0.0;
    std::vector<Fit> fitA, fitB;
    Indices selected;
    double error = 0.0, nextFreq = 0.0;

    double Difference(double x, std::size_t e) const { return abs(fitA[e](x) - fitB[e](x)); }

    double Estimate(double a, double b, std::size_t e) {
        const double del = (b - a) / 4;
        double sum = 0.0;
        for (int odd : {1, 3, 5, 7})
            sum += Difference(a + odd * del / 2, e);
        return estimate = (estimate + del * sum) / 2;
    }

    bool Integrate(double a, double b, std::size_t e, double& integral) const {
        std::vector<double> h{0.0, 1.0}, r{0.0};
        for (int j = 1; j <= 14; ++j) {
            if (j == 1) {
                r.push_back((b - a) * Difference((a + b) / 2, e));
            } else {
                const int it = static_cast<int>(std::lround(std::pow(3, j - 2)));
                const double del = (b - a) / (3.0 * it);
                double x = a + del / 2;
                double sum = 0.0;
                for (int i = 0; i < it; ++i) {
                    sum += Difference(x, e);
                    x += 2 * del;
                    sum += Difference(x, e);
                    x += del;
                }
                r.push_back((r.back() + (b - a) * sum / it) / 3);
            }
            if (j >= 5) {
                std::vector<double> xa(h.end() - 5, h.end()), c(r.end() - 5, r.end()), d = c;
                std::size_t ns = 4; // h falls
                double ss = c[ns], dss = 0.0;
                for (std::size_t k = 1; k < 5; ++k) {
                    for (std::size_t i = 0; i + k < 5; ++i) {
                        const double w = c[i + 1] - d[i];
                        d[i] = (xa[i + k] - 0.0) * w / (xa[i] - xa[i + k]);
                        c[i] = (xa[i] - 0.0) * w / (xa[i] - xa[i + k]);
                    }
                    dss = 2 * ns < 5 - k ? c[ns] : d[--ns];
                    ss += dss;
                }
                if (std::fabs(dss) < 0.001 * std::max(std::fabs(ss), 0.001)) {
                    integral = ss;
                    return true;
                }
            }
            h.push_back(h.back() * 0.1111111111111111);
        }
        return false;
    }

    int Explore(const Indices& subset, const std::vector<double>& xa, const std::vector<Values>& samples,
                const Indices& subsetB) {
        if (subset.size() < subsetB.size())
            return 4;
        std::vector<double> freqs;
        for (std::size_t i : subset)
            freqs.push_back(xa[i]);
        std::sort(freqs.begin(), freqs.end());
        for (Values of : samples) {
            for (Complex& value : of)
                value /= scale;
            fitA.emplace_back(xa, of, subset);
            fitB.emplace_back(xa, of, subsetB);
        }
        if (samples.size() > 9) {
            std::vector<double> v(samples.size(), 0.0);
            for (std::size_t e = 0; e < v.size(); ++e) {
                for (std::size_t i = 0; i + 1 < freqs.size(); ++i)
                    v[e] = std::max(v[e], Estimate(freqs[i], freqs[i + 1], e));
            }
            const double largest = *std::max_element(v.begin(), v.end());
            for (std::size_t e = 0; e < v.size(); ++e) {
                if (largest == 0.0 ? e == 0 : v[e] / largest >= 0.1)
                    selected.push_back(e);
            }
        }
        const Indices counted = selected.empty() ? UpTo(samples.size()) : selected;
        std::vector<double> w;
        for (std::size_t i = 0; i + 1 < freqs.size(); ++i) {
            double greatest = -1e300;
            for (std::size_t e : counted) {
                double d = 0.0;
                if (!Integrate(freqs[i], freqs[i + 1], e, d))
                    return 5;
                greatest = std::max(greatest, d);
            }
            w.push_back(greatest);
        }
        const auto next = static_cast<std::size_t>(std::max_element(w.begin(), w.end()) - w.begin());
        nextFreq = (freqs[next] + freqs[next + 1]) / 2;
        for (std::size_t i = 0; i < w.size() && freqs[i + 1] - freqs[i] >= 1e-30; ++i)
            w[i] /= freqs[i + 1] - freqs[i];
        error = *std::max_element(w.begin(), w.end());
        return 0;
    }
};

// Every kind has its samples at all frequencies, in one order.
struct Sweep {
    double freqScale = 1.0, low, high, tolerance;
    std::size_t maxBasis;
    std::vector<double> freqs;
    std::vector<Values> samples[7];
    std::vector<bool> branch[7];
    bool converged[7] = {};
    Complex valueScale[7] = {1.0, 50.0, 50.0, 50.0, 1.0, 1.0, 1.0};
    Indices order;
    double lastFreq = 0.0, lastError = 0.0;

    Sweep(double lowEnd, double highEnd, double tolerance_, std::size_t maxBasis_)
        : tolerance(tolerance_), maxBasis(maxBasis_) {
        const double mid = (lowEnd + highEnd) / 2;
        if (mid > 1e-30 && mid < 1e+30)
            freqScale = mid;
        low = std::min(lowEnd / freqScale, highEnd / freqScale);
        high = std::max(lowEnd / freqScale, highEnd / freqScale);
        valueScale[4] = 2 * 3.141592653589793 * high * freqScale / 299792458.0;
    }

    static bool IsSquared(int kind) { return kind >= 1 && kind <= 4; }

    int Add(int kind, double freq, const Values& values) {
        const double f = freq / freqScale;
        std::size_t slot = freqs.size();
        while (slot > 0 && !(std::fabs(f - freqs[slot - 1]) < 1e-30))
            --slot;
        slot = slot > 0 ? slot - 1 : freqs.size();
        if (slot >= maxBasis)
            return 3;
        if (slot == freqs.size())
            freqs.push_back(f);
        if (samples[kind].empty()) {
            samples[kind].resize(values.size());
            branch[kind].assign(values.size(), true);
        }
        for (std::size_t e = 0; e < values.size(); ++e) {
            const Complex& z = values[e];
            if (IsSquared(kind) && std::fabs(f - (kind == 4 ? high : low)) <= 1e-30 &&
                std::fabs(z.re) < 1e-06 && z.im < 0.0)
                branch[kind][e] = false;
            const Complex q = Quotient(z, valueScale[kind]);
            samples[kind][e].push_back(IsSquared(kind) ? q * q : z);
        }
        return 0;
    }

    Values Evaluate(int kind, double freq) const {
        Values result;
        for (std::size_t e = 0; e < samples[kind].size(); ++e) {
            const Fit fit(freqs, samples[kind][e], UpTo(freqs.size()));
            Complex w = fit(freq / freqScale);
            if (IsSquared(kind)) {
                if (kind == 4 && w.im < 0.0)
                    w.im = 0.0;
                w = valueScale[kind] * sqrt(w);
                if (std::fabs(w.re) < 1e-06 && (branch[kind][e] ? w.im < 0.0 : w.im > 0.0))
                    w.im = -w.im;
            }
            result.push_back(w);
        }
        return result;
    }

    int Explore(int kind, const Indices& subset) {
        Explorer explorer;
        if (subset.size() > freqs.size())
            return 4;
        if (kind != 0) {
            double largest = 0.0;
            for (const Values& of : samples[kind]) {
                for (std::size_t i : subset)
                    largest = std::max(largest, abs(of[i]));
            }
            if (largest > 1e-30)
                explorer.scale = largest;
        }
        const int code = explorer.Explore(subset, freqs, samples[kind], order);
        if (code == 0) {
            lastFreq = explorer.nextFreq;
            lastError = explorer.error;
        }
        return code;
    }

    int Choose(double& f, const Indices& subset, bool refresh) {
        if (subset.size() > maxBasis)
            return 3;
        if (subset.size() < 3) {
            f = subset.empty() ? high : subset.size() == 1 ? low : (low + high) / 2;
            lastFreq = f;
            return 2;
        }
        if (refresh) {
            const int code = UpdateOrder(subset.size());
            if (code != 0)
                return code;
        }
        for (int kind : {0, 4, 1, 2, 3, 5, 6}) {
            if (converged[kind] || samples[kind].empty())
                continue;
            const int code = Explore(kind, subset);
            if (code != 0)
                return code;
            f = lastFreq;
            if (tolerance <= lastError)
                return 2;
            converged[kind] = true;
        }
        return 1;
    }

    std::size_t Nearest(double f, const Indices& used) const {
        std::size_t nearest = 0;
        double least = 1e300;
        for (std::size_t i = 0; i < freqs.size(); ++i) {
            if (std::fabs(freqs[i] - f) < least && std::find(used.begin(), used.end(), i) == used.end()) {
                least = std::fabs(freqs[i] - f);
                nearest = i;
            }
        }
        return nearest;
    }

    int UpdateOrder(std::size_t n) {
        order.clear();
        if (n < 3)
            return 4;
        if (lastFreq > 1e-30) {
            const std::size_t skip = Nearest(lastFreq, {});
            if (skip == 0)
                return 4;
            for (std::size_t i = 0; i < n; ++i) {
                if (i != skip)
                    order.push_back(i);
            }
            return 0;
        }
        // m_Order with the length that it has filled; the second fit takes one less of it.
        Indices filled;
        for (double end : {low, high}) {
            filled.push_back(Nearest(end, {}));
            if (filled.back() == 0)
                return 4;
        }
        double f = 0.0;
        for (std::size_t k = 2; k < n - 1; ++k) {
            order.assign(filled.begin(), filled.end() - 1);
            const int code = Choose(f, filled, false);
            if (code == 3 || code == 4)
                return code;
            filled.push_back(Nearest(f, filled));
            if (filled.back() == 0)
                return 4;
        }
        order = filled;
        lastFreq = lastError = 0.0;
        std::fill(converged, converged + 7, false);
        return 0;
    }

    int NextFrequency(double& freq) {
        double f = 0.0;
        const int code = Choose(f, UpTo(freqs.size()), true);
        freq = f * freqScale;
        return code;
    }

    int Rebuild() {
        if (freqs.size() < 3)
            return 0;
        const double kept = lastFreq;
        int result = UpdateOrder(freqs.size());
        for (int kind : {4, 1, 2, 3, 5, 6}) {
            if (samples[kind].empty())
                continue;
            const int code = Explore(kind, UpTo(freqs.size()));
            result = result != 0 ? result : code;
        }
        lastFreq = kept;
        return result;
    }
};

} // namespace plain
