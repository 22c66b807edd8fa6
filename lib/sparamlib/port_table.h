// The ports of a solution: their names, how many rows each has, and names of terminals.
//
// Three sequences that are stored as the function items "PortNames", "PortModes" and "PortTerminals". A block may give
// them any lengths and any counts; a port is what has a name and a count. An empty name doesn't come back from a stored
// text, where it is no argument.
#pragma once

#include <stringutils/astring.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace io {
class CBlock;
}

// A square matrix of more rows has more than 2^31 - 1 elements.
inline constexpr std::int32_t kMaxMatrixSize = 46340;

// The sum of the counts, those below 0 left out; nothing if no matrix can have so many rows.
std::optional<std::int32_t> CountRows(const std::vector<std::int32_t>& counts);

struct PortTable {
    // Appends what the block holds; an argument of another kind is passed over.
    void Read(io::CBlock& block);
    // Appends each item that isn't empty.
    void Write(io::CBlock& block) const;

    std::size_t Ports() const { return std::min(names.size(), modes.size()); }
    // 0 for a port outside the table.
    std::int32_t ModesOf(std::size_t port) const { return port < Ports() ? modes[port] : 0; }

    std::vector<AString> names;
    std::vector<std::int32_t> modes;
    std::vector<AString> terminals;
};
