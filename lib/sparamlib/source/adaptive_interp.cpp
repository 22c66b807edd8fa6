#include <sparamlib/adaptive_interp.h>

#include "rat_poly_table.h"
#include "reference_planes.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

namespace {

constexpr double kTiny = 1e-30;
constexpr double kHuge = 1e+30;
constexpr double kBranchRange = 1e-06; // real parts
constexpr int kGammaKind = 4;
constexpr int kFirstRoom = 4;

int RoomFor(int count, int room) {
    while (room < count)
        room = room == 0 ? kFirstRoom : 2 * room;
    return room;
}

template <class T>
void Grow(Vector<T>& vector, int room) {
    if (vector.Size() >= room)
        return;
    Vector<T> grown(room, T{});
    std::copy_n(vector.Data(), vector.Size(), grown.Data());
    vector = std::move(grown);
}

bool IsImaginary(const Complex& value) {
    return std::fabs(value.re) < kBranchRange;
}

} // namespace

InterpInterface::InterpInterface(int matSize, double tolerance, int maxBasis)
    : m_MaxBasis(maxBasis), m_MatSize(matSize) {
    std::fill(std::begin(m_Tolerance), std::end(m_Tolerance), tolerance);
}

void InterpInterface::SetMethod(int kind, int method) {
    if (IsKind(kind))
        m_Method[kind] = method;
}

std::size_t InterpInterface::ElementsOf(int kind) const {
    const auto n = static_cast<std::size_t>(std::max(m_MatSize, 0));
    return IsSquared(kind) ? n : n * n;
}

int InterpInterface::AddSample(int kind, double freq, const ComplexVector& values) {
    return AddSample(kind, freq, values.Data(), values.Size());
}

int InterpInterface::AddSample(int kind, double freq, const ComplexMatrix& values) {
    return AddSample(kind, freq, values.Data(), values.Size());
}

int InterpInterface::SlotOf(double frequency) {
    for (int i = std::min(m_NumFreqs, m_MaxBasis) - 1; i >= 0; --i) {
        if (std::fabs(frequency - m_Freqs[i]) < kTiny)
            return i;
    }
    const int slot = m_NumFreqs++;
    if (slot < m_MaxBasis) {
        Grow(m_Freqs, RoomFor(slot + 1, m_Freqs.Size()));
        for (reflectExplor::Samples& samples : m_Samples) {
            for (ComplexVector& of : samples)
                Grow(of, m_Freqs.Size());
        }
        m_Freqs[slot] = frequency;
    }
    return slot;
}

int InterpInterface::AddSample(int kind, double freq, const Complex* values, int count) {
    const double f = freq / m_FreqScale;
    const int slot = SlotOf(f);
    if (slot >= m_MaxBasis)
        return kSweepIsFull;
    if (!IsKind(kind))
        return kSweepBadCall;
    reflectExplor::Samples& samples = m_Samples[kind];
    if (m_NumSamples[kind] == 0) {
        samples.assign(static_cast<std::size_t>(count), ComplexVector(m_Freqs.Size()));
        m_Branch[kind].assign(static_cast<std::size_t>(count), true);
    }
    if (samples.size() != static_cast<std::size_t>(count))
        return kSweepBadCall;
    const bool isReference = IsSquared(kind) && std::fabs(f - m_RefFreq[kind]) <= kTiny;
    for (int e = 0; e < count; ++e) {
        const Complex& z = values[e];
        if (isReference && IsImaginary(z) && z.im < 0.0)
            m_Branch[kind][static_cast<std::size_t>(e)] = false;
        const Complex ratio = IsSquared(kind) ? Quotient(z, m_ValueScale[kind]) : z;
        samples[static_cast<std::size_t>(e)][slot] = IsSquared(kind) ? ratio * ratio : z;
    }
    m_HasSample[kind].resize(static_cast<std::size_t>(m_Freqs.Size()));
    if (!m_HasSample[kind][static_cast<std::size_t>(slot)])
        ++m_NumSamples[kind];
    m_HasSample[kind][static_cast<std::size_t>(slot)] = true;
    return kSweepDone;
}

InterpManager::InterpManager(int matSize, double tolerance, int maxBasis)
    : InterpInterface(matSize, tolerance, maxBasis) {}

InterpManager::~InterpManager() = default;

bool InterpManager::MakeFits(int kind) {
    if (m_Fits[kind])
        return true;
    if (m_Method[kind] != 0 || m_Samples[kind].size() != ElementsOf(kind))
        return false;
    IndexVector stored(m_NumSamples[kind]);
    int count = 0;
    for (std::size_t slot = 0; slot < m_HasSample[kind].size(); ++slot) {
        if (m_HasSample[kind][slot])
            stored[count++] = static_cast<int>(slot);
    }
    std::vector<CRatPolyFit> fits(m_Samples[kind].size());
    for (std::size_t e = 0; e < fits.size(); ++e)
        fits[e].Fit(count, m_Freqs, m_Samples[kind][e], &stored);
    m_Fits[kind] = std::make_unique<RatPolyTable>(std::move(fits));
    m_Result[kind].resize(static_cast<int>(ElementsOf(kind)));
    return true;
}

const Complex* InterpManager::Evaluate(int kind, double freq) {
    if (!IsKind(kind) || m_NumSamples[kind] == 0 || !MakeFits(kind))
        return nullptr;
    ComplexVector& result = m_Result[kind];
    m_Fits[kind]->Evaluate(freq / m_FreqScale, result.Data());
    for (int e = 0; IsSquared(kind) && e < result.Size(); ++e) {
        Complex w = result[e];
        if (kind == kGammaKind && w.im < 0.0)
            w.im = 0.0;
        Complex z = m_ValueScale[kind] * sqrt(w);
        const bool isPositive = m_Branch[kind][static_cast<std::size_t>(e)];
        if (IsImaginary(z) && (isPositive ? z.im < 0.0 : z.im > 0.0))
            z.im = -z.im;
        result[e] = z;
    }
    return result.Data();
}

