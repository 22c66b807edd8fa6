#include <sparamlib/rat_poly_method.h>

#include <sparamlib/network_data_utilities.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace {

constexpr int kSelectFrom = 10; // entries
constexpr double kSelectedShare = 0.1;
constexpr int kEstimatePoints = 4;
constexpr double kLeastWidth = 1e-30;

constexpr int kLevels = 14;
constexpr int kTableau = 5;      // levels that are extrapolated: every integral takes them
constexpr int kFirstPoints = 81; // of these levels
constexpr double kLevelRatio = 0.1111111111111111;
constexpr double kTolerance = 0.001;

constexpr auto kSteps = [] {
    std::array<double, kLevels> steps{1.0};
    for (std::size_t j = 1; j < steps.size(); ++j)
        steps[j] = steps[j - 1] * kLevelRatio;
    return steps;
}();

// Two new places of the midpoint rule stand around each old one, for a level from 2 on.
int PairsOf(int level) {
    int pairs = 1;
    for (int j = 2; j < level; ++j)
        pairs *= 3;
    return pairs;
}
int PointsOf(int level) {
    return level == 1 ? 1 : 2 * PairsOf(level);
}

// Appends the places that a level adds, in their order.
void AddPoints(int level, double a, double b, std::vector<double>& x) {
    if (level == 1) {
        x.push_back((a + b) / 2);
        return;
    }
    const int pairs = PairsOf(level);
    const double del = (b - a) / (3.0 * pairs);
    double at = a + del / 2;
    for (int i = 0; i < pairs; ++i) {
        x.push_back(at);
        at += 2 * del;
        x.push_back(at);
        at += del;
    }
}

// The rule with the values at these places; `before` is that of the level before.
double MidpointRule(int level, double width, double before, const double* values) {
    double sum = 0.0;
    for (int i = 0; i < PointsOf(level); ++i)
        sum += values[i];
    return level == 1 ? width * sum : (before + width * sum / PairsOf(level)) / 3;
}

struct Limit {
    double value;
    double correction;

    bool IsGood() const {
        return std::fabs(correction) < kTolerance * std::max(std::fabs(value), kTolerance);
    }
};

// The polynomial through the last levels where the step is 0, to which the last of them is nearest.
Limit Extrapolate(const double* steps, const double* rules) {
    double c[kTableau], d[kTableau];
    std::copy_n(rules, kTableau, c);
    std::copy_n(rules, kTableau, d);
    Limit limit{rules[kTableau - 1], 0.0};
    for (int k = 1; k < kTableau; ++k) {
        for (int i = 0; i < kTableau - k; ++i) {
            const double w = c[i + 1] - d[i];
            const double step = steps[i] - steps[i + k];
            d[i] = steps[i + k] * w / step;
            c[i] = steps[i] * w / step;
        }
        limit.correction = d[kTableau - 1 - k];
        limit.value += limit.correction;
    }
    return limit;
}

// False if there are none such.
bool AreIndices(int count, const IndexVector* subset, int frequencies,
                const reflectExplor::Samples& samples) {
    if (count < 0 || count > frequencies || (subset && count > subset->Size()))
        return false;
    int most = count - 1;
    for (int i = 0; subset && i < count; ++i) {
        if ((*subset)[i] < 0 || (*subset)[i] >= frequencies)
            return false;
        most = std::max(most, (*subset)[i]);
    }
    return std::all_of(samples.begin(), samples.end(),
                       [&](const ComplexVector& of) { return of.Size() > most; });
}

ComplexVector Scaled(const ComplexVector& samples, const Complex& scale) {
    ComplexVector scaled(samples);
    for (int i = 0; i < scaled.Size(); ++i)
        scaled[i] /= scale;
    return scaled;
}

} // namespace

double ratPoly_method::Difference(double x, int entry) const {
    if (!IsEntry(entry))
        return 0.0;
    const Complex s(0.0, x);
    const auto e = static_cast<std::size_t>(entry);
    return abs(m_FitA[e].Evaluate(s) - m_FitB[e].Evaluate(s));
}

double ratPoly_method::Magnitude(double x, int entry) const {
    return IsEntry(entry) ? abs(m_FitA[static_cast<std::size_t>(entry)].Evaluate(Complex(0.0, x))) : 0.0;
}

void ratPoly_method::Differences(int entry, const std::vector<double>& x, std::vector<double>& out) const {
    constexpr std::size_t kChunk = 256;
    const auto e = static_cast<std::size_t>(entry);
    out.resize(x.size());
    double aRe[kChunk], aIm[kChunk], bRe[kChunk], bIm[kChunk];
    for (std::size_t first = 0; first < x.size(); first += kChunk) {
        const std::size_t count = std::min(kChunk, x.size() - first);
        m_FitA[e].Evaluate(x.data() + first, static_cast<int>(count), aRe, aIm);
        m_FitB[e].Evaluate(x.data() + first, static_cast<int>(count), bRe, bIm);
        for (std::size_t i = 0; i < count; ++i)
            out[first + i] = abs(Complex(aRe[i] - bRe[i], aIm[i] - bIm[i]));
    }
}

