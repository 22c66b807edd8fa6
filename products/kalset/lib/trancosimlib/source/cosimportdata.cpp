#include <trancosimlib/cosimportdata.h>

#include "cosim_rows.h"

#include <utility/assertion.h>

COSIMPORTDATA::COSIMPORTDATA() : m_First(1, {0.0}), m_Second(1, {0.0}) {}

COSIMPORTDATA::~COSIMPORTDATA() = default;

void COSIMPORTDATA::Read(io::CAbstract_istream& s) {
    s.Read(m_HasData);
    s.Read(m_NumPorts);
    s.Read(m_NumSteps);
    if (ReadCosimPairs(s, m_NumPorts, m_NumSteps, m_First, m_Second))
        return;
    m_HasData = false;
    m_NumPorts = 0;
    m_NumSteps = 0;
    s.SetFail();
}

void COSIMPORTDATA::Write(io::CAbstract_ostream& s) const {
    TARVOK_ASSERT_AT("products/kalset/lib/trancosimlib/cosimportdata", 69,
                     HasShape(m_First, m_NumPorts, m_NumSteps) && HasShape(m_Second, m_NumPorts, m_NumSteps),
                     "0");
    s.Write(m_HasData);
    s.Write(m_NumPorts);
    s.Write(m_NumSteps);
    WriteCosimPairs(s, m_First, m_Second);
}

std::uint32_t COSIMPORTDATA::GetBinarySize(io::CAbstract_ostream&) const {
    return CosimBinarySize(m_NumPorts, m_NumSteps);
}
