#include "netlist_rules.h"

#include "job_error.h"
#include "text.h"

#include <ckt_kernel.h>

#include <algorithm>
#include <fmt/format.h>

namespace ckt {

namespace {

struct DeviceRule {
    char letter;
    std::size_t least; // words, the name included
    const char* form;
};

// What a device's line has at least.
constexpr DeviceRule device_rules[] = {
    {'b', 4, "NAME NODE NODE V=EXPRESSION or I=EXPRESSION"},
    {'c', 4, "NAME NODE NODE VALUE"},
    {'d', 4, "NAME ANODE CATHODE MODEL"},
    {'e', 4, "NAME NODE NODE ..."},
    {'f', 5, "NAME NODE NODE SOURCE GAIN"},
    {'g', 4, "NAME NODE NODE ..."},
    {'h', 5, "NAME NODE NODE SOURCE GAIN"},
    {'i', 3, "NAME NODE NODE VALUE"},
    {'j', 5, "NAME DRAIN GATE SOURCE MODEL"},
    {'k', 4, "NAME INDUCTOR INDUCTOR COUPLING"},
    {'l', 4, "NAME NODE NODE VALUE"},
    {'m', 5, "NAME DRAIN GATE SOURCE BULK MODEL"},
    {'o', 6, "NAME NODE NODE NODE NODE MODEL"},
    {'q', 5, "NAME COLLECTOR BASE EMITTER MODEL"},
    {'r', 4, "NAME NODE NODE VALUE"},
    {'s', 6, "NAME NODE NODE CONTROL CONTROL MODEL"},
    {'t', 6, "NAME NODE NODE NODE NODE Z0=VALUE TD=VALUE"},
    {'u', 5, "NAME NODE NODE NODE MODEL"},
    {'v', 3, "NAME NODE NODE VALUE"},
    {'w', 5, "NAME NODE NODE SOURCE MODEL"},
    {'x', 2, "NAME NODE ... SUBCIRCUIT"},
    {'y', 6, "NAME NODE NODE NODE NODE MODEL"},
    {'z', 5, "NAME DRAIN GATE SOURCE MODEL"},
};

class Checker {
public:
    Checker(Netlist& netlist, Messages& messages) : m_netlist(netlist), m_messages(messages) {}

    void check() {
        std::size_t i = 1;
        while (i < m_netlist.lines.size()) {
            const std::size_t end = m_netlist.card_end(i);
            const std::string text = m_netlist.card_text(i);
            if (text.empty()) {
                i = end;
                continue;
            }
            if (text.front() == '.')
                command(i, text);
            else
                device(i, text);
            i = end;
        }
        if (!m_devices && !m_netlist.analyses.empty())
            error(m_netlist.analyses.front(), "there is nothing to analyse: the circuit has no device");
        for (const std::size_t open : m_subcircuits)
            error(open, "this .subckt has no .ends");
        for (const Card& card : m_netlist.analyses) {
            check_arguments(card);
            constexpr std::size_t most = 100;
            if (const std::size_t count = words(card.text).size(); count > most)
                error(card, fmt::format("an analysis of {} words, {} at most are expected", count, most));
            // Each of these ends the simulator's process.
            if (m_bipolar && card.text.starts_with(".sens"))
                error(card, "the simulator can't do \".sens\" of a circuit with bipolar transistors");
            if (m_nodeset && card.text.starts_with(".tf"))
                error(card, "the simulator can't do \".tf\" of a circuit with a \".nodeset\"");
            if (!m_stores && card.text.starts_with(".pz"))
                error(card,
                      "a circuit without a capacitor, a coil or a semiconductor has no poles and zeros");
        }
        for (const Card& card : m_netlist.saves)
            check_arguments(card);
        if (m_errors > 0)
            throw JobError(CKT_BAD_NETLIST, "");
    }

private:
    Netlist& m_netlist;
    Messages& m_messages;
    std::vector<std::size_t> m_subcircuits; // open ones
    bool m_devices = false;
    bool m_bipolar = false;
    bool m_nodeset = false;
    bool m_stores = false; // may hold energy
    int m_errors = 0;

    void error(std::size_t line, const std::string& text) { error_at(m_netlist.where(line), text); }
    void error(const Card& card, const std::string& text) {
        error_at(m_netlist.where(card.file, card.line), text);
    }
    void error_at(const std::string& place, const std::string& text) {
        m_messages.error(place + ": " + text);
        ++m_errors;
    }

    void command(std::size_t line, const std::string& text) {
        const auto parts = words(text);
        if (parts.front() == ".subckt") {
            m_subcircuits.push_back(line);
            if (parts.size() < 2)
                error(line, ".subckt without a name");
        } else if (parts.front() == ".ends") {
            if (m_subcircuits.empty())
                error(line, ".ends without a .subckt");
            else
                m_subcircuits.pop_back();
        } else if (parts.front() == ".nodeset") {
            m_nodeset = true;
        } else if (parts.front().starts_with(".model") && (parts.front() != ".model" || parts.size() < 3)) {
            // The simulator takes any command that begins so for this one.
            error(line, fmt::format("\"{}\" is too short, expected \".model NAME KIND\"", text));
        } else if (parts.front().starts_with(".meas") && parts.size() < 4) {
            error(line, fmt::format("\"{}\" is too short, expected \".meas ANALYSIS NAME WHAT\"", text));
        }
    }

    void device(std::size_t line, const std::string& text) {
        const auto parts = tokens(text);
        const auto rule =
            std::find_if(std::begin(device_rules), std::end(device_rules),
                         [&](const DeviceRule& candidate) { return candidate.letter == text.front(); });
        if (rule != std::end(device_rules) && parts.size() < rule->least)
            error(line, fmt::format("\"{}\" is too short, expected \"{}\"", text, rule->form));
        m_devices = true;
        m_bipolar = m_bipolar || text.front() == 'q';
        m_stores =
            m_stores || std::string_view("acldjmnopqtuyz").find(text.front()) != std::string_view::npos;
        if (text.front() == 'a')
            code_model(line, text);
        if ((text.front() == 'v' || text.front() == 'i') &&
            std::find(parts.begin(), parts.end(), "external") != parts.end())
            error(line, fmt::format("\"{}\": an external source has nobody that gives its values", text));
    }

    // "%v" and its like say what kind the next connection is of; without one the simulator reads behind the line.
    void code_model(std::size_t line, const std::string& text) {
        const auto parts = tokens(text);
        if (parts.size() < 3)
            error(line, fmt::format("\"{}\" is too short, expected \"NAME CONNECTION ... MODEL\"", text));
        for (std::size_t i = 0; i < parts.size(); ++i)
            if (parts[i].front() == '%' && i + 2 >= parts.size())
                error(line, fmt::format("\"{}\" in \"{}\" is followed by no connection", parts[i], text));
    }

    // These lines become commands of the simulator, where such characters would begin another command, run a
    // shell command, or write a file.
    void check_arguments(const Card& card) {
        constexpr std::size_t longest = 400; // the simulator keeps a word in a buffer a little larger
        for (const std::string_view word : words(card.text))
            if (word.size() > longest)
                error(card,
                      fmt::format("a word has {} characters, {} at most are expected", word.size(), longest));
        const std::size_t bad = card.text.find_first_of(";`<>|&!\\$\"~?");
        if (bad == card.text.npos)
            return;
        error(card, fmt::format("'{}' isn't allowed in \"{}\"", card.text[bad], card.text));
    }
};

} // namespace

void check_netlist(Netlist& netlist, Messages& messages) {
    Checker(netlist, messages).check();
}

} // namespace ckt
