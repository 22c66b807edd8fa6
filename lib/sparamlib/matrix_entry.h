// What one row of a solution's matrices means: a mode or a terminal of a port.
//
// Stored as a function item with named arguments, `Port(ModalEntryName='a', ..., MatrixIndex=0)`. A plain record: one
// thread at a time may change it.
#pragma once

#include <stringutils/astring.h>

#include <cstdint>

namespace io {
class CBlock;
class CBlock_func;
} // namespace io

class CMatrixEntry {
public:
    CMatrixEntry() = default;
    // The name in all three name fields; the mode is 0.
    CMatrixEntry(const AString& name, std::int32_t matrixIndex) : CMatrixEntry(name, 0, matrixIndex) {}
    CMatrixEntry(const AString& name, std::int32_t mode, std::int32_t matrixIndex)
        : m_ModalEntryName(name), m_TerminalEntryName(name), m_PortName(name), m_Mode(mode),
          m_MatrixIndex(matrixIndex) {}

    // Named arguments in any order; one that is absent or of another kind leaves its field.
    void Read(io::CBlock_func& stored);
    // Appends the function item "Port". The alias isn't stored.
    void Write(io::CBlock& ports) const;

    AString m_ModalEntryName;    // the row as a mode
    AString m_TerminalEntryName; // the row as a terminal
    AString m_PortName;
    std::int32_t m_Mode = 0; // from 1 up on the port; 0 for terminals
    AString m_ModeName;      // to be shown
    AString m_TerminalName;  // to be shown
    AString m_AliasName;
    std::int32_t m_MatrixIndex = 0; // the row, 0-based
};
