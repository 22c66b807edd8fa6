#include "nport_plan.h"

#include "job_error.h"
#include "saves.h"
#include "text.h"

#include <ckt_kernel.h>

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <map>
#include <optional>

namespace ckt {

namespace {

constexpr const char* form = "nport NAME NODE NODE ... design=DESIGN params=\"...\"";

struct Token {
    enum class Kind { word, quoted, equals };
    Kind kind;
    std::string text;

    bool is_equals() const { return kind == Kind::equals; }
};

// Nothing if a quoted text has no end.
std::optional<std::vector<Token>> split(std::string_view text) {
    std::vector<Token> parts;
    for (std::size_t at = 0; (at = text.find_first_not_of(" \t", at)) != text.npos;) {
        const char c = text[at];
        if (c == '=') {
            parts.push_back({Token::Kind::equals, "="});
            ++at;
        } else if (c == '"') {
            const std::size_t end = text.find('"', at + 1);
            if (end == text.npos)
                return std::nullopt;
            parts.push_back({Token::Kind::quoted, std::string(text.substr(at + 1, end - at - 1))});
            at = end + 1;
        } else {
            const std::size_t end = std::min(text.find_first_of(" \t=\"", at), text.size());
            parts.push_back({Token::Kind::word, std::string(text.substr(at, end - at))});
            at = end;
        }
    }
    return parts;
}

bool is_name(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    });
}

class PlanReader {
public:
    PlanReader(const Netlist& netlist, Messages& messages) : m_netlist(netlist), m_messages(messages) {}

    std::vector<Nport> read() {
        for (const Card& card : m_netlist.nports)
            line(card);
        if (m_failed)
            throw JobError(CKT_BAD_NETLIST, "");
        return std::move(m_nports);
    }

private:
    void error(const Card& card, const std::string& why) {
        m_messages.error(
            fmt::format("{}: \"{}\": {}", m_netlist.where(card.file, card.line), card.text, why));
        m_failed = true;
    }

    void line(const Card& card) {
        const auto parts = split(card.text);
        if (!parts) {
            error(card, "the quoted text has no end");
            return;
        }
        // The first word is "nport". A word before a "=" is a key.
        std::size_t keys = 1;
        while (keys < parts->size() && (*parts)[keys].kind == Token::Kind::word &&
               (keys + 1 == parts->size() || !(*parts)[keys + 1].is_equals()))
            ++keys;
        if (keys < 2) {
            error(card, fmt::format("it has no name, expected \"{}\"", form));
            return;
        }
        Nport nport{(*parts)[1].text, card.file, card.line, {}, "", ""};
        if (!is_name(nport.name))
            error(card, fmt::format("the name \"{}\" has other characters than letters, digits and \"_\"",
                                    nport.name));
        const auto [former, fresh] = m_names.emplace(lower(nport.name), &card);
        if (!fresh)
            error(card, fmt::format("there is an N-port \"{}\" already, at {}", nport.name,
                                    m_netlist.where(former->second->file, former->second->line)));
        nodes(card, {parts->begin() + 2, parts->begin() + static_cast<std::ptrdiff_t>(keys)}, nport);
        values(card, {parts->begin() + static_cast<std::ptrdiff_t>(keys), parts->end()}, nport);
        m_nports.push_back(std::move(nport));
    }

    void nodes(const Card& card, const std::vector<Token>& parts, Nport& nport) {
        if (parts.empty() || parts.size() % 2 != 0) {
            error(card, fmt::format("{} nodes, a pair for each port is expected", parts.size()));
            return;
        }
        for (const Token& part : parts)
            if (part.text.find_first_of("(){}',;$") != part.text.npos)
                error(card, fmt::format("\"{}\" is no node", part.text));
        for (std::size_t i = 0; i < parts.size(); i += 2) {
            const std::string name = fmt::format("_nport_{}_{}", lower(nport.name), i / 2 + 1);
            nport.ports.push_back({node_vector(lower(parts[i].text)), node_vector(lower(parts[i + 1].text)),
                                   'v' + name, name, 'i' + name});
            if (nport.ports.back().plus == nport.ports.back().minus)
                error(card, fmt::format("both nodes of port {} are \"{}\"", i / 2 + 1, parts[i].text));
        }
    }

