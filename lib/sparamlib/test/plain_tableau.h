// The rational tableau as it is written out, one element after the other: what the library's must equal to the bit.
#pragma once

#include <matrix/cmat.h>

#include <cmath>
#include <vector>

inline bool PlainTableau(double x, ComplexMatrix& result, const std::vector<const ComplexMatrix*>& ya,
                         const RealVector& xa, ComplexMatrix& error) {
    const int m = xa.Size();
    const int order = ya[0]->Rows();
    std::vector<Complex> c(ya.size()), d(ya.size());
    const auto at = [](std::vector<Complex>& values, int i) -> Complex& {
        return values[static_cast<std::size_t>(i)];
    };
    for (int row = 0; row < order; ++row) {
        for (int column = 0; column < order; ++column) {
            int near = 0;
            double hh = std::fabs(x - xa[0]);
            bool isSample = false;
            for (int i = 0; i < m && !isSample; ++i) {
                const Complex& sample = (*ya[static_cast<std::size_t>(i)])[row][column];
                const double h = std::fabs(x - xa[i]);
                if (h <= 1e-06) {
                    result[row][column] = sample;
                    error[row][column] = Complex();
                    isSample = true;
                } else if (h < hh) {
                    near = i;
                    hh = h;
                }
                at(c, i) = sample;
                at(d, i) = Complex(sample.re + 1e-12, sample.im);
            }
            if (isSample)
                continue;
            Complex y = (*ya[static_cast<std::size_t>(near)])[row][column];
            Complex dy;
            int ns = near;
            for (int k = 1; k < m; ++k) {
                for (int i = 0; i <= m - 1 - k; ++i) {
                    const Complex w = at(c, i + 1) - at(d, i);
                    const double h = xa[i + k] - x;
                    const Complex scaled = (xa[i] - x) * at(d, i);
                    const Complex t(scaled.re / h, scaled.im / h);
                    Complex dd = t - at(c, i + 1);
                    if (abs(dd) == 0.0)
                        return false;
                    dd = Quotient(w, dd);
                    at(d, i) = at(c, i + 1) * dd;
                    at(c, i) = t * dd;
                }
                dy = 2 * ns < m - k ? at(c, ns) : at(d, --ns);
                y += dy;
            }
            result[row][column] = y;
            error[row][column] = dy;
        }
    }
    return true;
}
