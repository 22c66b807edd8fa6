// Two terminals of a field solver that are seen as a pair, by their difference and what they have in common.
//
// Stored as the named values "PortName", "DiffName", "PosTerminalIndex", "CommonName" and "NegTerminalIndex". A plain
// record: one thread at a time may change it.
#pragma once

#include <stringutils/astring.h>

#include <cstdint>

namespace io {
class CBlock;
}

class CZephDifferentialPair {
public:
    virtual ~CZephDifferentialPair() = default;
    // A value that is absent or of another kind leaves its field. 0, or -1 if the block itself has errors.
    virtual std::int32_t ReadFromBlock(io::CBlock& block);
    // Appends the five values. False if the block itself has errors.
    virtual bool WriteToBlock(io::CBlock& block) const;

    bool operator==(const CZephDifferentialPair& other) const;

    AString m_PortName;
    AString m_DiffName; // of the difference
    std::int32_t m_PosTerminalIndex =
        -1;               // row of the positive terminal, 0-based; becomes that of the difference
    AString m_CommonName; // of the common quantity
    std::int32_t m_NegTerminalIndex = -1; // row of the negative terminal; becomes that of the common quantity
};
