// Reads a netlist from its files.
//
// Includes and library sections are put in place here rather than by the simulator: so every line keeps its
// file and line, paths may hold blanks and any character, and nothing reaches the simulator that wasn't
// looked at.
#pragma once

#include "messages.h"
#include "netlist.h"

namespace ckt {

// Throws JobError with CKT_NO_NETLIST, CKT_NOT_A_NETLIST or CKT_BAD_NETLIST.
Netlist read_netlist(const std::string& path, Messages& messages);

} // namespace ckt
