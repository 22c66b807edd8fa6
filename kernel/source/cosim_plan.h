// What a netlist says of a co-simulation, in lines that a plain SPICE reader takes for comments:
//
//   *% cosim step 1n                    the time between two samples; without this line the step of .tran
//   *% cosim source 0 Vin               source 0 drives the voltage or current source Vin
//   *% cosim port 0 v(out) i(Vsense)    the first and second value of port 0; without a second one it is 0
//
// Sources and ports are numbered from 0 without a gap, and there is at least one of each.
#pragma once

#include "messages.h"
#include "netlist.h"
#include "saves.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace ckt {

struct CosimSource {
    std::string name;      // of the driven device
    std::string place;     // "FILE:LINE" of the line that says so
    std::size_t last_line; // index in Netlist::lines of the last line of the device
};

struct CosimPort {
    std::string place;
    std::array<std::optional<Probe>, 2> values; // the first one is always there
};

struct CosimPlan {
    std::string place;          // of its first line
    std::optional<double> step; // [s]
    std::string step_place;
    std::vector<CosimSource> sources;
    std::vector<CosimPort> ports;

    // The simulator's names for what the ports read.
    std::vector<std::string> vectors() const;
};

// Nothing if the netlist has no such lines. Tells every error and throws JobError with CKT_BAD_NETLIST if
// there was one. Takes "interp" out of the netlist's options: points between those that were solved would take the
// exact steps away.
std::optional<CosimPlan> read_cosim_plan(Netlist& netlist, Messages& messages);

// The netlist's lines with the driven sources' values asked for at every point.
std::vector<NetlistLine> driven_lines(const Netlist& netlist, const CosimPlan& plan);

} // namespace ckt
