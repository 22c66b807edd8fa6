// The exact answer of a circuit with N-ports from sweeps of one without them.
//
// In the sweeps real elements stand for the N-ports. The first one has the circuit's own sources, and each of the others a
// single source of 1 A at one of the ports. The answer is the sum of the first and of the others, each with the amplitude
// with which the waves at all ports, v - 50 i and v + 50 i, are those that the N-ports' scattering matrices demand. As the sum
// is one of measured voltages and currents, what stands for the N-ports needn't be near them.
#pragma once

#include "nport_data.h"

#include <ngspice/sharedspice.h>

#include <complex>
#include <cstddef>
#include <span>
#include <vector>

namespace ckt {

// A port's voltage and current in one sweep, an element for each frequency.
struct PortResponse {
    const ngcomplex_t* plus; // null is ground
    const ngcomplex_t* minus;
    const ngcomplex_t* current;

    std::complex<double> voltage(std::size_t point) const { return at(plus, point) - at(minus, point); }
    std::complex<double> amperes(std::size_t point) const { return at(current, point); }

private:
    static std::complex<double> at(const ngcomplex_t* values, std::size_t point) {
        return values ? std::complex<double>(values[point].cx_real, values[point].cx_imag) : 0;
    }
};

class NportSolver {
public:
    // `data` of all N-ports, whose ports follow one another.
    explicit NportSolver(const std::vector<NportData>& data);

    std::size_t ports() const { return m_ports; }

    // The amplitudes at one point: `index` is that of its frequency in the data, `sweeps` holds the ports of the first
    // sweep, then those of each other one. Nothing if the circuit has no single answer there.
    std::span<const std::complex<double>> solve(std::size_t index, std::size_t point,
                                                const std::vector<std::vector<PortResponse>>& sweeps);

private:
    using Complex = std::complex<double>;

    bool eliminate();

    const std::vector<NportData>& m_data;
    std::size_t m_ports = 0;
    std::vector<Complex> m_matrix; // rows first, the right side as its last column
    std::vector<Complex> m_waves;  // v + 50 i of one sweep
    std::vector<Complex> m_answer;
};

} // namespace ckt
