#include <sparamlib/zeph_interpolator.h>

#include "named_values.h"

#include <sparamlib/zeph_modal_data.h>
#include <utility/assertion.h>

#include <algorithm>
#include <tuple>

#define TARVOK_ZEPH_ASSERT(expression, text)                                                                 \
    TARVOK_ASSERT_AT("lib/sparamlib/source/ZephInterpolator", __LINE__, expression, text)

namespace {

enum Quantity : unsigned { kS = 1, kZpi = 2, kZpv = 4, kZvi = 8, kGamma = 16, kT = 32, kP = 64 };
// As AdaptiveInterp numbers them.
enum Kind : int { kSKind, kZpiKind, kZpvKind, kZviKind, kGammaKind, kTKind, kPKind };

struct VectorQuantity {
    unsigned bit;
    int kind;
    const ComplexVector* (*get)(const CZephModalData& point);
    void (CZephModalData::*set)(ComplexVector*, bool);
};
constexpr VectorQuantity kVectorQuantities[] = {
    {kZpi, kZpiKind, [](const CZephModalData& point) { return point.GetZpi(); }, &CZephModalData::SetZpi},
    {kZpv, kZpvKind, [](const CZephModalData& point) { return point.GetZpv(); }, &CZephModalData::SetZpv},
    {kZvi, kZviKind, [](const CZephModalData& point) { return point.GetZvi(); }, &CZephModalData::SetZvi},
    {kGamma, kGammaKind, [](const CZephModalData& point) { return point.GetGamma(); },
     &CZephModalData::SetGamma},
};

// What is stored and copied, under these keys.
constexpr const wchar16* kKeys[] = {u"ErrorTolerance", u"MaxBasisSize", u"BasisSize",    u"LowSampleFreq",
                                    u"HighSampleFreq", u"NumSamples",   u"LastBasisFreq"};
template <class Interpolator>
auto SettingsOf(Interpolator& of) {
    return std::tie(of.m_ErrorTolerance, of.m_MaxBasisSize, of.m_BasisSize, of.m_LowSampleFreq,
                    of.m_HighSampleFreq, of.m_NumSamples, of.m_LastBasisFreq);
}
template <class Interpolator, class Move>
void ForEachSetting(Interpolator& of, const Move& move) {
    const wchar16* const* key = kKeys;
    std::apply([&](auto&... setting) { (move(*key++, setting), ...); }, SettingsOf(of));
}

// A matrix for the point to take over.
ComplexMatrix* CopyOfMatrix(const Complex* elements, int n) {
    auto* matrix = new ComplexMatrix(n, n);
    std::copy_n(elements, matrix->Size(), matrix->Data());
    return matrix;
}
ComplexVector* CopyOfVector(const Complex* elements, int n) {
    auto* vector = new ComplexVector(n);
    std::copy_n(elements, n, vector->Data());
    return vector;
}

} // namespace

CZephInterpolator::CZephInterpolator(int matSize) : m_MatSize(matSize) {
    TARVOK_ZEPH_ASSERT(matSize > 0, "matSize > 0");
}

CZephInterpolator::CZephInterpolator(const CZephInterpolator& other) : m_MatSize(other.m_MatSize) {
    *this = other;
}

CZephInterpolator& CZephInterpolator::operator=(const CZephInterpolator& other) {
    if (this == &other)
        return *this;
    SettingsOf(*this) = SettingsOf(other);
    m_MatSize = other.m_MatSize;
    m_Interpolator.reset();
    return *this;
}

std::int32_t CZephInterpolator::ReadFromBlock(io::CBlock& block) {
    ForEachSetting(*this, NamedReader{block});
    return 0;
}

bool CZephInterpolator::WriteToBlock(io::CBlock& block) const {
    ForEachSetting(*this, NamedWriter{block});
    return true;
}

AdaptiveInterp& CZephInterpolator::MakeSweep() {
    if (!m_Interpolator) {
        TARVOK_ZEPH_ASSERT(m_MatSize > 0, "m_MatSize > 0");
        TARVOK_ZEPH_ASSERT(m_MaxBasisSize > 0, "m_MaxBasisSize > 0");
        TARVOK_ZEPH_ASSERT(m_LowSampleFreq < m_HighSampleFreq, "m_LowSampleFreq < m_HighSampleFreq");
        m_Interpolator = std::make_unique<AdaptiveInterp>(m_LowSampleFreq, m_HighSampleFreq, m_MatSize,
                                                          m_ErrorTolerance, m_MaxBasisSize);
    }
    return *m_Interpolator;
}

