#include <sparamlib/network_data_solution.h>

#include "point_items.h"
#include "reference_planes.h"

#include <sparamlib/neville_interpolate_visitor.h>
#include <sparamlib/port_table.h>
#include <sparamlib/zeph_interpolate_visitor.h>
#include <streamio/streamio_manip.h>
#include <utility/assertion.h>

#include <algorithm>
#include <cmath>

using io::CNamed_value_manip;

namespace {

constexpr double kRelativeTolerance = 1e-09;
constexpr int kUniformSamples = 500;
constexpr int kDiscreteSamples = 20;
constexpr double kUniformStepTolerance = 1e-05; // hertz
// "ZephInterpolatingSweep" isn't stored.
constexpr std::int32_t kStoredSolutionTypes = 6;
constexpr std::int32_t kTooManyEntries = -1;

bool IsStop(std::int32_t code) {
    return code != 0 && code != 1;
}

void AppendFrequencies(const CFrequencyMap& points, std::vector<double>& out) {
    for (const auto [frequency, point] : points)
        out.push_back(frequency);
}

} // namespace

CNetworkDataSolution::~CNetworkDataSolution() = default;

CNetworkDataSolution& CNetworkDataSolution::operator=(const CNetworkDataSolution& other) {
    if (this == &other)
        return *this;
    m_SolutionType = other.m_SolutionType;
    m_ObjectType = other.m_ObjectType;
    m_AdaptivePass = other.m_AdaptivePass;
    m_EnergyError = other.m_EnergyError;
    m_Name = other.m_Name;
    m_SolvedData.Clear();
    m_InterpolatedData.Clear();
    m_MatrixEntries.clear();
    for (const auto& entry : other.m_MatrixEntries)
        m_MatrixEntries.push_back(std::make_unique<CMatrixEntry>(*entry));
    for (const auto [frequency, point] : other.m_SolvedData)
        AddData(point);
    for (const auto [frequency, point] : other.m_InterpolatedData) {
        if (auto copy = CopyData(point))
            m_InterpolatedData.Insert(std::move(copy));
    }
    m_NoiseSolution.reset();
    if (other.m_NoiseSolution)
        m_NoiseSolution = std::make_unique<CNoiseDataSolution>(*other.m_NoiseSolution);
    return *this;
}

// The tree that is measured is the one that is written: making it is the greater part of the work.
AString& CNetworkDataSolution::ToBinaryText(AString& out) const {
    io::CBlockItemPtr item;
    return GetItem(item)->ToBinaryText(out);
}

AString CNetworkDataSolution::GetBlockName() const {
    return u"SolutionData";
}

std::int32_t CNetworkDataSolution::TransferBlock(io::CBlock& block, bool read) {
    if (read)
        return ReadFromBlock(block);
    return WriteToBlock(block, false) ? 0 : 1;
}

CNetworkData* CNetworkDataSolution::AddData(const CNetworkData* data) {
    if (!data)
        return nullptr;
    if (CNetworkData* held = m_SolvedData.Find(data->GetFrequency()))
        return held;
    auto copy = CopyData(data);
    if (!copy)
        return nullptr;
    copy->SetAuxValue(0.0);
    return AddSolved(std::move(copy));
}

CNetworkData* CNetworkDataSolution::AddData(double freq) {
    if (CNetworkData* held = m_SolvedData.Find(freq))
        return held;
    auto point = CreateData(freq);
    if (!point)
        return nullptr;
    point->SetOwner(this);
    return AddSolved(std::move(point));
}

CNetworkData* CNetworkDataSolution::AddSolved(std::unique_ptr<CNetworkData> point) {
    CNetworkData* added = point.get();
    if (!m_SolvedData.Insert(std::move(point)))
        return nullptr;
    m_InterpolatedData.Erase(added->GetFrequency());
    return added;
}

bool CNetworkDataSolution::RemoveData(double freq) {
    return m_SolvedData.Erase(freq) || m_InterpolatedData.Erase(freq);
}

bool CNetworkDataSolution::HasDominantData() {
    return !m_SolvedData.IsEmpty() && GetDominantData(m_SolvedData.First().frequency, 0.0, true);
}

