// What is looked for in a netlist before the simulator sees it: lines that would crash it or run something
// unasked, and lines so short that it would take them for something else.
#pragma once

#include "messages.h"
#include "netlist.h"

namespace ckt {

// Tells every error and takes out the options that this library keeps to itself. Throws JobError with
// CKT_BAD_NETLIST if there was an error.
void check_netlist(Netlist& netlist, Messages& messages);

} // namespace ckt