    void values(const Card& card, const std::vector<Token>& parts, Nport& nport) {
        std::map<std::string, std::string> given;
        for (std::size_t i = 0; i < parts.size(); i += 3) {
            const std::string key = lower(parts[i].text);
            if (parts[i].kind != Token::Kind::word || i + 1 >= parts.size() || !parts[i + 1].is_equals()) {
                error(card, fmt::format("\"{}\" isn't expected here, expected \"{}\"", parts[i].text, form));
                return;
            }
            if (key != "design" && key != "params") {
                error(card,
                      fmt::format("\"{}\" isn't known here, \"design\" and \"params\" are", parts[i].text));
                return;
            }
            if (i + 2 >= parts.size() || parts[i + 2].is_equals()) {
                error(card, fmt::format("\"{}\" has no value", parts[i].text));
                return;
            }
            if (!given.emplace(key, parts[i + 2].text).second)
                error(card, fmt::format("\"{}\" is given twice", parts[i].text));
        }
        nport.design = given["design"];
        nport.params = given["params"];
        if (nport.design.empty())
            error(card, "it has no design, expected \"design=DESIGN\"");
    }

    const Netlist& m_netlist;
    Messages& m_messages;
    std::map<std::string, const Card*> m_names;
    std::vector<Nport> m_nports;
    bool m_failed = false;
};

} // namespace

std::vector<Nport> read_nports(const Netlist& netlist, Messages& messages) {
    return PlanReader(netlist, messages).read();
}

// The port's current is measured where it loads nothing: it is made of v / 50 and, with w = v + 50 i of all ports, of
// the sum of S w / 50, at a node that stays at 0 V, so that what an option puts between every node and ground draws
// nothing there. From that node it is carried to the port.
std::vector<NetlistLine> nport_lines(const Nport& nport, const std::vector<double>& scattering) {
    std::vector<NetlistLine> lines;
    const auto add = [&](std::string text) { lines.push_back({std::move(text), nport.file, nport.line}); };
    const auto nodes = [](const Nport::Port& port) {
        const auto node = [](const std::string& name) { return name.empty() ? "0" : name.c_str(); };
        return fmt::format("{} {}", node(port.plus), node(port.minus));
    };
    const std::size_t count = nport.ports.size();
    for (std::size_t row = 0; row < count; ++row) {
        const Nport::Port& port = nport.ports[row];
        add(fmt::format("{} {} 0 dc 0", port.sense, port.summing));
        add(fmt::format("f{} {} {} 1", port.summing, nodes(port), port.sense));
        add(fmt::format("g{} 0 {} {} {}", port.summing, port.summing, nodes(port), 1 / nport_reference));
        add(fmt::format("{} 0 {} dc 0 ac 0", port.drive, port.summing));
        for (std::size_t column = 0; column < scattering.size() / count; ++column) {
            const double s = scattering[row * count + column];
            const Nport::Port& other = nport.ports[column];
            if (s == 0)
                continue;
            add(fmt::format("g{}_{} {} 0 {} {}", port.summing, column + 1, port.summing, nodes(other),
                            s / nport_reference));
            add(fmt::format("f{}_{} {} 0 {} {}", port.summing, column + 1, port.summing, other.sense, s));
        }
    }
    return lines;
}

std::vector<std::string> take_out_measures(Netlist& netlist, Messages& messages) {
    std::vector<std::string> commands;
    for (std::size_t i = 1; i < netlist.lines.size();) {
        const std::size_t end = netlist.card_end(i);
        const std::string text = netlist.card_text(i);
        const auto parts = words(text);
        if (parts.size() < 2 || !parts[0].starts_with(".meas") || parts[1] != "ac") {
            i = end;
            continue;
        }
        if (text.find_first_of("{}';`<>|&!\\$\"~?") != text.npos)
            messages.warning(
                fmt::format("{}: \"{}\" isn't evaluated in a circuit with N-ports: it holds more than "
                            "names and numbers",
                            netlist.where(i), text));
        else
            commands.push_back("meas" + text.substr(parts[0].size()));
        const auto begin = netlist.lines.begin();
        netlist.lines.erase(begin + static_cast<std::ptrdiff_t>(i), begin + static_cast<std::ptrdiff_t>(end));
    }
    return commands;
}

bool allows_nports(std::string_view analysis) {
    constexpr std::array<std::string_view, 4> allowed = {"op", "dc", "tf", "ac"};
    return std::find(allowed.begin(), allowed.end(), analysis) != allowed.end();
}

} // namespace ckt