bool CNetworkDataSolution::IsUniformFromDC() {
    if (m_SolutionType != SolutionType::DiscreteSweep || !HasDominantData() ||
        GetNumSolvedFrequencies() < kUniformSamples)
        return false;
    std::vector<double> frequencies;
    GetFrequencies(frequencies, true);
    if (frequencies.size() < 2 || frequencies[0] != 0.0)
        return false;
    const double step = frequencies[1] - frequencies[0];
    for (std::size_t i = 2; i < frequencies.size(); ++i) {
        if (!(std::fabs(frequencies[i] - frequencies[i - 1] - step) <= kUniformStepTolerance))
            return false;
    }
    return true;
}

bool CNetworkDataSolution::HasMinimumDiscreteSamples() {
    return m_SolutionType == SolutionType::DiscreteSweep && HasDominantData() &&
           GetNumSolvedFrequencies() >= kDiscreteSamples;
}

CNetworkData* CNetworkDataSolution::GetFrequencyData(double) {
    return nullptr;
}

int CNetworkDataSolution::GetMatrixSize() const {
    return static_cast<int>(m_MatrixEntries.size());
}

int CNetworkDataSolution::GetNumPorts() const {
    return GetMatrixSize();
}

int CNetworkDataSolution::GetNumModes(unsigned) const {
    return 1;
}

CMatrixEntry* CNetworkDataSolution::FindMatrixEntry(const AString& name) const {
    const auto found = std::find_if(m_MatrixEntries.begin(), m_MatrixEntries.end(), [&](const auto& entry) {
        return entry->m_PortName.CompareNoCase(name) == 0 ||
               entry->m_ModalEntryName.CompareNoCase(name) == 0 ||
               entry->m_TerminalEntryName.CompareNoCase(name) == 0;
    });
    return found == m_MatrixEntries.end() ? nullptr : found->get();
}

CMatrixEntry* CNetworkDataSolution::GetMatrixEntry(unsigned index) const {
    return index < m_MatrixEntries.size() ? m_MatrixEntries[index].get() : nullptr;
}

CMatrixEntry* CNetworkDataSolution::CheckedEntry(unsigned index, const char* sourcePath) const {
    TARVOK_ASSERT_AT(sourcePath, __LINE__, index < m_MatrixEntries.size(),
                     "(matrix_index < m_MatrixEntries.size())");
    return GetMatrixEntry(index);
}

AString CNetworkDataSolution::GetMatrixEntryName(unsigned index) const {
    const CMatrixEntry* entry = CheckedEntry(index, "lib/sparamlib/source/NetworkDataSolution");
    return entry ? entry->m_PortName : AString();
}

CNetworkData* CNetworkDataSolution::GetData(double freq, double tol, bool interpolate, bool) {
    if (m_SolvedData.IsEmpty())
        return nullptr;
    const double tolerance = std::max(freq * kRelativeTolerance, tol);
    for (const CFrequencyMap* points : {&m_SolvedData, &m_InterpolatedData}) {
        CNetworkData* found = tolerance == 0.0 ? points->Find(freq) : points->FindFirst(freq, tolerance);
        if (found)
            return found;
    }
    if (!interpolate)
        return nullptr;
    switch (m_SolutionType) {
    case SolutionType::DiscreteSweep:
        if (!SupportsDiscreteInterpolation())
            return nullptr;
        [[fallthrough]];
    case SolutionType::InterpolateNeville: {
        CNevilleInterpolateVisitor visitor;
        return Interpolate(freq, visitor, false);
    }
    case SolutionType::ZephFastSweep:
    case SolutionType::ZephInterpolatingSweep: {
        CZephInterpolateVisitor visitor;
        return Interpolate(freq, visitor, false);
    }
    default:
        return nullptr;
    }
}

int CNetworkDataSolution::GetNumSolvedFrequencies() const {
    return static_cast<int>(m_SolvedData.Size());
}

int CNetworkDataSolution::GetNumFrequencies() const {
    return static_cast<int>(m_InterpolatedData.IsEmpty() ? m_SolvedData.Size() : m_InterpolatedData.Size());
}

void CNetworkDataSolution::GetSolvedRange(double& low, double& high) const {
    low = m_SolvedData.IsEmpty() ? 0.0 : m_SolvedData.First().frequency;
    high = m_SolvedData.IsEmpty() ? 0.0 : m_SolvedData.Last().frequency;
}

