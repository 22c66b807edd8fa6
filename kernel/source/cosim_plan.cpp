#include "cosim_plan.h"

#include "job_error.h"
#include "text.h"

#include <ckt_kernel.h>

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <map>

namespace ckt {

namespace {

class PlanReader {
public:
    PlanReader(Netlist& netlist, Messages& messages) : m_netlist(netlist), m_messages(messages) {
        int depth = 0;
        for (std::size_t i = 1, end = i; i < netlist.lines.size(); i = end) {
            end = netlist.card_end(i);
            const std::string name = lower(words(netlist.lines[i].text).front());
            if (name == ".subckt")
                ++depth;
            else if (name == ".ends")
                --depth;
            else if (depth == 0 && (name.front() == 'v' || name.front() == 'i'))
                m_devices.emplace(name, end - 1);
        }
    }

    CosimPlan read() {
        m_plan.place = place_of(m_netlist.cosim.front());
        for (const Card& card : m_netlist.cosim)
            line(card);
        check_numbers(m_sources, "source");
        check_numbers(m_ports, "port");
        if (!m_netlist.analyses.empty() &&
            std::none_of(m_netlist.analyses.begin(), m_netlist.analyses.end(),
                         [](const Card& card) { return words(card.text).front() == ".tran"; }))
            error(m_plan.place, "a co-simulation is asked for, but there is no .tran");
        if (m_failed)
            throw JobError(CKT_BAD_NETLIST, "");
        for (auto& [number, source] : m_sources)
            m_plan.sources.push_back(std::move(source));
        for (auto& [number, port] : m_ports)
            m_plan.ports.push_back(std::move(port));
        take_out_interpolation();
        return std::move(m_plan);
    }

private:
    Netlist& m_netlist;
    Messages& m_messages;
    std::map<std::string, std::size_t> m_devices; // sources at the top level, each with its last line
    std::map<int, CosimSource> m_sources;
    std::map<int, CosimPort> m_ports;
    CosimPlan m_plan;
    bool m_failed = false;

    std::string place_of(const Card& card) const { return m_netlist.where(card.file, card.line); }

    void error(const std::string& place, const std::string& text) {
        m_messages.error(place + ": " + text);
        m_failed = true;
    }

    void line(const Card& card) {
        const auto parts = spaced_words(card.text); // "cosim" first
        const std::string place = place_of(card);
        const std::string kind = parts.size() > 1 ? parts[1] : "";
        if (kind == "step")
            step(place, card.text, parts);
        else if (kind == "source")
            source(place, card.text, parts);
        else if (kind == "port")
            port(place, card.text, parts);
        else
            error(place, fmt::format("\"{}\": \"step\", \"source\" or \"port\" is expected after \"cosim\"{}",
                                     card.text, kind.empty() ? "" : fmt::format(", found \"{}\"", kind)));
    }

    void step(const std::string& place, const std::string& text, const std::vector<std::string>& parts) {
        if (parts.size() != 3) {
            error(place, fmt::format("\"{}\": expected \"cosim step TIME\"", text));
            return;
        }
        const auto value = spice_number(parts[2]);
        const bool clean =
            parts[2].find_first_not_of("0123456789.+-abcdefghijklmnopqrstuvwxyz") == std::string::npos;
        if (!value || !clean || !(*value > 0))
            error(place,
                  fmt::format("\"{}\": the step is \"{}\", a time above 0 is expected", text, parts[2]));
        else if (m_plan.step)
            error(place, fmt::format("\"{}\": the step is given already at {}", text, m_plan.step_place));
        else
            m_plan.step = *value;
        if (m_plan.step_place.empty())
            m_plan.step_place = place;
    }

    std::optional<int> number(const std::string& place, const std::string& text, const std::string& word) {
        constexpr int most = 9999; // so that a number that was mistyped isn't told as thousands of gaps
        int value = -1;
        const auto [end, fault] = std::from_chars(word.data(), word.data() + word.size(), value);
        if (fault == std::errc{} && end == word.data() + word.size() && value >= 0 && value <= most)
            return value;
        error(place,
              fmt::format("\"{}\": the number is \"{}\", one from 0 to {} is expected", text, word, most));
        return std::nullopt;
    }

