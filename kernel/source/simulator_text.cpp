#include "simulator_text.h"

#include "text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <utility>

namespace ckt {

namespace {

bool take_start(std::string_view& text, std::string_view start) {
    if (!text.starts_with(start))
        return false;
    text = trim(text.substr(start.size()));
    return true;
}

// The simulator's common reasons in other words.
std::string reworded(std::string_view reason) {
    struct Wording {
        std::string_view given, told;
    };
    constexpr std::array wordings = {
        Wording{"unimplemented control card - error", "this command is unknown"},
        Wording{"model name is not found", "this kind of line is unknown, or its model is missing"},
        Wording{"no such parameter on this device", "a word here is no parameter of this line"},
        Wording{"parameter value out of range or the wrong type",
                "a value is out of range or of the wrong kind"},
        Wording{"device already exists, existing one being used", "a device of this name exists already"},
        Wording{"no data saved for", "none of the vectors that .save lists exists in this analysis"},
        Wording{"OP:  Timestep too small", "no operating point was found"},
        Wording{"TRAN:  Timestep too small", "the time step became too small"},
        Wording{"impossible error - can't occur", ""},
        Wording{"not found", ""},
    };
    for (const Wording& wording : wordings)
        if (reason.starts_with(wording.given))
            return std::string(wording.told);
    return std::string(reason);
}

// What the simulator says while all goes well, or says again in better words elsewhere.
bool says_nothing(std::string_view line) {
    constexpr std::array<std::string_view, 29> starts = {
        "Doing analysis at TEMP",
        "No. of Data Rows",
        "No. of Data Columns",
        "Note: No compatibility mode selected!",
        "Circuit: ",
        "Measurements for ", // of an analysis that isn't always the one that has run
        "Formula() error",
        "******",
        "** ngspice",
        "** Creation Date",
        "ngspice-",
        "Note: 'quit' asks",
        "Note: Codel model file",
        "Error: Transient op failed",
        "Note: Starting ",
        "Note: One successful",
        "Note: Transient op started",
        "Note: Transient op finished",
        "Warning: Further gmin",
        "Warning: Last gmin",
        "Warning: gmin step failed",
        "Warning: Dynamic gmin",
        "Warning: True gmin",
        "Warning: source stepping",
        "Error: circuit not parsed",
        "Error: there aren't any circuits loaded",
        "Error: ngspice.dll cannot recover",
        "Please check your input netlist",
        "Warning: losing old state for circuit", // of an analysis that was stopped
    };
    return line.ends_with("simulation(s) aborted") ||
           std::any_of(starts.begin(), starts.end(),
                       [&](std::string_view start) { return line.starts_with(start); });
}

} // namespace

void SimulatorText::take(std::string_view line) {
    const bool error_stream = line.starts_with("stderr ");
    if (error_stream || line.starts_with("stdout "))
        line.remove_prefix(7);
    if (m_capture) {
        m_capture->emplace_back(line);
        return;
    }
    line = trim(line);
    if (line.empty())
        return;
    if (error_stream)
        take_error_stream(line);
    else
        take_output_stream(line);
}

std::vector<std::string> SimulatorText::end_capture() {
    std::vector<std::string> lines = std::move(*m_capture);
    m_capture.reset();
    return lines;
}

void SimulatorText::take_output_stream(std::string_view line) {
    if (line.starts_with("DC solution failed") || line == "Last Node Voltages" ||
        line == "Initial Transient Solution") {
        m_in_voltage_table = true;
        return;
    }
    if (m_in_voltage_table) {
        const auto parts = words(line);
        if (parts.size() == 4 && parts.back() == "*") {
            m_not_converged.emplace_back(parts.front());
            return;
        }
        if (parts.size() <= 6 &&
            (parts.front() == "Node" || line.front() == '-' || parts.size() == 2 || parts.size() == 3))
            return;
        m_in_voltage_table = false;
    }
    if (says_nothing(line))
        return;
    m_messages.information(std::string(line));
}

// While it looks for an operating point the simulator prints its steps without line ends in front of other
// text.
bool SimulatorText::take_convergence_talk(std::string_view line) {
    bool talk = false;
    for (bool more = true; more;) {
        more = take_start(line, "Trying gmin =") || take_start(line, "Supplies reduced to") ||
               take_start(line, "Reference value :");
        if (more) {
            line = trim(line.substr(std::min(line.find(' '), line.size())));
            take_start(line, "%");
            talk = true;
        }
    }
    if (talk && !line.empty())
        take_error_stream(line);
    return talk;
}

void SimulatorText::take_error_stream(std::string_view line) {
    m_in_voltage_table = false;
    const bool formula = line.front() == '|'; // repeats a formula that another line speaks of
    if (take_awaited(line) || take_convergence_talk(line) || says_nothing(line) || formula)
        return;

    std::string_view rest = line;
    if (take_start(rest, "Error on line")) {
        m_number = -1;
        std::from_chars(rest.data(), rest.data() + rest.size(), m_number);
        m_waiting = Waiting::line_of_error;
    } else if (take_start(rest, "Warning: Model issue on line")) {
        m_number = -1;
        std::from_chars(rest.data(), rest.data() + rest.size(), m_number);
        m_waiting = Waiting::line_of_warning;
    } else if (take_start(rest, "warning, can't find model '")) {
        m_model = rest.substr(0, rest.find('\''));
        m_waiting = Waiting::line_of_unknown_model;
    } else if (rest == "warning, model type mismatch in line") {
        m_waiting = Waiting::line_of_mismatch;
    } else if (take_start(rest, "Netlist line no.")) {
        m_expression_line = -1;
        std::from_chars(rest.data(), rest.data() + rest.size(), m_expression_line);
    } else if (rest.starts_with("PTerror:") || rest.starts_with("Original line no.")) {
        m_hint = rest;
    } else if (take_start(rest, "doAnalyses:")) {
        m_reason = reworded(rest);
    } else if (take_start(rest, "Warning: singular matrix:")) {
        m_singular = rest;
        take_start(rest, "check nodes");
        take_start(rest, "check node");
        std::optional<std::size_t> at;
        if (rest.ends_with("#branch"))
            at = m_netlist.find_device(words(rest).back().substr(0, words(rest).back().size() - 7));
        tell_at(Level::warning, at,
                fmt::format("the circuit's equations are singular at {}: a loop of voltage sources or "
                            "inductors, or a node "
                            "without a path to ground",
                            m_singular.substr(m_singular.find(' ') + 1)));
    } else if (m_expression_line >= 0) {
        // Expressions report their error twice or three times over, the first one is the cause.
        const bool follows =
            rest.starts_with("Cannot compute substitute") || rest.starts_with("Expression err");
        if (!follows) {
            std::optional<std::size_t> at = line_of_number(m_expression_line);
            if (!at && rest.find('[') != rest.npos)
                at =
                    m_netlist.find_word(rest.substr(rest.find('[') + 1, rest.find(']') - rest.find('[') - 1));
            tell_at(Level::error, at, std::string(rest));
        }
        m_expression_line = -1;
    } else if (take_start(rest, "Fatal error:") || take_start(rest, "Error:") || take_start(rest, "ERROR:") ||
               take_start(rest, "ERROR,")) {
        if (rest.starts_with("unknown subckt:"))
            tell_unknown_subcircuit(rest);
        else
            tell(Level::error, rest);
    } else if (take_start(rest, "Warning:") || take_start(rest, "WARNING:") || take_start(rest, "warning,") ||
               take_start(rest, "Warning :")) {
        tell(Level::warning, rest);
    } else if (take_start(rest, "Note:")) {
        tell(Level::information, rest);
    } else if (rest.starts_with("Too many parameters for") || rest.starts_with("Too few parameters for")) {
        tell_at(Level::error, place_in(rest),
                "the subcircuit is called with another number of nodes than it has: " + std::string(rest));
    } else if (!m_hint.empty() || m_place.empty()) {
        // Before an analysis a bare line comes ahead of the error that it belongs to.
        m_hint += (m_hint.empty() ? "" : " ") + std::string(rest);
    } else {
        tell(Level::warning, rest);
    }
}

// Takes a line that an earlier one announced.
bool SimulatorText::take_awaited(std::string_view line) {
    const Waiting waiting = std::exchange(m_waiting, Waiting::nothing);
    switch (waiting) {
    case Waiting::nothing:
        return false;
    case Waiting::line_of_error:
    case Waiting::line_of_warning:
        m_text = line;
        m_waiting = waiting == Waiting::line_of_error ? Waiting::reason_of_error : Waiting::reason_of_warning;
        return true;
    case Waiting::line_of_unknown_model:
        m_model_faults.push_back(
            {std::string(words(line).front()), fmt::format("there is no .model \"{}\"", m_model)});
        return true;
    case Waiting::line_of_mismatch:
        m_model_faults.push_back(
            {std::string(words(line).front()), "its .model is of a kind that this device can't use"});
        return true;
    case Waiting::reason_of_error:
    case Waiting::reason_of_warning:
        break;
    }
    const auto parts = words(m_text);
    std::optional<std::size_t> at = line_of_number(m_number);
    if (!at && !parts.empty())
        at = m_netlist.find_device(parts.front());
    std::string why = reworded(line);
    if (line == "could not find a valid modelname" && !parts.empty())
        why = model_fault_of(parts.front());
    else if (!m_hint.empty())
        why += " (" + m_hint + ")";
    m_hint.clear();
    tell_at(waiting == Waiting::reason_of_error ? Level::error : Level::warning, at,
            fmt::format("{}: \"{}\"", why, m_text));
    return true;
}

void SimulatorText::flush() {
    if (m_waiting == Waiting::reason_of_error || m_waiting == Waiting::reason_of_warning)
        take_awaited("this line has an error");
    m_waiting = Waiting::nothing;
    if (!m_hint.empty())
        tell(Level::warning, std::exchange(m_hint, ""));
}

void SimulatorText::begin_analysis(const std::string& place) {
    flush();
    m_place = place;
    m_reason.clear();
    m_singular.clear();
    m_not_converged.clear();
}

std::string SimulatorText::reason() const {
    std::string text = m_reason;
    const auto add = [&](const std::string& more) { text += (text.empty() ? "" : "; ") + more; };
    if (!m_singular.empty())
        add("singular matrix, " + m_singular);
    if (!m_not_converged.empty())
        add(fmt::format("not converged: {}",
                        fmt::join(m_not_converged.begin(),
                                  m_not_converged.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(
                                                                m_not_converged.size(), 10)),
                                  ", ")));
    return text;
}

