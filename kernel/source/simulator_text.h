// Turns what the simulator prints into messages in words, each with the netlist's file and line where one is
// meant.
//
// ngspice prints notes, warnings and errors line by line on one stream, spreads one error over several lines,
// counts lines in its own way, and repeats itself while it looks for an operating point.
#pragma once

#include "messages.h"
#include "netlist.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ckt {

class SimulatorText {
public:
    SimulatorText(const Netlist& netlist, Messages& messages) : m_netlist(netlist), m_messages(messages) {}

    // One line as the simulator gives it, "stdout " or "stderr " in front.
    void take(std::string_view line);

    // From here on lines are kept aside instead, until end_capture hands them out without their stream's
    // name.
    void begin_capture() { m_capture.emplace(); }
    std::vector<std::string> end_capture();

    // Tells what is still held back because its next line didn't come.
    void flush();

    // Begins an analysis: what the simulator says of no line of its own is about `place`.
    void begin_analysis(const std::string& place);
    // Why the analysis failed, as far as the simulator said; empty if it said nothing.
    std::string reason() const;

private:
    enum class Waiting {
        nothing,
        line_of_error,
        reason_of_error,
        line_of_warning,
        reason_of_warning,
        line_of_unknown_model,
        line_of_mismatch
    };

    // A device whose model the simulator misses: told as a warning that may turn out harmless, and again as
    // an error that doesn't name the model any more.
    struct ModelFault {
        std::string device;
        std::string text;
    };

    void take_error_stream(std::string_view line);
    void take_output_stream(std::string_view line);
    bool take_awaited(std::string_view line);
    bool take_convergence_talk(std::string_view line);
    void tell(Level level, std::string_view text);
    void tell_unknown_subcircuit(std::string_view text);
    void tell_at(Level level, std::optional<std::size_t> line, const std::string& text);
    std::optional<std::size_t> line_of_number(long number) const;
    std::optional<std::size_t> place_in(std::string_view text) const;
    std::string model_fault_of(std::string_view device) const;

    const Netlist& m_netlist;
    Messages& m_messages;
    std::optional<std::vector<std::string>> m_capture;

    Waiting m_waiting = Waiting::nothing;
    long m_number = 0;   // the simulator's line number of the error that is being told
    std::string m_text;  // its line
    std::string m_hint;  // what was said just before about the same line
    std::string m_model; // that the awaited line can't find
    std::vector<ModelFault> m_model_faults;
    long m_expression_line = -1; // the last line number of an expression's error
    bool m_in_voltage_table = false;
    std::string m_place; // of the running analysis
    std::string m_reason;
    std::string m_singular;
    std::vector<std::string> m_not_converged;
};

} // namespace ckt
