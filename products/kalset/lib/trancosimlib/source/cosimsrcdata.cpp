#include <trancosimlib/cosimsrcdata.h>

#include "cosim_rows.h"

#include <utility/assertion.h>

#include <cmath>

COSIMSRCDATA::COSIMSRCDATA(std::int32_t sources, std::int32_t samples)
    : m_NumSources(sources), m_NumSamples(samples),
      m_Data(static_cast<std::size_t>(sources), std::vector<double>(static_cast<std::size_t>(samples))) {}

COSIMSRCDATA::~COSIMSRCDATA() = default;

void COSIMSRCDATA::Read(io::CAbstract_istream& s) {
    s.Read(m_TimeStep);
    s.Read(m_NumSources);
    s.Read(m_NumSamples);
    if (ReadCosimRows(s, m_NumSources, m_NumSamples, m_Data))
        return;
    m_NumSources = 0;
    m_NumSamples = 0;
    s.SetFail();
}

void COSIMSRCDATA::Write(io::CAbstract_ostream& s) const {
    TARVOK_ASSERT_AT("products/kalset/lib/trancosimlib/cosimsrcdata", 68,
                     HasShape(m_Data, m_NumSources, m_NumSamples), "0");
    s.Write(m_TimeStep);
    s.Write(m_NumSources);
    s.Write(m_NumSamples);
    WriteCosimRows(s, m_Data);
}

std::uint32_t COSIMSRCDATA::GetBinarySize(io::CAbstract_ostream&) const {
    return CosimBinarySize(m_NumSources, m_NumSamples);
}

std::string COSIMSRCDATA::Fault() const {
    if (!HasShape(m_Data, m_NumSources, m_NumSamples))
        return "its rows aren't " + std::to_string(m_NumSources) + " of " + std::to_string(m_NumSamples) +
               " samples, as it declares";
    if (m_NumSamples < 1)
        return "it has no samples, and at least 1 of each source is expected";
    if (!(m_TimeStep > 0 && std::isfinite(m_TimeStep)))
        return "its time step is " + std::to_string(m_TimeStep) + ", and a time above 0 is expected";
    for (std::size_t i = 0; i < m_Data.size(); ++i)
        for (std::size_t k = 0; k < m_Data[i].size(); ++k)
            if (!std::isfinite(m_Data[i][k]))
                return "sample " + std::to_string(k) + " of source " + std::to_string(i) +
                       " is not a finite number";
    return {};
}
