#include "command_line.h"

#include "block_command.h"
#include "config_command.h"
#include "exit_status.h"
#include "net_command.h"
#include "output.h"
#include "run_command.h"
#include "wrong_use.h"

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <sstream>

namespace {

constexpr char kExamples[] = R"(
`kelda COMMAND --help` tells more of a command.

Example:
  kelda run amplifier.cir)";

int Say(int descriptor, const std::string& text, int status) {
    Output output(descriptor);
    output.Write(text);
    if (output.Flush() || descriptor == STDERR_FILENO || output.Error() == EPIPE)
        return status;
    return Say(STDERR_FILENO,
               std::string("kelda: can't write to standard output: ") + std::strerror(output.Error()) + "\n",
               kWorkFailed);
}

int Do(int argc, char** argv) {
    CLI::App app("Runs circuit analyses in the engine.", "kelda");
    app.set_version_flag("--version", "kelda " KELDA_VERSION);
    app.get_formatter()->column_width(30);
    app.footer(kExamples);
    int status = kDone;
    AddRunCommand(app, status);
    AddBlockCommand(app, status);
    AddNetCommand(app, status);
    AddConfigCommand(app, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& wish) { // help or the version is asked for
        std::ostringstream text;
        app.exit(wish, text, text);
        return Say(STDOUT_FILENO, text.str(), kDone);
    } catch (const CLI::ParseError& error) {
        return Say(STDERR_FILENO, DescribeWrongUse(app, error), kWrongUse);
    }
    if (app.get_subcommands().empty())
        return Say(STDERR_FILENO, app.help(), kWrongUse);
    return status;
}

} // namespace

int RunCommandLine(int argc, char** argv) {
    try {
        return Do(argc, argv);
    } catch (const std::exception& error) {
        return Say(STDERR_FILENO, std::string("kelda: ") + error.what() + "\n", kWorkFailed);
    }
}