    void source(const std::string& place, const std::string& text, const std::vector<std::string>& parts) {
        if (parts.size() != 4) {
            error(place, fmt::format("\"{}\": expected \"cosim source NUMBER DEVICE\"", text));
            return;
        }
        const auto index = number(place, text, parts[2]);
        if (!index)
            return;
        const std::string& name = parts[3];
        const auto device = m_devices.find(name);
        if (device == m_devices.end()) {
            error(place,
                  fmt::format("\"{}\": the circuit has no voltage or current source \"{}\" outside its "
                              "subcircuits",
                              text, name));
            return;
        }
        for (const auto& [other, driven] : m_sources)
            if (driven.name == name && other != *index)
                error(place, fmt::format("\"{}\": \"{}\" is driven by source {} already, at {}", text, name,
                                         other, driven.place));
        const auto [former, fresh] = m_sources.emplace(*index, CosimSource{name, place, device->second});
        if (!fresh)
            error(place, fmt::format("\"{}\": there is a source {} already, at {}", text, *index,
                                     former->second.place));
    }

    void port(const std::string& place, const std::string& text, const std::vector<std::string>& parts) {
        if (parts.size() != 4 && parts.size() != 5) {
            error(place,
                  fmt::format("\"{}\": expected \"cosim port NUMBER VALUE\" or \"cosim port NUMBER VALUE "
                              "VALUE\"",
                              text));
            return;
        }
        const auto index = number(place, text, parts[2]);
        CosimPort port{place, {}};
        for (std::size_t i = 3; i < parts.size(); ++i) {
            port.values[i - 3] = parse_probe(parts[i]);
            if (!port.values[i - 3])
                error(place, fmt::format("\"{}\": \"{}\" is no value of a port, v(NODE), v(NODE,NODE) or "
                                         "i(SOURCE) is expected",
                                         text, parts[i]));
        }
        if (!index)
            return;
        const auto [former, fresh] = m_ports.emplace(*index, std::move(port));
        if (!fresh)
            error(place, fmt::format("\"{}\": there is a port {} already, at {}", text, *index,
                                     former->second.place));
    }

    template <class Entry>
    void check_numbers(const std::map<int, Entry>& entries, const char* what) {
        if (entries.empty() && !m_failed)
            error(m_plan.place, fmt::format("a co-simulation has at least \"cosim {} 0\", found none", what));
        int expected = 0;
        for (const auto& [number, entry] : entries) {
            if (number != expected)
                error(entry.place, fmt::format("there is a {0} {1}, but no {0} {2}: they are numbered from 0 "
                                               "without a gap",
                                               what, number, expected));
            expected = number + 1;
        }
    }

    void take_out_interpolation() {
        for (std::size_t i = 1, end = i; i < m_netlist.lines.size(); i = end) {
            end = m_netlist.card_end(i);
            if (!starts_with_ignoring_case(m_netlist.lines[i].text, ".opt"))
                continue;
            for (std::size_t k = i; k < end; ++k) {
                std::string& text = m_netlist.lines[k].text;
                for (const std::string_view word : words(without_comment(text)))
                    if (lower(word) == "interp" || starts_with_ignoring_case(word, "interp=")) {
                        m_messages.warning(m_netlist.where(k) +
                                           ": the option \"interp\" isn't used in a co-simulation");
                        text.replace(static_cast<std::size_t>(word.data() - text.data()), word.size(), " ");
                        break;
                    }
            }
        }
    }
};

} // namespace

std::vector<std::string> CosimPlan::vectors() const {
    std::vector<std::string> names;
    for (const CosimPort& port : ports)
        for (const auto& value : port.values)
            if (value)
                names.insert(names.end(), {value->plus, value->minus});
    return names;
}

std::optional<CosimPlan> read_cosim_plan(Netlist& netlist, Messages& messages) {
    if (netlist.cosim.empty())
        return std::nullopt;
    return PlanReader(netlist, messages).read();
}

std::vector<NetlistLine> driven_lines(const Netlist& netlist, const CosimPlan& plan) {
    std::vector<NetlistLine> lines = netlist.lines;
    // The simulator reads the coefficients of a source's waveform whichever it is, and crashes on a source that
    // has none.
    for (const CosimSource& source : plan.sources) {
        std::string& text = lines[source.last_line].text;
        text = std::string(without_comment(text)) + " sin(0 0 1) external";
    }
    return lines;
}

} // namespace ckt