AdaptiveInterp::AdaptiveInterp(double low, double high, int matSize, double tolerance, int maxBasis)
    : InterpManager(matSize, tolerance, maxBasis) {
    const double middle = (low + high) / 2;
    if (middle > kTiny && middle < kHuge)
        m_FreqScale = middle;
    m_Low = low / m_FreqScale;
    m_High = high / m_FreqScale;
    if (m_Low > m_High)
        std::swap(m_Low, m_High);
    for (int kind : {1, 2, 3})
        m_RefFreq[kind] = m_Low;
    m_RefFreq[kGammaKind] = m_High;
    m_ValueScale[kGammaKind] = kTwoPi * m_High * m_FreqScale / kSpeedOfLight;
}

void AdaptiveInterp::Reopen() {
    std::fill(std::begin(m_Converged), std::end(m_Converged), false);
}

int AdaptiveInterp::NextFrequency(double& freq) {
    double f = 0.0;
    const int code = Choose(f, m_NumFreqs, true);
    freq = f * m_FreqScale;
    return code;
}

int AdaptiveInterp::Choose(double& f, int n, bool refresh) {
    if (n < 0)
        return kSweepBadCall;
    if (n > m_MaxBasis)
        return kSweepIsFull;
    if (n < 3) {
        const double first[] = {m_High, m_Low, (m_Low + m_High) / 2};
        f = m_LastFreq = first[n];
        return kSweepWantsSample;
    }
    if (refresh) {
        if (const int code = UpdateOrder(n); code != kSweepDone)
            return code;
    }
    for (int kind : {0, 4, 1, 2, 3, 5, 6}) {
        if (m_Converged[kind] || m_NumSamples[kind] == 0)
            continue;
        if (const int code = Explore(kind, n, refresh ? nullptr : &m_Order); code != kSweepDone)
            return code;
        f = m_LastFreq;
        if (m_Tolerance[kind] <= m_LastError)
            return kSweepWantsSample;
        m_Converged[kind] = true;
    }
    return kSweepConverged;
}

int AdaptiveInterp::Explore(int kind, int n, const IndexVector* subset) {
    if (m_Method[kind] != 0 || n > m_NumFreqs || n > m_NumSamples[kind])
        return kSweepBadCall;
    ratPoly_method explorer;
    if (kind != 0) {
        double largest = 0.0;
        for (const ComplexVector& of : m_Samples[kind]) {
            for (int i = 0; i < n; ++i)
                largest = std::max(largest, abs(of[subset ? (*subset)[i] : i]));
        }
        if (largest > kTiny)
            explorer.m_Scale = largest;
    }
    const int code = explorer.Explore(n, subset, &m_Freqs, m_Samples[kind], m_OrderCount, &m_Order);
    if (code == kSweepDone) {
        m_LastFreq = explorer.m_NextFreq;
        m_LastError = explorer.m_Error;
    }
    return code;
}

int AdaptiveInterp::Nearest(double f, int n, int used) const {
    int nearest = 0;
    double least = std::numeric_limits<double>::infinity();
    for (int i = 0; i < n; ++i) {
        const double distance = std::fabs(m_Freqs[i] - f);
        const int* end = m_Order.Data() + used;
        if (distance < least && (used == 0 || std::find(m_Order.Data(), end, i) == end)) {
            least = distance;
            nearest = i;
        }
    }
    return nearest;
}

int AdaptiveInterp::UpdateOrder(int n) {
    if (n < 3)
        return kSweepBadCall;
    Grow(m_Order, n);
    if (!(m_LastFreq > kTiny))
        return ReplayOrder(n);
    const int newest = Nearest(m_LastFreq, n, 0);
    if (newest == 0)
        return kSweepBadCall;
    m_OrderCount = 0;
    for (int i = 0; i < n; ++i) {
        if (i != newest)
            m_Order[m_OrderCount++] = i;
    }
    return kSweepDone;
}

int AdaptiveInterp::ReplayOrder(int n) {
    m_Order[0] = Nearest(m_Low, n, 0);
    if (m_Order[0] == 0)
        return kSweepBadCall;
    m_Order[1] = Nearest(m_High, n, 0);
    if (m_Order[1] == 0)
        return kSweepBadCall;
    m_OrderCount = 1;
    double f = 0.0;
    for (int k = 2; k < n - 1; ++k) {
        const int code = Choose(f, k, false);
        if (code == kSweepIsFull || code == kSweepBadCall)
            return code;
        m_Order[k] = Nearest(f, n, k);
        if (m_Order[k] == 0)
            return kSweepBadCall;
        ++m_OrderCount;
    }
    ++m_OrderCount;
    m_LastFreq = 0.0;
    m_LastError = 0.0;
    Reopen();
    return kSweepDone;
}

int AdaptiveInterp::Rebuild() {
    if (m_NumFreqs < 0)
        return kSweepBadCall;
    if (m_NumFreqs > m_MaxBasis)
        return kSweepIsFull;
    if (m_NumFreqs < 3)
        return kSweepDone;
    const double lastFreq = m_LastFreq;
    int result = UpdateOrder(m_NumFreqs);
    for (int kind : {4, 1, 2, 3, 5, 6}) {
        if (m_NumSamples[kind] == 0)
            continue;
        const int code = Explore(kind, m_NumFreqs, nullptr);
        if (result == kSweepDone)
            result = code;
    }
    m_LastFreq = lastFreq;
    return result;
}
