// The data of one N-port over frequency, as the client gives it on one request.
#pragma once

#include "messages.h"
#include "nport_plan.h"

#include <ckt_kernel.h>

#include <complex>
#include <span>
#include <string>
#include <vector>

namespace ckt {

class NportData {
public:
    // Asks for the scattering matrices at 0 Hz, for the operating point, and at `frequencies`, which ascend. Where the data
    // says nothing of 0 Hz, or nothing that a direct current could have, a warning tells so, and the real part at the
    // lowest frequency counts.
    // Throws JobError with CKT_NO_DATA; `place` is the line that asks.
    NportData(const Nport& nport, const std::string& place, std::span<const double> frequencies,
              ckt_field_solver_call_back ask, Messages& messages);

    std::size_t ports() const { return m_ports; }

    // Rows first.
    const std::vector<double>& at_operating_point() const { return m_direct; }

    // Of the frequency that has this index among those asked; rows first.
    std::span<const std::complex<double>> at(std::size_t index) const {
        return std::span(m_matrices).subspan(index * m_direct.size(), m_direct.size());
    }

private:
    std::size_t m_ports;
    std::vector<double> m_direct;
    std::vector<std::complex<double>> m_matrices;
};

} // namespace ckt
