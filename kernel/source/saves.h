// What ".save" cards keep, and what they leave out.
#pragma once

#include "netlist.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ckt {

// A voltage between two nodes or a current, as names of the simulator's vectors. Ground has an empty name.
struct Probe {
    std::string text;  // as the netlist has it, in lower case: "v(a,b)"
    std::string plus;  // "a", "vsense#branch"
    std::string minus; // "b"
};

// The simulator's name for a node's vector; empty for ground.
std::string node_vector(std::string_view node);
// The simulator calls the vector of a node whose name begins with a digit "V(2)". This gives "2", and any other name as it is.
std::string_view plain_vector(std::string_view name);
// The simulator's name for the current of a source or a coil.
std::string branch_vector(std::string_view device);

// "v(out)", "v(a,b)" or "i(vsense)".
std::optional<Probe> parse_probe(std::string_view text);

// Of `vectors`, names of the simulator's, those that a list of ".save" cards leaves out, as "v(out)" and "i(vsense)". Nothing
// is left out without such a card.
std::vector<std::string> not_saved(const std::vector<Card>& saves, const std::vector<std::string>& vectors);

} // namespace ckt
