#include "nport_data.h"

#include "job_error.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>

namespace ckt {

namespace {

using Complex = std::complex<double>;

// Results of the request. What isn't listed is the client's own.
enum : int { good = 0, no_data = 1, too_small = 2, not_readable = 3, no_point = 4, no_frequencies = 5 };

// Of the largest magnitude that the data has: an imaginary part beyond it belongs to no direct current.
constexpr double most_imaginary = 1e-3;

std::string meaning(int result) {
    switch (result) {
    case no_data:
        return "the client has no data";
    case too_small:
        return "the client gives more data than it says";
    case not_readable:
        return "the client failed, or its reply can't be read";
    case no_point:
        return "the client failed, or its data says nothing of a frequency that is needed";
    case no_frequencies:
        return "the client failed, or isn't asked for a proper frequency";
    default:
        return "the client failed";
    }
}

class Request {
public:
    Request(const Nport& nport, const std::string& place, ckt_field_solver_call_back ask)
        : m_nport(nport), m_place(place), m_ask(ask) {}

    [[noreturn]] void fail(const std::string& why) const {
        throw JobError(CKT_NO_DATA, fmt::format("{}: no data for the N-port \"{}\" (design \"{}\"): {}",
                                                m_place, m_nport.name, m_nport.design, why));
    }

    [[noreturn]] void fail(int result) const { fail(fmt::format("{} (result {})", meaning(result), result)); }

    // The result; with `good` the matrices one after the other, rows first. Those before `needed` may hold anything.
    int run(const std::vector<double>& frequencies, std::size_t needed,
            std::vector<Complex>& matrices) const {
        const std::size_t ports = m_nport.ports.size();
        const std::size_t record = 1 + 2 * ports * ports;
        constexpr std::size_t most = std::numeric_limits<int>::max();
        if (frequencies.size() > most / record)
            fail(fmt::format("{} ports at {} frequencies are more than one request can hold", ports,
                             frequencies.size()));
        std::vector<double> reply(frequencies.size() * record);
        const std::size_t expected = reply.size();
        int count = 0;
        int result = call(frequencies, reply, count);
        if (result == too_small && count > static_cast<int>(reply.size())) {
            reply.resize(static_cast<std::size_t>(count));
            result = call(frequencies, reply, count);
        }
        if (result != good)
            return result;
        if (static_cast<std::size_t>(count) != expected)
            fail(fmt::format("the line has {} ports, the client's data has {}", ports,
                             ports_in(count, frequencies.size())));
        matrices.clear();
        matrices.reserve(frequencies.size() * ports * ports);
        for (std::size_t f = 0; f < frequencies.size(); ++f) {
            const double* const from = reply.data() + f * record;
            if (from[0] != frequencies[f])
                fail(
                    fmt::format("the client's data is for {} Hz, asked were {} Hz", from[0], frequencies[f]));
            for (std::size_t i = 1; i < record; i += 2) {
                if (f >= needed && !(std::isfinite(from[i]) && std::isfinite(from[i + 1])))
                    fail(fmt::format("the client's data at {} Hz holds no number", frequencies[f]));
                matrices.emplace_back(from[i], from[i + 1]);
            }
        }
        return good;
    }

private:
    int call(const std::vector<double>& frequencies, std::vector<double>& reply, int& count) const {
        return m_ask(m_nport.design.c_str(), m_nport.name.c_str(), m_nport.params.c_str(), frequencies.data(),
                     static_cast<int>(frequencies.size()), reply.data(), static_cast<int>(reply.size()),
                     &count);
    }

    static std::string ports_in(int count, std::size_t frequencies) {
        const double elements = (static_cast<double>(count) / static_cast<double>(frequencies) - 1) / 2;
        const double ports = std::sqrt(elements);
        return ports == std::floor(ports) ? fmt::format("{}", ports) : std::string("another number");
    }

    const Nport& m_nport;
    const std::string& m_place;
    const ckt_field_solver_call_back m_ask;
};

double largest(std::span<const Complex> matrix) {
    double most = 0;
    for (const Complex& s : matrix)
        most = std::max(most, std::abs(s));
    return most;
}

// `near` is the matrix at a frequency that is sure.
bool is_real(std::span<const Complex> matrix, std::span<const Complex> near) {
    const double most = most_imaginary * std::max(1.0, largest(near));
    return std::all_of(matrix.begin(), matrix.end(), [&](const Complex& s) {
        return std::isfinite(s.real()) && std::abs(s.imag()) <= most;
    });
}

} // namespace

NportData::NportData(const Nport& nport, const std::string& place, std::span<const double> frequencies,
                     ckt_field_solver_call_back ask, Messages& messages)
    : m_ports(nport.ports.size()) {
    const Request request(nport, place, ask);
    const std::size_t size = m_ports * m_ports;
    const bool asks_for_0 = !frequencies.empty() && frequencies.front() == 0;
    std::vector<double> asked(frequencies.begin(), frequencies.end());
    if (!asks_for_0)
        asked.insert(asked.begin(), 0.0);

    // An interpolation beyond the data's end may give anything at 0 Hz.
    int result = request.run(asked, !asks_for_0 && asked.size() > 1 ? 1 : 0, m_matrices);
    std::string lack;
    if (result == no_point && !asks_for_0 && asked.size() > 1) {
        asked.erase(asked.begin());
        result = request.run(asked, 0, m_matrices);
        lack = "the data says nothing of 0 Hz";
    }
    if (result != good)
        request.fail(result);
    std::size_t lowest = 0;
    const std::span<const Complex> matrices(m_matrices);
    if (lack.empty() && asked.size() > 1 && !is_real(matrices.first(size), matrices.subspan(size, size))) {
        lowest = 1;
        lack = "what the data says of 0 Hz isn't real";
    }
    if (!lack.empty())
        messages.warning(fmt::format("{}: N-port \"{}\": {}; in the operating point it has the real part of "
                                     "its data at {} Hz",
                                     place, nport.name, lack, asked[lowest]));
    for (const Complex& s : matrices.subspan(lowest * size, size))
        m_direct.push_back(s.real());
    if (asked.size() > frequencies.size())
        m_matrices.erase(m_matrices.begin(), m_matrices.begin() + static_cast<std::ptrdiff_t>(size));
}

} // namespace ckt
