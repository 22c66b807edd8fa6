#include "rat_poly_table.h"

#include "rat_poly_stage.h"

#include <algorithm>

namespace {

constexpr int kBlockVectors = 4; // as many as hide how long a division takes
constexpr int kBlockLanes = kBlockVectors * V4::kLanes;

// An empty stage: 1 / (b + ...) vanishes.
constexpr double kEmptyB = 1e300;
constexpr double kEmptyC = 1.0;

RatPolyTable::Block MakeBlock(const std::vector<CRatPolyFit>& fits, int first) {
    const int count = std::min(kBlockLanes, static_cast<int>(fits.size()) - first);
    RatPolyTable::Block block{first,
                              count,
                              0,
                              {},
                              {},
                              std::vector<double>(kBlockLanes, 0.0),
                              std::vector<double>(kBlockLanes, 0.0)};
    const auto fit = [&](int lane) -> const CRatPolyFit& {
        return fits[static_cast<std::size_t>(first + lane)];
    };
    for (int lane = 0; lane < count; ++lane) {
        block.stages = std::max(block.stages, fit(lane).Order());
        block.scales[static_cast<std::size_t>(lane)] = fit(lane).Scale();
        block.zeros[static_cast<std::size_t>(lane)] = fit(lane).IsZeroAtDC() ? 1.0 : 0.0;
    }
    for (int k = 0; k < block.stages; ++k) {
        double a[kBlockLanes], b[kBlockLanes], c[kBlockLanes];
        for (int lane = 0; lane < kBlockLanes; ++lane) {
            const bool isEmpty = lane >= count || k >= fit(lane).Order();
            a[lane] = isEmpty ? 0.0 : fit(lane).A()[k];
            b[lane] = isEmpty ? kEmptyB : fit(lane).B()[k];
            c[lane] = isEmpty ? kEmptyC : fit(lane).C()[k];
        }
        for (const double* numbers : {a, b, c})
            block.coefficients.insert(block.coefficients.end(), numbers, numbers + kBlockLanes);
        block.isAtDC.push_back(std::find(c, c + kBlockLanes, 0.0) != c + kBlockLanes);
    }
    return block;
}

// The first vectors of the block.
template <class V, int kCount>
TARVOK_INLINE void EvaluateVectors(const RatPolyTable::Block& block, const std::vector<CRatPolyFit>& fits,
                                   double frequency, Complex* out) {
    using Numbers = typename V::Numbers;
    const Numbers x = frequency - Numbers{};
    const Numbers square = x * x;
    StageValue<V> t[kCount] = {};
    for (int k = block.stages - 1; k >= 0; --k) {
        const double* stage = block.coefficients.data() + 3 * kBlockLanes * k;
        const bool isAtDC = block.isAtDC[static_cast<std::size_t>(k)];
        for (int v = 0; v < kCount; ++v) {
            Numbers a, b, c;
            Load<V>(a, stage + v * V::kLanes);
            Load<V>(b, stage + v * V::kLanes + kBlockLanes);
            Load<V>(c, stage + v * V::kLanes + 2 * kBlockLanes);
            StageValue<V> atDC = t[v];
            Extend<V>(t[v], x, c * c - square, a, b);
            if (isAtDC) {
                ExtendAtDC<V>(atDC, x, b);
                t[v].re = c == 0.0 ? atDC.re : t[v].re;
                t[v].im = c == 0.0 ? atDC.im : t[v].im;
            }
            Invert<V>(t[v]);
        }
    }
    for (int v = 0; v < kCount; ++v) {
        Numbers scale, zero;
        Load<V>(scale, block.scales.data() + v * V::kLanes);
        Load<V>(zero, block.zeros.data() + v * V::kLanes);
        StageValue<V> withS = t[v];
        ExtendAtDC<V>(withS, x, 0.0);
        t[v].re = scale * (zero != 0.0 ? withS.re : t[v].re);
        t[v].im = scale * (zero != 0.0 ? withS.im : t[v].im);
        typename V::Mask isInfinite;
        FindInfinite<V>(t[v], isInfinite);
        const int first = v * V::kLanes;
        for (int lane = 0; lane < std::min(V::kLanes, block.fits - first); ++lane) {
            const int fit = block.firstFit + first + lane;
            out[fit] = isInfinite[lane]
                           ? fits[static_cast<std::size_t>(fit)].Evaluate(Complex(0.0, frequency))
                           : Complex(t[v].re[lane], t[v].im[lane]);
        }
    }
}

template <class V>
TARVOK_INLINE void EvaluateBlock(const RatPolyTable::Block& block, const std::vector<CRatPolyFit>& fits,
                                 double x, Complex* out) {
    constexpr int kHalf = kBlockLanes / 2 / V::kLanes;
    if (block.fits > kBlockLanes / 2)
        EvaluateVectors<V, 2 * kHalf>(block, fits, x, out);
    else if (block.fits > kBlockLanes / 4)
        EvaluateVectors<V, kHalf>(block, fits, x, out);
    else
        EvaluateVectors<V, kHalf / 2>(block, fits, x, out);
}

using Blocks = std::vector<RatPolyTable::Block>;

void EvaluatePlain(const Blocks& blocks, const std::vector<CRatPolyFit>& fits, double x, Complex* out) {
    for (const RatPolyTable::Block& block : blocks)
        EvaluateBlock<V2>(block, fits, x, out);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void EvaluateAvx2(const Blocks& blocks, const std::vector<CRatPolyFit>& fits,
                                          double x, Complex* out) {
    for (const RatPolyTable::Block& block : blocks)
        EvaluateBlock<V4>(block, fits, x, out);
}
#endif

} // namespace

RatPolyTable::RatPolyTable(std::vector<CRatPolyFit> fits) : m_Fits(std::move(fits)) {
    for (std::size_t first = 0; first < m_Fits.size(); first += kBlockLanes)
        m_Blocks.push_back(MakeBlock(m_Fits, static_cast<int>(first)));
}

void RatPolyTable::Evaluate(double x, Complex* out) const {
#if defined(__x86_64__)
    if (HasAvx2())
        return EvaluateAvx2(m_Blocks, m_Fits, x, out);
#endif
    EvaluatePlain(m_Blocks, m_Fits, x, out);
}
