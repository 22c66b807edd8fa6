#include <sparamlib/matrix_entry.h>

#include "function_items.h"

#include <streamio/streamio_manip.h>

using io::CNamed_value_manip;

void CMatrixEntry::Read(io::CBlock_func& stored) {
    stored >> CNamed_value_manip<AString>(u"ModalEntryName", m_ModalEntryName);
    stored >> CNamed_value_manip<AString>(u"TerminalEntryName", m_TerminalEntryName);
    stored >> CNamed_value_manip<AString>(u"PortName", m_PortName);
    stored >> CNamed_value_manip<int>(u"Mode", m_Mode);
    stored >> CNamed_value_manip<AString>(u"ModeName", m_ModeName);
    stored >> CNamed_value_manip<AString>(u"TerminalName", m_TerminalName);
    stored >> CNamed_value_manip<int>(u"MatrixIndex", m_MatrixIndex);
}

void CMatrixEntry::Write(io::CBlock& ports) const {
    AddFunction(ports, u"Port", [this](io::CBlock_func& stored) {
        stored.Reserve(7);
        stored << CNamed_value_manip<AString>(u"ModalEntryName", m_ModalEntryName).GetNamedValue()
               << CNamed_value_manip<AString>(u"TerminalEntryName", m_TerminalEntryName).GetNamedValue()
               << CNamed_value_manip<AString>(u"PortName", m_PortName).GetNamedValue()
               << CNamed_value_manip<int>(u"Mode", m_Mode).GetNamedValue()
               << CNamed_value_manip<AString>(u"ModeName", m_ModeName).GetNamedValue()
               << CNamed_value_manip<AString>(u"TerminalName", m_TerminalName).GetNamedValue()
               << CNamed_value_manip<int>(u"MatrixIndex", m_MatrixIndex).GetNamedValue();
    });
}