int CNetworkDataSolution::GetFrequencies(std::vector<double>& out, bool withInterpolated) const {
    const auto start = static_cast<std::ptrdiff_t>(out.size());
    AppendFrequencies(m_SolvedData, out);
    if (withInterpolated) {
        const FrequencyLess less;
        const auto middle = static_cast<std::ptrdiff_t>(out.size());
        AppendFrequencies(m_InterpolatedData, out);
        std::inplace_merge(out.begin() + start, out.begin() + middle, out.end(), less);
        out.erase(
            std::unique(out.begin() + start, out.end(), [&](double a, double b) { return !less(a, b); }),
            out.end());
    }
    return static_cast<int>(out.size());
}

int CNetworkDataSolution::GetInterpolatedFrequencies(std::vector<double>& out) const {
    AppendFrequencies(m_InterpolatedData, out);
    return static_cast<int>(out.size());
}

bool CNetworkDataSolution::GetInterpolationRange(double& low, double& high) const {
    GetSolvedRange(low, high);
    return m_SolutionType == SolutionType::InterpolateNeville ||
           m_SolutionType == SolutionType::ZephFastSweep ||
           m_SolutionType == SolutionType::ZephInterpolatingSweep;
}

std::int32_t CNetworkDataSolution::ReadFromBlock(io::CBlock& block) {
    TransferEnumKeyword(block, true, u"SolutionType", 0, kStoredSolutionTypes, kSolutionTypeKeywords,
                        m_SolutionType);
    block >> CNamed_value_manip<int>(u"AdaptivePass", m_AdaptivePass);
    block >> CNamed_value_manip<AString>(u"Name", m_Name);
    m_SolvedData.Clear();
    m_InterpolatedData.Clear();
    m_MatrixEntries.clear();
    if (const io::CBlock* ports = FindBlock(block, u"Ports")) {
        for (const auto& item : *ports) {
            if (!item->IsFunc())
                continue;
            m_MatrixEntries.push_back(std::make_unique<CMatrixEntry>());
            m_MatrixEntries.back()->Read(static_cast<io::CBlock_func&>(*item));
        }
        if (GetMatrixSize() > kMaxMatrixSize)
            return kTooManyEntries;
    } else {
        block >> CNamed_value_manip<double>(u"EnergyError", m_EnergyError);
    }
    const std::int32_t result = ReadPoints(block, u"Frequencies", true);
    if (IsStop(result))
        return result;
    const std::int32_t code = ReadPoints(block, u"InterpolatedFrequencies", false);
    if (IsStop(code))
        return code;
    if (io::CBlock* noise = FindBlock(block, u"NoiseSolution")) {
        if (!m_NoiseSolution)
            m_NoiseSolution = std::make_unique<CNoiseDataSolution>();
        const std::int32_t noiseCode = m_NoiseSolution->ReadFromBlock(*noise);
        if (IsStop(noiseCode))
            return noiseCode;
    }
    return result;
}

std::int32_t CNetworkDataSolution::ReadPoints(io::CBlock& block, std::u16string_view name, bool areSolved) {
    const io::CBlock* stored = FindBlock(block, name);
    if (!stored)
        return 0;
    std::int32_t result = 0;
    for (const auto& item : *stored) {
        if (!item->IsBlock())
            continue;
        auto point = CreateData();
        point->SetOwner(this);
        const std::int32_t code = point->ReadFromBlock(static_cast<io::CBlock&>(*item));
        if (IsStop(code))
            return code;
        const bool isNew =
            areSolved ? AddSolved(std::move(point)) != nullptr : m_InterpolatedData.Insert(std::move(point));
        if (!isNew)
            result = 1;
    }
    return result;
}

