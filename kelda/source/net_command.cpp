#include "net_command.h"

#include "deliver.h"
#include "exit_status.h"
#include "net_at.h"
#include "net_change.h"
#include "net_info.h"
#include "net_plot.h"
#include "net_sweep.h"
#include "quantity.h"

#include <CLI/CLI.hpp>

#include <complex>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>

namespace {

constexpr double kLeastReference = 1e-10; // ohm; one below counts as none, and its row would stay as it is

constexpr char kNetFooter[] = R"(
A network is a Touchstone file (.sNp, .ts) or a solution as text (.sol) or binary (.solb); "-" reads standard input.
The name of OUT says what is written.

Exit status: 0 done, 1 the file has errors or the network can't be changed so, 2 wrong use.

Examples:
  kelda net info filter.s2p
  kelda net convert filter.s2p filter.sol
  kelda net renorm filter.s2p filter75.s2p --z 75
  kelda net at filter.s2p --freq 1GHz:2GHz:11
  kelda net plot fit.sol filter.s2p -o fit.svg)";

struct NetOptions {
    NetChange change;
    NetQuestion question;
    NetPicture picture;
    NetSweep sweep;
    std::string kind = "s";
    std::string format = "ri";
    bool json = false;
};

void TakeForm(const NetOptions& options, networkfile::WriteOptions& form) {
    form.kind = options.kind == "y"   ? touchstone::Kind::Y
                : options.kind == "z" ? touchstone::Kind::Z
                                      : touchstone::Kind::S;
    form.format = options.format == "ma"   ? touchstone::Format::MagnitudeAngle
                  : options.format == "db" ? touchstone::Format::DecibelAngle
                                           : touchstone::Format::RealImaginary;
}

const std::map<std::string, PlotQuantity> kQuantities{
    {"db", PlotQuantity::kDecibels}, {"mag", PlotQuantity::kMagnitude}, {"phase", PlotQuantity::kPhase},
    {"delay", PlotQuantity::kDelay}, {"re", PlotQuantity::kReal},       {"im", PlotQuantity::kImaginary},
    {"smith", PlotQuantity::kSmith}};

// An option whose value is parsed as the command line is read, so that a typing error is wrong use.
template <class Value, class Parse>
CLI::Option* AddParsed(CLI::App* command, const std::string& name, Value& value, const char* what,
                       const char* type, Parse parse) {
    return command
        ->add_option_function<std::string>(
            name,
            [&value, parse, name](const std::string& text) {
                try {
                    value = parse(text);
                } catch (const std::invalid_argument& error) {
                    throw CLI::ValidationError(name, error.what());
                }
            },
            what)
        ->type_name(type);
}

std::vector<std::complex<double>> ParseReferences(const std::string& text) {
    std::vector<std::complex<double>> references = ParseComplexList(text);
    for (const std::complex<double>& reference : references)
        if (!(std::abs(reference) > kLeastReference))
            throw std::invalid_argument("'" + text + "' holds a reference of 0 ohm");
    return references;
}

void AddKind(CLI::App* command, NetOptions& options) {
    command
        ->add_option("--param", options.kind, "The kind that a Touchstone file or a table shows: s, y or z")
        ->type_name("KIND")
        ->transform(CLI::IsMember({"s", "y", "z"}, CLI::ignore_case));
}

void AddForm(CLI::App* command, NetOptions& options) {
    AddKind(command, options);
    command
        ->add_option("--format", options.format,
                     "ri (real and imaginary part), ma (magnitude and degrees) or db (decibels and degrees)")
        ->type_name("FORM")
        ->transform(CLI::IsMember({"ri", "ma", "db"}, CLI::ignore_case));
}

} // namespace

void AddNetCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<NetOptions>();
    CLI::App* net = app.add_subcommand("net", "Look at networks and change them");
    net->require_subcommand(1);
    net->footer(kNetFooter);
    const auto add = [&](const char* name, const char* what, const char* example, std::function<int()> work) {
        CLI::App* command = net->add_subcommand(name, what);
        command->footer(std::string("\nExample:\n  kelda net ") + example);
        command->callback([options, work, &status] {
            TakeForm(*options, options->change.form);
            TakeForm(*options, options->question.form);
            options->picture.kind = options->question.form.kind;
            try {
                status = work();
            } catch (const networkfile::Error& error) {
                status = Fail(error.what());
            } catch (const std::runtime_error& error) {
                const std::string& file =
                    options->change.in.empty() ? options->question.in : options->change.in;
                status = Fail((file.empty() ? "" : file + ": ") + error.what());
            }
        });
        return command;
    };
    const auto addFiles = [options](CLI::App* command) {
        command->add_option("IN", options->change.in, "The network")->required()->type_name("");
        command->add_option("OUT", options->change.out, "Where the result goes")->required()->type_name("");
        AddForm(command, *options);
    };
    NetChange& change = options->change;
    NetQuestion& question = options->question;

    CLI::App* info = add("info", "Tell what a network file holds", "info filter.s2p", [options] {
        networkfile::File file = ReadNetwork(options->question.in);
        return Deliver(DescribeNetwork(options->question.in, file, options->json), "-", kDone);
    });
    info->add_option("FILE", question.in, "The network")->required()->type_name("");
    info->add_flag("--json", options->json, "One object");

    addFiles(add("convert", "Write a network in another form", "convert filter.s2p filter.sol --param s",
                 [options] { return ConvertNetwork(options->change); }));

    CLI::App* renorm = add("renorm", "Refer S to other impedances", "renorm filter.s2p filter75.s2p --z 75",
                           [options] { return RenormalizeNetwork(options->change); });
    addFiles(renorm);
    AddParsed(renorm, "--z", change.references,
              "The references in ohm, one for all or one for each row, such as 50,75+5j", "LIST",
              ParseReferences)
        ->required();

    CLI::App* deembed = add("deembed", "Move the reference planes into the network",
                            "deembed line.s2p moved.s2p --delay 150ps",
                            [options] { return DeembedNetwork(options->change); });
    addFiles(deembed);
    // One of the two must be there.
    CLI::Option_group* planes = deembed->add_option_group("Reference planes");
    planes->require_option(1);
    AddParsed(planes, "--delay", change.delays, "By times, one for all or one for each row", "LIST",
              [](const std::string& text) { return ParseQuantities(text, "s"); });
    CLI::Option* distance =
        AddParsed(planes, "--distance", change.distances,
                  "By lengths, such as 2mm, with the data's propagation constants", "LIST",
                  [](const std::string& text) { return ParseQuantities(text, "m"); });
    AddParsed(deembed, "--permittivity", change.permittivities,
              "The relative permittivities along the distances, in place of propagation constants", "LIST",
              [](const std::string& text) { return ParseQuantities(text, ""); })
        ->needs(distance);
    deembed->add_flag("--lossless", change.lossless, "Leave the attenuation along the distances aside")
        ->needs(distance);

    CLI::App* at =
        add("at", "The data at any frequencies", "at filter.s2p --freq 1GHz,1.5GHz,2GHz:3GHz:11", [options] {
            options->question.json = options->json;
            return AnswerNetwork(options->question);
        });
    at->add_option("IN", question.in, "The network")->required()->type_name("");
    AddParsed(at, "--freq", question.frequencies, "Frequencies and ranges START:STOP:COUNT", "LIST",
              ParseFrequencies)
        ->required();
    at->add_option("-o,--output", question.out,
                   "A network file for the answers, in place of a table with them")
        ->type_name("OUT");
    at->add_flag("--json", options->json, "One object a frequency");
    AddForm(at, *options);

    NetSweep& run = options->sweep;
    CLI::App* sweep =
        add("sweep", "Which frequencies an adaptive sweep takes of dense data, and how well its fit holds",
            "sweep filter.s2p --tolerance 1e-4 -o fit.sol", [options] {
                options->question.in = options->sweep.in;
                options->sweep.json = options->json;
                return SweepNetwork(options->sweep);
            });
    sweep->add_option("DATA", run.in, "A network at many frequencies, in the solver's place")
        ->required()
        ->type_name("");
    AddParsed(sweep, "--tolerance", run.tolerance, "The difference of two fits below which it stops", "T",
              [](const std::string& text) {
                  const double tolerance = ParseQuantity(text, "");
                  if (!(tolerance > 0))
                      throw std::invalid_argument("'" + text + "' is not above 0");
                  return tolerance;
              })
        ->required();
    sweep->add_option("--max-basis", run.maxBasis, "The most samples; 50 without it")
        ->type_name("N")
        ->check(CLI::Range(2, 100000));
    sweep->add_option("--passes", run.passes, "Tests in a row that must be passed; 1 without it")
        ->type_name("N")
        ->check(CLI::Range(1, 1000));
    sweep
        ->add_option_function<std::string>(
            "-o,--output",
            [&run](const std::string& name) {
                const auto form = networkfile::FormOfName(name);
                if (!form || *form == networkfile::Form::kTouchstone)
                    throw CLI::ValidationError("--output", "'" + name + "' doesn't end in .sol or .solb");
                run.out = name;
            },
            "A solution with its basis, .sol or .solb")
        ->type_name("OUT");
    sweep->add_flag("--json", options->json, "One object");

    NetPicture& picture = options->picture;
    CLI::App* plot = add("plot", "A picture of networks", "plot fit.sol solver.s2p --entry 21,11 -o fit.svg",
                         [options] { return DrawNetworks(options->picture); });
    plot->add_option("FILE", picture.files, "The networks")->required()->type_name("");
    plot->add_option_function<std::string>(
            "-o,--output",
            [&picture](const std::string& name) {
                if (PictureFormat(name).empty())
                    throw CLI::ValidationError("--output",
                                               "'" + name + "' doesn't end in .svg, .png or .pdf");
                picture.out = name;
            },
            "A file .svg, .png or .pdf")
        ->type_name("OUT")
        ->excludes(plot->add_flag("--terminal", picture.inTerminal,
                                  "Draw with characters on standard output, as without -o"));
    plot->add_option_function<std::string>(
            "--what", [&picture](const std::string& what) { picture.quantity = kQuantities.at(what); },
            "db, mag, phase (degrees), delay (group delay), re, im or smith")
        ->type_name("WHAT")
        ->transform(CLI::IsMember(kQuantities, CLI::ignore_case));
    AddParsed(plot, "--entry", picture.entries, "Rows and columns, such as 11,21 or 12:3", "LIST",
              ParseEntries);
    AddParsed(plot, "--freq", picture.frequencies,
              "In place of the data's own: frequencies, START:STOP:COUNT", "LIST", ParseFrequencies);
    AddKind(plot, *options);
}