std::optional<std::size_t> SimulatorText::line_of_number(long number) const {
    if (number < 1 || static_cast<std::size_t>(number) > m_netlist.lines.size())
        return std::nullopt;
    return static_cast<std::size_t>(number) - 1;
}

// By the device's name, which the simulator gives with its path inside subcircuits.
std::string SimulatorText::model_fault_of(std::string_view device) const {
    const std::string_view leaf = device.substr(device.rfind('.') + 1);
    for (const ModelFault& fault : m_model_faults)
        if (fault.device == leaf)
            return fault.text;
    return "this device has no valid model";
}

// The line that a message is about, by the name of a device in it: "NAME: ...", "...: NAME n1 n2",
// "(instance: xNAME)".
std::optional<std::size_t> SimulatorText::place_in(std::string_view text) const {
    if (const std::size_t at = text.find("(instance: x"); at != text.npos)
        return m_netlist.find_device(text.substr(at + 12, text.find(')', at) - at - 12));
    const std::size_t colon = text.find(':');
    if (colon == text.npos)
        return std::nullopt;
    if (const auto found = m_netlist.find_device(trim(text.substr(0, colon))))
        return found;
    const auto after = words(text.substr(colon + 1));
    return after.empty() ? std::nullopt : m_netlist.find_device(after.front());
}

