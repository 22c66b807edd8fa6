#include "wrong_use.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <numeric>
#include <string_view>
#include <vector>

namespace {

// How many letters have to be put in, taken out, exchanged or swapped with their neighbour.
std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> before(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    std::vector<std::size_t> next(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        next[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            next[j] = std::min({row[j] + 1, next[j - 1] + 1, row[j - 1] + (a[i - 1] != b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                next[j] = std::min(next[j], before[j - 2] + 1);
        }
        before.swap(row);
        row.swap(next);
    }
    return row[b.size()];
}

std::string Nearest(const std::string& word, const std::vector<std::string>& names) {
    constexpr std::size_t kLongestWord = 40;
    std::size_t closest = word.size() > kLongestWord ? 0 : std::min<std::size_t>(3, word.size() / 2 + 1);
    std::string nearest;
    for (const std::string& name : names) {
        std::size_t distance = EditDistance(word, name);
        if (distance < closest) {
            closest = distance;
            nearest = name;
        }
    }
    return nearest;
}

std::vector<std::string> OptionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options())
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    return names;
}

std::vector<std::string> CommandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({}))
        names.push_back(command->get_name());
    return names;
}

} // namespace

std::string DescribeWrongUse(const CLI::App& app, const CLI::ParseError& error) {
    const CLI::App* chosen = &app;
    std::string path = app.get_name();
    while (!chosen->get_subcommands().empty()) {
        chosen = chosen->get_subcommands().front();
        path += " " + chosen->get_name();
    }
    std::string text = path + ": ";
    std::vector<std::string> unexpected = app.remaining(true);
    const bool lacksCommand =
        chosen->get_require_subcommand_min() > 0; // none was chosen of those that it has
    if ((lacksCommand || dynamic_cast<const CLI::ExtrasError*>(&error)) && !unexpected.empty()) {
        std::string word = unexpected.front().substr(0, unexpected.front().find('='));
        bool option = word.size() > 1 && word.front() == '-';
        bool command = !option && !chosen->get_subcommands([](const CLI::App*) { return true; }).empty();
        text += option ? "unknown option " : command ? "unknown command " : "unexpected argument ";
        text += word;
        std::string nearest = option    ? Nearest(word, OptionNames(*chosen))
                              : command ? Nearest(word, CommandNames(*chosen))
                                        : std::string();
        if (!nearest.empty())
            text += "; did you mean " + nearest + "?";
    } else if (lacksCommand) {
        const std::vector<std::string> names = CommandNames(*chosen);
        text += "a command is required:";
        for (const std::string& name : names)
            text += (&name == &names.front() ? " " : ", ") + name;
    } else {
        text += error.what();
    }
    return text + "\nTry `" + path + " --help`.\n";
}
