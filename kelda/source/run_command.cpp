#include "run_command.h"

#include "exit_status.h"
#include "job_run.h"

#include <CLI/CLI.hpp>

#include <filesystem>

namespace {

namespace fs = std::filesystem;

struct Options {
    std::string circuit;
    std::string project;
    bool json = false;
    bool quiet = false;
    bool verbose = false;
};

constexpr char kFooter[] = R"(
Messages and the progress bar go to standard error, the list of result files to standard output.
Ctrl-C aborts the job; a second Ctrl-C doesn't wait for that.

Exit status: 0 done, 1 the job failed, 2 wrong use, 3 the engine couldn't be started or was lost,
130 interrupted.

With --json every line of standard output is one object with the key "event":
  started (job, circuit, project), progress (value, from 0 to 1), result (path),
  message (severity: information, warning or error; text), and as the last one of
  done (code, seconds), lost (reason, signal or status, seconds), aborted (reason, seconds).

Examples:
  kelda run amplifier.cir
  kelda run amplifier.cir --project results --quiet
  kelda run amplifier.cir --json | jq -r 'select(.event == "result").path')";

bool IsUtf8(const std::string& text) {
    AString units;
    units.Assign(kEncodingUtf8, text.data(), static_cast<int>(text.size()));
    return std::string(units.ToNarrow(kEncodingUtf8)) == text;
}

int Run(const Options& options) {
    SignalWatch signals;
    Output out(STDOUT_FILENO, signals.Descriptor());
    Output err(STDERR_FILENO, signals.Descriptor());
    auto refuse = [&err](const std::string& reason) {
        err.Write("kelda: " + reason + "\n");
        err.Flush();
        return kWorkFailed;
    };

    std::error_code error;
    fs::path circuit = fs::absolute(options.circuit, error);
    fs::path project = error                     ? fs::path()
                       : options.project.empty() ? circuit.parent_path()
                                                 : fs::absolute(options.project, error);
    if (error)
        return refuse("the current directory can't be found: " + error.message());
    // Text between the engine and its clients is Unicode; another file than the one that was named would be
    // looked for.
    for (const std::string& path : {circuit.string(), project.string()})
        if (!IsUtf8(path))
            return refuse("the path " + path + " isn't UTF-8, which is all that the engine can open");

    Detail detail = options.quiet ? Detail::kQuiet : options.verbose ? Detail::kVerbose : Detail::kNormal;
    auto report = options.json ? MakeJsonReport(out) : MakeTextReport(out, err, detail);
    RunRequest request{circuit.string(), project.string(), options.json || !options.quiet};
    return RunJob(request, out, err, signals, *report);
}

} // namespace

void AddRunCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("run", "Analyse a circuit");
    auto named = [](const char* what) {
        return CLI::Validator(
            [what](std::string& text) {
                return text.empty() ? std::string(what) + " is empty" : std::string();
            },
            "");
    };
    command->add_option("CIRCUIT", options->circuit, "The circuit's file, a SPICE netlist")
        ->required()
        ->type_name("")
        ->check(named("the file name"))
        ->check(CLI::Validator(
            [](std::string& text) {
                return text == "-" ? std::string("a circuit can't come from standard input, name its file")
                                   : std::string();
            },
            ""));
    command
        ->add_option("--project", options->project, "Where the result files go (default: beside the circuit)")
        ->type_name("DIR")
        ->check(named("the directory's name"));
    command->add_flag("--json", options->json, "Report in JSON, one object a line");
    CLI::Option* quiet =
        command->add_flag("-q,--quiet", options->quiet, "Show warnings and errors, nothing else");
    command->add_flag("-v,--verbose", options->verbose, "Show the time of each message, and more of them")
        ->excludes(quiet);
    command->footer(kFooter);
    command->callback([options, &status] { status = Run(*options); });
}
