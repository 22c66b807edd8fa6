#include "command_line.h"

#include "job.h"

#include <algorithm>
#include <ckt_kernel.h>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <string>
#include <string_view>
#include <unistd.h>

namespace ckt {

namespace {

struct Options {
    std::string circuit;
    std::string directory;
    bool quiet = false;
    bool help = false;
    std::string fault; // wrong use, in words
};

Options parse(int argc, char** argv) {
    Options options;
    bool only_names = false;
    for (int i = 1; i < argc; ++i) {
        std::string word = argv[i];
        std::erase(word, '"');
        if (only_names || word.empty() || word.front() != '-') {
            if (!options.circuit.empty())
                options.fault =
                    fmt::format("one circuit is expected, found \"{}\" and \"{}\"", options.circuit, word);
            else
                options.circuit = word;
        } else if (word == "--") {
            only_names = true;
        } else if (word == "-o") {
            if (++i == argc)
                options.fault = "-o needs a directory";
            else
                options.directory = argv[i];
            std::erase(options.directory, '"');
        } else if (word == "--quiet" || word == "-q") {
            options.quiet = true;
        } else if (word == "--help" || word == "-h") {
            options.help = true;
        } else {
            options.fault = fmt::format("unknown option \"{}\"", word);
        }
        if (!options.fault.empty())
            return options;
    }
    if (options.circuit.empty() && !options.help)
        options.fault = "a circuit is expected";
    return options;
}

std::string usage(std::string_view program) {
    return fmt::format("Usage: {0} CIRCUIT [-o DIR] [--quiet] [--help]\n"
                       "Runs every analysis of the SPICE netlist CIRCUIT.\n"
                       "  -o DIR    write the results to DIR instead of the netlist's folder\n"
                       "  --quiet   no progress, and of the messages only warnings and errors\n"
                       "  --help    this text\n"
                       "Example: {0} amplifier.cir -o results",
                       program);
}

// A bar on the last line of a terminal, out of the way of every message.
class Bar {
public:
    explicit Bar(bool on) : m_on(on) {}
    ~Bar() { clear(); }

    void show(double share) {
        constexpr int width = 40;
        const int filled = static_cast<int>(share * width);
        if (!m_on)
            return;
        fmt::print(stdout, "\r[{:<{}}] {:3.0f} %", std::string(static_cast<std::size_t>(filled), '='), width,
                   share * 100);
        std::fflush(stdout);
        m_shown = true;
    }
    void clear() {
        if (m_shown)
            std::fputs("\r\x1b[K", stdout);
        m_shown = false;
    }

private:
    bool m_on;
    bool m_shown = false;
};

} // namespace

int run_command_line(int argc, char** argv, const Progress::Sink& progress, const Messages::Sink& messages) {
    const std::string program =
        argc > 0 ? std::filesystem::path(argv[0]).filename().string() : std::string("tarvok");
    const auto tell = [&](Level level, const std::string& text) {
        if (messages) {
            messages(level, text);
            return;
        }
        std::fputs((text + '\n').c_str(), stdout);
        std::fflush(stdout);
    };
    const Options options = parse(argc, argv);
    if (!options.fault.empty()) {
        tell(Level::error, fmt::format("{}: {}\n{}", program, options.fault, usage(program)));
        return 2;
    }
    if (options.help) {
        tell(Level::information, usage(program));
        return 0;
    }
    Bar bar(!options.quiet && ::isatty(STDOUT_FILENO));
    const int code = run_job(
        {options.circuit, options.directory, {}},
        [&](double share) {
            bar.show(share);
            if (progress)
                progress(share);
        },
        [&](Level level, const std::string& text) {
            if (options.quiet && level == Level::information)
                return;
            bar.clear();
            const char* kinds[] = {"", "", "warning: ", "error: "};
            tell(level, kinds[static_cast<int>(level)] + text);
        });
    return code == CKT_GOOD ? 0 : 1;
}

} // namespace ckt
