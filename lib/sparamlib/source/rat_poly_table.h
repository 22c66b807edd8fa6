// The fits of many quantities, for the values of all of them at one frequency.
#pragma once

#include <sparamlib/rat_poly_interpolator.h>

#include <vector>

class RatPolyTable {
public:
    explicit RatPolyTable(std::vector<CRatPolyFit> fits);

    // CRatPolyFit::Evaluate at s = j x of each fit, to the same bits but for the sign of zeros.
    void Evaluate(double x, Complex* out) const;

    // Neighbouring fits that are evaluated side by side. Those with fewer stages than others have empty ones behind.
    struct Block {
        int firstFit;
        int fits;
        int stages;
        std::vector<double> coefficients; // of each stage a, then b, then c of all lanes
        std::vector<bool> isAtDC;         // stages with a fit whose c is 0
        std::vector<double> scales;
        std::vector<double> zeros; // 1 for a fit with a factor s, else 0
    };

private:
    std::vector<CRatPolyFit> m_Fits;
    std::vector<Block> m_Blocks;
};