bool CNetworkDataSolution::WriteToBlock(io::CBlock& block, bool withInterpolated) {
    TransferEnumKeyword(block, false, u"ObjectType", 0, std::size(kObjectTypeKeywords), kObjectTypeKeywords,
                        m_ObjectType);
    TransferEnumKeyword(block, false, u"SolutionType", 0, kStoredSolutionTypes, kSolutionTypeKeywords,
                        m_SolutionType);
    block << CNamed_value_manip<AString>(u"Name", m_Name);
    block << CNamed_value_manip<int>(u"AdaptivePass", m_AdaptivePass);
    if (!WritePoints(block, u"Frequencies", m_SolvedData))
        return false;
    if (m_MatrixEntries.empty()) {
        block << CNamed_value_manip<double>(u"EnergyError", m_EnergyError);
    } else {
        const io::CBlockPtr ports(new io::CBlock(AString(u"Ports")));
        for (const auto& entry : m_MatrixEntries)
            entry->Write(*ports.Get());
        block.Add(ports);
    }
    if (withInterpolated && !WritePoints(block, u"InterpolatedFrequencies", m_InterpolatedData))
        return false;
    if (!m_NoiseSolution)
        return true;
    const io::CBlockPtr noise(new io::CBlock(AString(u"NoiseSolution")));
    if (!m_NoiseSolution->WriteToBlock(*noise.Get(), false))
        return false;
    block.Add(noise);
    return true;
}

bool CNetworkDataSolution::WritePoints(io::CBlock& block, const AString& name, const CFrequencyMap& points) {
    if (points.IsEmpty())
        return true;
    const io::CBlockPtr stored(new io::CBlock(name));
    stored->Reserve(points.Size());
    for (const auto [frequency, point] : points) {
        const io::CBlockPtr item(new io::CBlock(point->GetBlockName()));
        if (!point->WriteToBlock(*item.Get()))
            return false;
        stored->Add(item);
    }
    block.Add(stored);
    return true;
}

bool CNetworkDataSolution::Accept(INetworkSolutionVisitor& visitor) {
    return visitor.Visit(*this);
}

CNetworkData* CNetworkDataSolution::Interpolate(double freq, CInterpolateVisitor& visitor,
                                                bool outsideRange) {
    double low = 0.0;
    double high = 0.0;
    if (!GetInterpolationRange(low, high))
        return nullptr;
    const bool isInside = low < freq && freq < high;
    if (!isInside && !outsideRange)
        return nullptr;
    auto point = CreateData(freq);
    if (!point)
        return nullptr;
    const bool isFilled = visitor.Visit(this, point.get());
    return KeepIf(isFilled, std::move(point));
}

CNetworkData* CNetworkDataSolution::KeepIf(bool isFilled, std::unique_ptr<CNetworkData> point) {
    if (!isFilled)
        return nullptr;
    const double frequency = point->GetFrequency();
    point->SetDataType(DataType::Interpolated);
    m_InterpolatedData.Insert(std::move(point));
    return m_InterpolatedData.Find(frequency);
}

bool CNetworkDataSolution::DeembedPorts(const RealVector& distances, bool lossless, bool withInterpolated) {
    return ForEachPoint(withInterpolated,
                        [&](CNetworkData& point) { return point.Deembed(distances, lossless, true); });
}

bool CNetworkDataSolution::DeembedPortsByLength(const RealVector& lengths, const RealVector& permittivities,
                                                bool withInterpolated) {
    if (lengths.Size() != permittivities.Size())
        return false;
    RealVector delays(lengths);
    for (int i = 0; i < delays.Size(); ++i)
        delays[i] *= std::sqrt(permittivities[i]) / kSpeedOfLight;
    return DeembedPortsByDelay(delays, withInterpolated);
}

bool CNetworkDataSolution::DeembedPortsByDelay(const RealVector& delays, bool withInterpolated) {
    return ForEachPoint(withInterpolated, [&](CNetworkData& point) { return point.DeembedByDelay(delays); });
}

bool CNetworkDataSolution::RenormalizePorts(const ComplexVector& impedances, bool withInterpolated) {
    return ForEachPoint(withInterpolated, [&](CNetworkData& point) { return point.Renormalize(impedances); });
}

void CNetworkDataSolution::SetMatrixEntries(const std::vector<CMatrixEntry*>& entries, bool deepCopy) {
    MatrixEntries table;
    table.reserve(entries.size());
    for (CMatrixEntry* entry : entries) {
        if (!entry)
            continue;
        table.emplace_back(deepCopy ? new CMatrixEntry(*entry) : entry);
        table.back()->m_MatrixIndex = static_cast<std::int32_t>(table.size()) - 1;
    }
    m_MatrixEntries = std::move(table);
    OnMatrixEntriesChanged();
}
