#include "run_command.h"

#include "exit_status.h"
#include "job_run.h"

#include <client/data_folder.h>

#include <CLI/CLI.hpp>

#include <filesystem>

namespace {

namespace fs = std::filesystem;

struct RunOptions {
    std::string circuit;
    std::string project;
    std::string data;
    std::string cosimIn;
    std::string cosimOut;
    std::int32_t cosimBlock = 1000;
    bool json = false;
    bool quiet = false;
    bool verbose = false;
};

constexpr char kRunFooter[] = R"(
Messages and the progress bar go to standard error, the list of result files to standard output.
Ctrl-C aborts the job; a second Ctrl-C doesn't wait for that.

Exit status: 0 done, 1 the job failed, 2 wrong use, 3 the engine couldn't be started or was lost,
130 interrupted.

Co-simulation: the circuit says by "*% cosim" lines which of its sources are driven and what is read at its
ports, step by step of its .tran. --cosim-in names the samples, a CSV file: the time [s], then a column for
each source; a line of headings may come first. Each row is one step, and a source reaches its sample at the
end of it, on a straight line from the one before (the first step holds the first sample). The times are those
of the steps' ends or, if the first one is 0, of their beginnings. Where the .tran goes on behind the last row,
the sources hold their last values. --cosim-out is written as CSV: the end of each step, then the first and
second value of each port, block by block while the job runs; what is there remains if the job fails.

Network data: components that the circuit describes by a design's name alone ("*% nport") get their data
from --data, a directory of solutions (NAME.sol, NAME.solb) and Touchstone files (NAME.sNp, NAME.ts).

With --json every line of standard output is one object with the key "event":
  started (job, circuit, project), progress (value, from 0 to 1), result (path),
  message (severity: information, warning or error; text), and as the last one of
  done (code, seconds), lost (reason, signal or status, seconds), aborted (reason, seconds).

Examples:
  kelda run amplifier.cir
  kelda run amplifier.cir --project results --quiet
  kelda run amplifier.cir --data measured
  kelda run filter.cir --cosim-in samples.csv --cosim-out ports.csv
  kelda run amplifier.cir --json | jq -r 'select(.event == "result").path')";

bool IsUtf8(const std::string& text) {
    AString units;
    units.Assign(kEncodingUtf8, text.data(), static_cast<int>(text.size()));
    return std::string(units.ToNarrow(kEncodingUtf8)) == text;
}

int Run(const RunOptions& options) {
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
    std::shared_ptr<job::CosimSession> cosim;
    if (!options.cosimIn.empty()) {
        // Nothing that is read may be emptied by writing.
        for (const std::string& input : {options.cosimIn, options.circuit})
            if (input != "-" && !options.cosimOut.empty() && fs::equivalent(input, options.cosimOut, error))
                return refuse("--cosim-out names " + options.cosimOut + ", which is an input of this job");
        try {
            cosim =
                std::make_shared<job::CosimSession>(options.cosimIn, options.cosimOut, options.cosimBlock);
        } catch (const std::runtime_error& fault) {
            return refuse(fault.what());
        }
    }
    auto report = options.json ? MakeJsonReport(out) : MakeTextReport(out, err, detail);
    RunRequest request{circuit.string(), project.string(), options.data, std::move(cosim),
                       options.json || !options.quiet};
    return RunJob(request, out, err, signals, *report);
}

} // namespace

void AddRunCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<RunOptions>();
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
    command->add_option("--data", options->data, "Where the network data of the circuit's designs are")
        ->type_name("DIR")
        ->check(named("the directory's name"))
        ->check(CLI::Validator(
            [](std::string& text) {
                try {
                    platform::InterfacePtr<kelda::DataFolder>::Adopt(new kelda::DataFolder(text));
                    return std::string();
                } catch (const std::runtime_error& error) {
                    return std::string(error.what());
                }
            },
            ""));
    CLI::Option* cosimIn = command
                               ->add_option("--cosim-in", options->cosimIn,
                                            "Samples for the sources of a co-simulation (-: standard input)")
                               ->type_name("FILE")
                               ->check(named("the file name"));
    command->add_option("--cosim-out", options->cosimOut, "Where the ports' values go (-: standard output)")
        ->type_name("FILE")
        ->check(named("the file name"))
        ->needs(cosimIn);
    command
        ->add_option("--cosim-block", options->cosimBlock,
                     "Samples that go to the engine at a time (default: 1000)")
        ->type_name("N")
        ->check(CLI::Range(1, 1'000'000))
        ->needs(cosimIn);
    command->add_flag("--json", options->json, "Report in JSON, one object a line");
    CLI::Option* quiet =
        command->add_flag("-q,--quiet", options->quiet, "Show warnings and errors, nothing else");
    command->add_flag("-v,--verbose", options->verbose, "Show the time of each message, and more of them")
        ->excludes(quiet);
    command->footer(kRunFooter);
    command->callback([options, &status] {
        if (options->cosimOut == "-" && (options->json || !options->quiet))
            throw CLI::ValidationError("--cosim-out",
                                       "standard output can hold the ports' values only with --quiet "
                                       "and without --json");
        status = Run(*options);
    });
}