int ratPoly_method::Explore(int n, const IndexVector* subset, const RealVector* xa, const Samples& samples,
                            int nB, const IndexVector* subsetB) {
    m_NumEntries = 0;
    m_Selected.clear();
    if (samples.empty() || n < 2 || n < nB || !AreIndices(n, subset, xa->Size(), samples) ||
        !AreIndices(nB, subsetB, xa->Size(), samples))
        return kSweepBadCall;
    m_NumFreqs = n;
    m_Freqs.resize(n);
    for (int i = 0; i < n; ++i)
        m_Freqs[i] = (*xa)[subset ? (*subset)[i] : i];
    std::sort(m_Freqs.Data(), m_Freqs.Data() + n, FrequencyLess());

    m_FitA.resize(samples.size());
    m_FitB.resize(samples.size());
    for (std::size_t e = 0; e < samples.size(); ++e) {
        const ComplexVector scaled = Scaled(samples[e], m_Scale);
        m_FitA[e].Fit(n, *xa, scaled, subset);
        m_FitB[e].Fit(nB, *xa, scaled, subsetB);
    }
    m_NumEntries = static_cast<int>(samples.size());
    if (m_NumEntries >= kSelectFrom)
        SelectEntries();

    std::vector<double> points;
    points.reserve(static_cast<std::size_t>(n - 1) * kFirstPoints);
    for (int i = 0; i + 1 < n; ++i) {
        for (int level = 1; level <= kTableau; ++level)
            AddPoints(level, m_Freqs[i], m_Freqs[i + 1], points);
    }
    std::vector<double> greatest(static_cast<std::size_t>(n - 1), -std::numeric_limits<double>::infinity());
    const int counted = m_Selected.empty() ? m_NumEntries : static_cast<int>(m_Selected.size());
    for (int i = 0; i < counted; ++i) {
        const int entry = m_Selected.empty() ? i : m_Selected[static_cast<std::size_t>(i)];
        if (!Integrate(entry, points, greatest))
            return kSweepNumericFailure;
    }

    const auto next = std::max_element(greatest.begin(), greatest.end()) - greatest.begin();
    m_NextFreq = (m_Freqs[static_cast<int>(next)] + m_Freqs[static_cast<int>(next) + 1]) / 2;
    for (int i = 0; i + 1 < n; ++i) {
        const double width = m_Freqs[i + 1] - m_Freqs[i];
        if (width < kLeastWidth)
            break;
        greatest[static_cast<std::size_t>(i)] /= width;
    }
    m_Error = *std::max_element(greatest.begin(), greatest.end());
    return kSweepDone;
}

int ratPoly_method::Explore(int n, const RealVector* xa, const Samples& samples, int nB,
                            const IndexVector* subsetB) {
    return Explore(n, nullptr, xa, samples, nB, subsetB);
}

int ratPoly_method::Explore(const RealVector* xa, const Samples& samples, int nB,
                            const IndexVector* subsetB) {
    return Explore(xa->Size(), xa, samples, nB, subsetB);
}

void ratPoly_method::SelectEntries() {
    const auto intervals = static_cast<std::size_t>(m_NumFreqs - 1);
    const auto delOf = [this](std::size_t i) {
        const int k = static_cast<int>(i);
        return (m_Freqs[k + 1] - m_Freqs[k]) / kEstimatePoints;
    };
    std::vector<double> points;
    for (std::size_t i = 0; i < intervals; ++i) {
        for (int p = 0; p < kEstimatePoints; ++p)
            points.push_back(m_Freqs[static_cast<int>(i)] + (2 * p + 1) * delOf(i) / 2);
    }
    std::vector<double> values(static_cast<std::size_t>(m_NumEntries), 0.0);
    std::vector<double> differences;
    for (int e = 0; e < m_NumEntries; ++e) {
        Differences(e, points, differences);
        double& value = values[static_cast<std::size_t>(e)];
        for (std::size_t i = 0; i < intervals; ++i) {
            const double* of = differences.data() + i * kEstimatePoints;
            const double sum = of[0] + of[1] + of[2] + of[3];
            m_Estimate = (m_Estimate + delOf(i) * sum) / 2;
            if (m_Estimate > value)
                value = m_Estimate;
        }
    }
    const double largest = *std::max_element(values.begin(), values.end());
    for (int e = 0; e < m_NumEntries; ++e) {
        if (largest != 0.0 ? values[static_cast<std::size_t>(e)] / largest >= kSelectedShare : e == 0)
            m_Selected.push_back(e);
    }
}

bool ratPoly_method::Integrate(int entry, const std::vector<double>& firstLevels,
                               std::vector<double>& greatest) const {
    std::vector<double> first, points, values;
    Differences(entry, firstLevels, first);
    for (std::size_t i = 0; i < greatest.size(); ++i) {
        const double a = m_Freqs[static_cast<int>(i)];
        const double b = m_Freqs[static_cast<int>(i) + 1];
        double rules[kLevels];
        const double* taken = first.data() + i * kFirstPoints;
        for (int level = 1;; ++level) {
            if (level > kTableau) {
                points.clear();
                AddPoints(level, a, b, points);
                Differences(entry, points, values);
                taken = values.data();
            }
            rules[level - 1] = MidpointRule(level, b - a, level > 1 ? rules[level - 2] : 0.0, taken);
            taken += PointsOf(level);
            // What isn't finite stays so at all levels.
            if (!std::isfinite(rules[level - 1]))
                return false;
            if (level >= kTableau) {
                const Limit limit = Extrapolate(kSteps.data() + level - kTableau, rules + level - kTableau);
                if (limit.IsGood()) {
                    greatest[i] = std::max(greatest[i], limit.value);
                    break;
                }
            }
            if (level == kLevels)
                return false;
        }
    }
    return true;
}
