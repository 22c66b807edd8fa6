#include <sparamlib/zeph_differential_pair.h>

#include <streamio/streamio_manip.h>

using io::CNamed_value_manip;

std::int32_t CZephDifferentialPair::ReadFromBlock(io::CBlock& block) {
    block >> CNamed_value_manip<AString>(u"PortName", m_PortName);
    block >> CNamed_value_manip<AString>(u"DiffName", m_DiffName);
    block >> CNamed_value_manip<int>(u"PosTerminalIndex", m_PosTerminalIndex);
    block >> CNamed_value_manip<AString>(u"CommonName", m_CommonName);
    block >> CNamed_value_manip<int>(u"NegTerminalIndex", m_NegTerminalIndex);
    return block.HasErrors(false) ? -1 : 0;
}

bool CZephDifferentialPair::WriteToBlock(io::CBlock& block) const {
    block << CNamed_value_manip<AString>(u"PortName", m_PortName);
    block << CNamed_value_manip<AString>(u"DiffName", m_DiffName);
    block << CNamed_value_manip<int>(u"PosTerminalIndex", m_PosTerminalIndex);
    block << CNamed_value_manip<AString>(u"CommonName", m_CommonName);
    block << CNamed_value_manip<int>(u"NegTerminalIndex", m_NegTerminalIndex);
    return !block.HasErrors(false);
}

bool CZephDifferentialPair::operator==(const CZephDifferentialPair& other) const {
    return m_PortName == other.m_PortName && m_DiffName == other.m_DiffName &&
           m_PosTerminalIndex == other.m_PosTerminalIndex && m_CommonName == other.m_CommonName &&
           m_NegTerminalIndex == other.m_NegTerminalIndex;
}
