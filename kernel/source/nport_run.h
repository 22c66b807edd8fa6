// The sweeps of one .ac with N-ports, and what becomes of their results.
#pragma once

#include "analysis.h"
#include "nport_solve.h"
#include "result_plot.h"
#include "simulator.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace ckt {

// What all analyses of a job with N-ports share.
struct NportCircuit {
    std::vector<Nport> nports;
    std::vector<NportData> data;      // of each
    std::vector<double> frequencies;  // of the data, ascending
    std::vector<std::string> sources; // the circuit's own ones that a .ac may find switched on

    std::size_t ports() const;
    // The simulator's names for the vectors that tell the ports' voltages and currents.
    std::vector<std::string> vectors() const;
    // A vector, as results name it, of what stands for an N-port.
    bool owns(std::string_view vector) const;
};

// All frequencies of all .ac, ascending, to the last bit: the simulator tells them from a small circuit of its own, which
// comes and goes.
std::vector<double> frequencies_of(const std::vector<Analysis>& analyses, Simulator& simulator);

// Asks for the data of each N-port. Throws JobError with CKT_NO_DATA.
std::vector<NportData> data_of(const std::vector<Nport>& nports, const std::vector<double>& frequencies,
                               const Netlist& netlist, const std::map<std::string, void*>& call_backs,
                               Messages& messages);

// Runs the analysis once more, with the sources as they are then. Throws JobError.
using Sweep = std::function<ResultPlot()>;

// Turns the results of a circuit in which real elements stand for the N-ports into those of the circuit with the N-ports.
// The simulator's own vectors are written over. Vectors that aren't voltages or currents of the sweep, and so can't be told,
// are taken out; their names are returned. Throws JobError with CKT_ANALYSIS_FAILED.
std::vector<std::string> put_in_nports(const NportCircuit& circuit, Simulator& simulator, ResultPlot& plot,
                                       const Sweep& sweep);

} // namespace ckt