void SimulatorText::tell_unknown_subcircuit(std::string_view text) {
    const auto parts =
        words(text); // "unknown", "subckt:", the call's name, its nodes, the subcircuit, parameters
    const std::string_view name = parts.size() > 2 ? parts[2] : std::string_view();
    std::string_view called;
    for (const std::string_view part : parts)
        if (part.find('=') == part.npos && part != "params:")
            called = part;
    constexpr auto deep = 15;
    const bool recursive = std::count(name.begin(), name.end(), '.') > deep;
    tell_at(Level::error, m_netlist.find_device(name),
            recursive
                ? fmt::format("the calls of subcircuits nest too deep: does \"{}\" call itself?", called)
                : fmt::format("there is no .subckt \"{}\", which \"{}\" calls", called, name));
}

void SimulatorText::tell(Level level, std::string_view text) {
    // A measurement that finds nothing doesn't make the analysis worse.
    if (text.find("measure") != text.npos && level == Level::error)
        level = Level::warning;
    tell_at(level, place_in(text), reworded(text));
}

void SimulatorText::tell_at(Level level, std::optional<std::size_t> line, const std::string& text) {
    const std::string place = line              ? m_netlist.where(*line)
                              : m_place.empty() ? m_netlist.files.front()
                                                : m_place;
    m_messages.tell(level, place + ": " + text);
}

} // namespace ckt
