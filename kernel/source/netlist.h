// A netlist as it is fed to the simulator: one vector of lines without blanks, comments, includes and control
// blocks, each of which knows its file and line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ckt {

struct NetlistLine {
    std::string text;
    std::int32_t file; // index in Netlist::files
    std::int32_t line; // counted from 1
};

// A line with its continuations.
struct Card {
    std::int32_t file;
    std::int32_t line;
    std::string text; // joined, lower case, without comments at line ends
};

class Netlist {
public:
    std::vector<std::string> files; // as opened; the netlist itself first
    std::vector<NetlistLine> lines; // title first, ".end" last
    std::vector<Card> analyses;     // in the order of the lines
    std::vector<Card> saves;        // the ".save" cards, which are taken out of `lines`
    std::vector<Card> cosim;        // the "*% cosim" lines, from "cosim" on; none of them is in `lines`
    std::vector<Card> nports;       // the "*% nport" lines, likewise, but as written

    // "FILE:LINE", of a line given by its index or of a place in a file.
    std::string where(std::size_t index) const;
    std::string where(std::int32_t file, std::int32_t line) const;

    // The line that defines a device by the simulator's name for it: "r1", or "r.x1.x2.r1" inside
    // subcircuits.
    std::optional<std::size_t> find_device(std::string_view name) const;

    // The first line whose text holds `word` as a whole word, ignoring case.
    std::optional<std::size_t> find_word(std::string_view word) const;

    // Of the card whose first line has the index `begin`: the index behind its last line, and its text as in
    // Card.
    std::size_t card_end(std::size_t begin) const;
    std::string card_text(std::size_t begin) const;

private:
    // Names of one subcircuit's body (or of the top level, under the empty name) to line indices. Built at
    // the first question, for only a netlist with errors is asked.
    using Scope = std::unordered_map<std::string, std::size_t>;
    mutable std::unordered_map<std::string, Scope> m_scopes;
    void build_scopes() const;
};

// True for a keyword (lower case, with its dot) that asks for an analysis.
bool is_analysis(std::string_view keyword);

// A line's text up to a comment at its end.
std::string_view without_comment(std::string_view line);

} // namespace ckt
