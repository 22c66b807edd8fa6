#include "nport_run.h"

#include "job_error.h"
#include "saves.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>

namespace ckt {

namespace {

using Complex = std::complex<double>;

constexpr const char* magnitude = "acmag";

// Sources that are silent while this lives.
class Silence {
public:
    Silence(Simulator& simulator, const std::vector<std::string>& sources) : m_simulator(simulator) {
        for (const std::string& source : sources) {
            const vector_info value = simulator.vector(fmt::format("@{}[{}]", source, magnitude));
            if (value.v_length > 0 && value.v_realdata && value.v_realdata[0] != 0)
                m_former.push_back({source, value.v_realdata[0]});
        }
        for (const Former& former : m_former)
            set(simulator, former.source, 0);
    }
    ~Silence() {
        for (const Former& former : m_former)
            set(m_simulator, former.source, former.value);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

    static void set(Simulator& simulator, const std::string& source, double value) {
        simulator.command(fmt::format("alter @{}[{}]={}", source, magnitude, value));
    }

private:
    struct Former {
        std::string source;
        double value;
    };
    Simulator& m_simulator;
    std::vector<Former> m_former;
};

std::vector<PortResponse> responses(const NportCircuit& circuit, const ResultPlot& plot) {
    const auto values = [&](const std::string& name) -> const ngcomplex_t* {
        const ResultVector* found = plot.find(name);
        if (!found || !found->complex || found->length != plot.points)
            throw JobError(CKT_ANALYSIS_FAILED, fmt::format("the simulator gave no {}", name));
        return found->complex;
    };
    const auto voltage = [&](const std::string& node) {
        return node.empty() ? nullptr : values("v(" + node + ')');
    };
    std::vector<PortResponse> ports;
    for (const Nport& nport : circuit.nports)
        for (const Nport::Port& port : nport.ports)
            ports.push_back({voltage(port.plus), voltage(port.minus), values("i(" + port.sense + ')')});
    return ports;
}

// Of each sweep but the first, the amplitudes at all points.
std::vector<std::vector<Complex>> amplitudes(const NportCircuit& circuit, const ResultPlot& plot,
                                             const std::vector<std::vector<PortResponse>>& sweeps) {
    const ResultVector& scale = plot.vectors.front();
    NportSolver solver(circuit.data);
    std::vector<std::vector<Complex>> result(solver.ports(), std::vector<Complex>(plot.points));
    for (std::size_t point = 0; point < plot.points; ++point) {
        const double frequency = scale.at(point).cx_real;
        const auto found =
            std::lower_bound(circuit.frequencies.begin(), circuit.frequencies.end(), frequency);
        if (found == circuit.frequencies.end() || *found != frequency)
            throw JobError(CKT_ANALYSIS_FAILED,
                           fmt::format("it came to {} Hz, which no data was asked for", frequency));
        const auto answer =
            solver.solve(static_cast<std::size_t>(found - circuit.frequencies.begin()), point, sweeps);
        if (answer.empty())
            throw JobError(
                CKT_ANALYSIS_FAILED,
                fmt::format("with the N-ports the circuit has no single solution at {} Hz", frequency));
        for (std::size_t port = 0; port < answer.size(); ++port)
            result[port][point] = answer[port];
    }
    return result;
}

bool same(const ResultVector& a, const ResultVector& b) {
    return a.length == b.length && a.complex && b.complex &&
           std::memcmp(a.complex, b.complex, a.length * sizeof *a.complex) == 0;
}

} // namespace

std::size_t NportCircuit::ports() const {
    std::size_t count = 0;
    for (const Nport& nport : nports)
        count += nport.ports.size();
    return count;
}

std::vector<std::string> NportCircuit::vectors() const {
    std::vector<std::string> names;
    for (const Nport& nport : nports)
        for (const Nport::Port& port : nport.ports)
            names.insert(names.end(), {port.plus, port.minus, branch_vector(port.sense)});
    return names;
}

bool NportCircuit::owns(std::string_view vector) const {
    if (vector.find("_nport_") == vector.npos)
        return false;
    for (const Nport& nport : nports)
        for (const Nport::Port& port : nport.ports)
            if (vector == "v(" + port.summing + ')' || vector == "i(" + port.sense + ')')
                return true;
    return false;
}

std::vector<double> frequencies_of(const std::vector<Analysis>& analyses, Simulator& simulator) {
    std::string lines[] = {"frequencies", "r1 1 0 1", "v1 1 0 ac 1", ".end"};
    std::vector<char*> circuit;
    for (std::string& line : lines)
        circuit.push_back(line.data());
    simulator.load(std::move(circuit));
    std::vector<double> frequencies;
    for (const Analysis& analysis : analyses) {
        if (analysis.kind != "ac")
            continue;
        simulator.command(analysis.command);
        for (const std::string& plot : simulator.plots()) {
            const vector_info scale = simulator.vector(plot + ".frequency");
            for (int i = 0; i < scale.v_length && scale.v_compdata; ++i)
                frequencies.push_back(scale.v_compdata[i].cx_real);
        }
        simulator.command("destroy all");
    }
    simulator.command("remcirc");
    std::sort(frequencies.begin(), frequencies.end());
    frequencies.erase(std::unique(frequencies.begin(), frequencies.end()), frequencies.end());
    return frequencies;
}

std::vector<NportData> data_of(const std::vector<Nport>& nports, const std::vector<double>& frequencies,
                               const Netlist& netlist, const std::map<std::string, void*>& call_backs,
                               Messages& messages) {
    const auto client = call_backs.find("FieldSolver");
    std::vector<NportData> data;
    for (const Nport& nport : nports) {
        const std::string place = netlist.where(nport.file, nport.line);
        if (client == call_backs.end())
            throw JobError(
                CKT_NO_DATA,
                fmt::format("{}: the data of the N-port \"{}\" (design \"{}\") comes from a client, and "
                            "none is here that gives any (kelda run --data DIR does)",
                            place, nport.name, nport.design));
        data.emplace_back(nport, place, frequencies,
                          reinterpret_cast<ckt_field_solver_call_back>(client->second), messages);
    }
    return data;
}

std::vector<std::string> put_in_nports(const NportCircuit& circuit, Simulator& simulator, ResultPlot& plot,
                                       const Sweep& sweep) {
    std::vector<ResultPlot> others;
    {
        const Silence silence(simulator, circuit.sources);
        for (const Nport& nport : circuit.nports)
            for (const Nport::Port& port : nport.ports) {
                Silence::set(simulator, port.drive, 1);
                try {
                    others.push_back(sweep());
                } catch (...) {
                    Silence::set(simulator, port.drive, 0);
                    throw;
                }
                Silence::set(simulator, port.drive, 0);
                if (others.back().points != plot.points ||
                    others.back().vectors.size() != plot.vectors.size())
                    throw JobError(CKT_ANALYSIS_FAILED, "the simulator gave sweeps of different lengths");
            }
    }
    std::vector<std::vector<PortResponse>> sweeps{responses(circuit, plot)};
    for (const ResultPlot& other : others)
        sweeps.push_back(responses(circuit, other));
    const auto factors = amplitudes(circuit, plot, sweeps);

    std::vector<std::string> left_out;
    for (std::size_t i = 1; i < plot.vectors.size(); ++i) {
        const ResultVector& vector = plot.vectors[i];
        // A quantity of a device: it stands for the operating point, or isn't linear in the sources.
        if (vector.name.front() == '@' || !vector.complex) {
            if (!std::all_of(others.begin(), others.end(),
                             [&](const ResultPlot& other) { return same(vector, other.vectors[i]); }))
                left_out.push_back(vector.name);
            continue;
        }
        for (std::size_t other = 0; other < others.size(); ++other) {
            const ngcomplex_t* from = others[other].vectors[i].complex;
            for (std::size_t point = 0; point < vector.length; ++point) {
                const Complex factor = factors[other][point];
                ngcomplex_t& to = vector.complex[point];
                to.cx_real += factor.real() * from[point].cx_real - factor.imag() * from[point].cx_imag;
                to.cx_imag += factor.real() * from[point].cx_imag + factor.imag() * from[point].cx_real;
            }
        }
    }
    std::erase_if(plot.vectors, [&](const ResultVector& vector) {
        return std::find(left_out.begin(), left_out.end(), vector.name) != left_out.end();
    });
    return left_out;
}

} // namespace ckt
