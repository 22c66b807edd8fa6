#include <sparamlib/noise_data.h>

#include <streamio/streamio_manip.h>

#include <iterator>

using io::CNamed_value_manip;

CNoiseData& CNoiseData::operator=(const CNoiseData& other) {
    m_Frequency = other.m_Frequency;
    m_Fmin = other.m_Fmin;
    m_GoptMag = other.m_GoptMag;
    m_GoptAng = other.m_GoptAng;
    m_Rn = other.m_Rn;
    return *this;
}

std::int32_t CNoiseData::ReadFromBlock(io::CBlock& block) {
    block >> CNamed_value_manip<double>(u"Frequency", m_Frequency);
    block >> CNamed_value_manip<double>(u"Fmin", m_Fmin);
    block >> CNamed_value_manip<double>(u"GoptMag", m_GoptMag);
    block >> CNamed_value_manip<double>(u"GoptAng", m_GoptAng);
    block >> CNamed_value_manip<double>(u"Rn", m_Rn);
    return 0;
}

bool CNoiseData::WriteToBlock(io::CBlock& block) const {
    block << CNamed_value_manip<double>(u"Frequency", m_Frequency);
    block << CNamed_value_manip<double>(u"Fmin", m_Fmin);
    block << CNamed_value_manip<double>(u"GoptMag", m_GoptMag);
    block << CNamed_value_manip<double>(u"GoptAng", m_GoptAng);
    block << CNamed_value_manip<double>(u"Rn", m_Rn);
    return true;
}

bool CNoiseData::SetValues(double fmin, double goptMag, double goptAng, double rn) {
    m_Fmin = fmin;
    m_GoptMag = goptMag;
    m_GoptAng = goptAng;
    m_Rn = rn;
    return true;
}

void CNoiseData::GetValues(double& fmin, double& goptMag, double& goptAng, double& rn) const {
    fmin = m_Fmin;
    goptMag = m_GoptMag;
    goptAng = m_GoptAng;
    rn = m_Rn;
}

CNoiseDataSolution& CNoiseDataSolution::operator=(const CNoiseDataSolution& other) {
    if (this == &other)
        return *this;
    m_Data.clear();
    m_NoiseSolutionType = other.m_NoiseSolutionType;
    for (const auto& [frequency, point] : other.m_Data)
        AddData(point.get());
    return *this;
}

CNoiseData* CNoiseDataSolution::AddData(const CNoiseData* data) {
    if (!data)
        return nullptr;
    auto& point = m_Data[data->GetFrequency()];
    if (!point) {
        point = std::make_unique<CNoiseData>(*data);
        point->SetOwner(this);
    }
    return point.get();
}

CNoiseData* CNoiseDataSolution::AddData(double freq) {
    auto& point = m_Data[freq];
    if (!point)
        point = std::make_unique<CNoiseData>(this, freq);
    return point.get();
}

bool CNoiseDataSolution::RemoveData(double freq) {
    return m_Data.erase(freq) > 0;
}

std::int32_t CNoiseDataSolution::ReadFromBlock(io::CBlock& block) {
    m_Data.clear();
    TransferEnumKeyword(block, true, u"NoiseSolutionType", 0, std::size(kNoiseSolutionTypeKeywords),
                        kNoiseSolutionTypeKeywords, m_NoiseSolutionType);
    io::CBlock frequencies(AString(u"Frequencies"));
    std::int32_t result = 0;
    if (!block.GetBlock(frequencies).IsGood())
        return result;
    for (const auto& item : frequencies) {
        if (!item->IsBlock())
            continue;
        auto point = std::make_unique<CNoiseData>(this, 0.0);
        const std::int32_t code = point->ReadFromBlock(static_cast<io::CBlock&>(*item));
        if (code != 0 && code != 1)
            return code;
        const double frequency = point->GetFrequency();
        if (!m_Data.try_emplace(frequency, std::move(point)).second)
            result = 1;
    }
    return result;
}

bool CNoiseDataSolution::WriteToBlock(io::CBlock& block, bool) const {
    NoiseSolutionType type = m_NoiseSolutionType;
    if (TransferEnumKeyword(block, false, u"NoiseSolutionType", 0, std::size(kNoiseSolutionTypeKeywords),
                            kNoiseSolutionTypeKeywords, type) != 0)
        return false;
    if (m_Data.empty())
        return true;
    io::CBlockPtr frequencies(new io::CBlock(AString(u"Frequencies")));
    for (const auto& [frequency, point] : m_Data) {
        io::CBlockPtr block_(new io::CBlock(AString(u"DataPoint")));
        if (!point->WriteToBlock(*block_.Get()))
            return false;
        frequencies->Add(block_);
    }
    block.Add(frequencies);
    return true;
}
