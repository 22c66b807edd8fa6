// What a netlist says of components that only network data describes, in lines that a plain SPICE reader takes for comments:
//
//   *% nport N1 a 0 b 0 design=bandpass params="w=0.3m"
//
// The name is followed by pairs of nodes, one pair a port. In the simulator's circuit real elements stand for such an
// N-port: with them the operating point is found, and by them the circuit around is measured in the frequency sweeps.
#pragma once

#include "messages.h"
#include "netlist.h"

#include <cstddef>
#include <string>
#include <vector>

namespace ckt {

struct Nport {
    struct Port {
        std::string plus, minus; // nodes

        // What stands for the port in the simulator's circuit: a source of 0 V from a node of its own to ground,
        // which carries the port's current, and a source of current that leads to that node.
        std::string sense, summing, drive;
    };

    std::string name; // as the netlist writes it
    std::int32_t file;
    std::int32_t line;
    std::vector<Port> ports;
    std::string design;
    std::string params;
};

// 50 ohm: what all scattering data here refers to.
inline constexpr double nport_reference = 50;

// Tells every error and throws JobError with CKT_BAD_NETLIST if there was one.
std::vector<Nport> read_nports(const Netlist& netlist, Messages& messages);

// The lines of the elements that stand for an N-port with a real scattering matrix, rows first. An empty one is that of
// a matched N-port.
std::vector<NetlistLine> nport_lines(const Nport& nport, const std::vector<double>& scattering);

// Takes the ".meas" cards of .ac out of the netlist and gives them as commands: the simulator would evaluate them at the end of
// each sweep, of which none is that of the circuit with its N-ports. A warning tells which can't be given so.
std::vector<std::string> take_out_measures(Netlist& netlist, Messages& messages);

// Whether an analysis can be done with N-ports: one of the operating point, or a sweep over frequency that is linear in
// the sources.
bool allows_nports(std::string_view analysis);

} // namespace ckt