bool CZephInterpolator::AddSample(CNetworkData* data, unsigned mask, bool countIt) {
    auto* modal = dynamic_cast<CZephModalData*>(data);
    auto* terminal = dynamic_cast<CZephTerminalData*>(data);
    if (!modal && !terminal)
        return false;
    AdaptiveInterp& sweep = MakeSweep();
    const double frequency = data->GetFrequency();
    bool isGood = true;
    const auto add = [&](unsigned bit, int kind, const auto* quantity, bool isDemanded) {
        if (mask & bit)
            isGood = (quantity ? sweep.AddSample(kind, frequency, *quantity) == kSweepDone : !isDemanded) &&
                     isGood;
    };
    add(kS, kSKind, data->GetSMatrix(false), false);
    if (modal) {
        for (const VectorQuantity& vector : kVectorQuantities)
            add(vector.bit, vector.kind, vector.get(*modal), false);
    }
    add(kP, kPKind, modal ? modal->GetPMatrix() : terminal->GetPMatrix(), terminal);
    add(kT, kTKind, modal ? modal->GetTMatrix() : terminal->GetTMatrix(), terminal);
    if (countIt)
        ++m_BasisSize;
    m_LastBasisFreq = frequency;
    return isGood;
}

bool CZephInterpolator::FillPoint(CNetworkData* data) {
    TARVOK_ZEPH_ASSERT(data != nullptr, "data != 0");
    TARVOK_ZEPH_ASSERT(m_Interpolator != nullptr, "m_Interpolator != 0");
    auto* modal = dynamic_cast<CZephModalData*>(data);
    auto* terminal = dynamic_cast<CZephTerminalData*>(data);
    if ((!modal && !terminal) || !m_Interpolator)
        return false;
    AdaptiveInterp& sweep = *m_Interpolator;
    const double frequency = data->GetFrequency();
    if (const Complex* s = sweep.Evaluate(kSKind, frequency))
        data->SetSMatrix(CopyOfMatrix(s, m_MatSize), false);
    if (terminal || sweep.GetNumSamples(kPKind) > 0) {
        const Complex* p = sweep.Evaluate(kPKind, std::max(frequency, m_LowSampleFreq));
        if (!p)
            return false;
        modal ? modal->SetPMatrix(CopyOfMatrix(p, m_MatSize), false)
              : terminal->SetPMatrix(CopyOfMatrix(p, m_MatSize), false);
    }
    if (terminal || sweep.GetNumSamples(kTKind) > 0) {
        const Complex* t = sweep.Evaluate(kTKind, frequency);
        if (!t)
            return false;
        modal ? modal->SetTMatrix(CopyOfMatrix(t, m_MatSize), false)
              : terminal->SetTMatrix(CopyOfMatrix(t, m_MatSize), false);
    }
    if (terminal)
        return true;
    for (const VectorQuantity& vector : kVectorQuantities) {
        if (sweep.GetNumSamples(vector.kind) == 0)
            continue;
        const Complex* elements = sweep.Evaluate(vector.kind, frequency);
        if (!elements)
            return false;
        (modal->*vector.set)(CopyOfVector(elements, m_MatSize), false);
    }
    return true;
}

double CZephInterpolator::NextSampleFrequency(int& code) {
    TARVOK_ZEPH_ASSERT(m_Interpolator != nullptr, "m_Interpolator != 0");
    code = kSweepBadCall;
    double frequency = 0.0;
    if (m_Interpolator)
        code = m_Interpolator->NextFrequency(frequency);
    return code == kSweepDone || code == kSweepWantsSample ? frequency : 0.0;
}

double CZephInterpolator::RestoreState(int& code, bool wantNext) {
    TARVOK_ZEPH_ASSERT(m_Interpolator != nullptr, "m_Interpolator != 0");
    code = kSweepDone;
    if (!m_Interpolator || !(m_LastBasisFreq > 0.0))
        return 0.0;
    m_Interpolator->SetLastFreq(m_LastBasisFreq);
    m_Interpolator->Rebuild();
    double frequency = 0.0;
    if (wantNext)
        code = m_Interpolator->NextFrequency(frequency);
    return frequency;
}

void CZephInterpolator::Replay(const CFrequencyMap& points, unsigned mask) {
    const double lastBasisFreq = m_LastBasisFreq;
    m_BasisSize = 0;
    for (const auto [frequency, point] : points)
        AddSample(point, mask, true);
    m_LastBasisFreq = lastBasisFreq;
    int code = 0;
    if (m_Interpolator)
        RestoreState(code, false);
}
