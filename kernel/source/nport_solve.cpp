#include "nport_solve.h"

#include <cmath>
#include <utility>

namespace ckt {

NportSolver::NportSolver(const std::vector<NportData>& data) : m_data(data) {
    for (const NportData& nport : data)
        m_ports += nport.ports();
    m_matrix.resize(m_ports * (m_ports + 1));
    m_waves.resize(m_ports);
    m_answer.resize(m_ports);
}

// In each sweep, what the ports give back, v - 50 i, lacks something to S (v + 50 i). The sum of all sweeps lacks
// nothing.
std::span<const std::complex<double>>
NportSolver::solve(std::size_t index, std::size_t point,
                   const std::vector<std::vector<PortResponse>>& sweeps) {
    const std::size_t width = m_ports + 1;
    for (std::size_t sweep = 0; sweep < width; ++sweep) {
        const std::vector<PortResponse>& ports = sweeps[sweep];
        const std::size_t column = (sweep + m_ports) % width;
        const double sign = sweep == 0 ? 1 : -1;
        for (std::size_t port = 0; port < m_ports; ++port)
            m_waves[port] = ports[port].voltage(point) + nport_reference * ports[port].amperes(point);
        std::size_t first = 0;
        for (const NportData& nport : m_data) {
            const std::size_t count = nport.ports();
            const std::span<const Complex> scattering = nport.at(index);
            for (std::size_t row = 0; row < count; ++row) {
                const PortResponse& port = ports[first + row];
                Complex lack = nport_reference * port.amperes(point) - port.voltage(point);
                for (std::size_t k = 0; k < count; ++k)
                    lack += scattering[row * count + k] * m_waves[first + k];
                m_matrix[(first + row) * width + column] = sign * lack;
            }
            first += count;
        }
    }
    return eliminate() ? std::span<const Complex>(m_answer) : std::span<const Complex>();
}

bool NportSolver::eliminate() {
    constexpr double least = 1e-14; // of the largest element: a pivot below it is what rounding left over
    const std::size_t width = m_ports + 1;
    const auto at = [&](std::size_t row, std::size_t column) -> Complex& {
        return m_matrix[row * width + column];
    };
    double largest = 0;
    for (std::size_t row = 0; row < m_ports; ++row)
        for (std::size_t column = 0; column < m_ports; ++column)
            largest = std::max(largest, std::abs(at(row, column)));
    for (std::size_t step = 0; step < m_ports; ++step) {
        std::size_t pivot = step;
        for (std::size_t row = step + 1; row < m_ports; ++row)
            if (std::norm(at(row, step)) > std::norm(at(pivot, step)))
                pivot = row;
        if (!(std::abs(at(pivot, step)) > least * largest))
            return false;
        if (pivot != step)
            for (std::size_t column = step; column < width; ++column)
                std::swap(at(pivot, column), at(step, column));
        const Complex inverse = 1.0 / at(step, step);
        for (std::size_t row = step + 1; row < m_ports; ++row) {
            const Complex factor = at(row, step) * inverse;
            for (std::size_t column = step + 1; column < width; ++column)
                at(row, column) -= factor * at(step, column);
        }
    }
    for (std::size_t row = m_ports; row-- > 0;) {
        Complex sum = at(row, m_ports);
        for (std::size_t column = row + 1; column < m_ports; ++column)
            sum -= at(row, column) * m_answer[column];
        m_answer[row] = sum / at(row, row);
    }
    return true;
}

} // namespace ckt
