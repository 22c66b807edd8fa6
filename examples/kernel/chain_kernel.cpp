// A kernel of one's own: chains two-ports, whose data comes from the client, and writes what the whole of them passes and reflects.
//
// A job is a file of lines:
//
//   sweep START STOP COUNT    the frequencies [Hz], once and first
//   stage NAME DESIGN         the next two-port of the chain
//
// The result is NAME.csv, where NAME is the file's name without its extension.

#include <kernel/ckt_kernel.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Host {
    std::string project;
    ckt_progress_call_back progress = nullptr;
    ckt_error_call_back error = nullptr;
    ckt_field_solver_call_back field_solver = nullptr; // stays null where the client has no data at all
};
Host g_Host;

struct Failure {
    int code;
    std::string text;
};

struct TwoPort {
    std::complex<double> s11 = 0, s12 = 1, s21 = 1, s22 = 0; // at first an ideal through
};

TwoPort Chain(const TwoPort& a, const TwoPort& b) {
    const auto d = 1.0 - a.s22 * b.s11;
    return {a.s11 + a.s12 * b.s11 * a.s21 / d, a.s12 * b.s12 / d, a.s21 * b.s21 / d,
            b.s22 + b.s21 * a.s22 * b.s12 / d};
}

// The data of one stage: the matrices at 50 ohm at all frequencies, by one question.
std::vector<TwoPort> Ask(const std::string& name, const std::string& design,
                         const std::vector<double>& frequencies) {
    const std::string what = "stage \"" + name + "\" (design \"" + design + "\"): ";
    if (!g_Host.field_solver)
        throw Failure{CKT_NO_DATA, what + "there is no client that has data"};
    const int n = static_cast<int>(frequencies.size());
    std::vector<double> record(frequencies.size() * 9); // a frequency and the four pairs of a two-port
    int count = 0;
    const int result = g_Host.field_solver(design.c_str(), name.c_str(), "", frequencies.data(), n,
                                           record.data(), static_cast<int>(record.size()), &count);
    // Result 2 says that the records are longer: more ports than two.
    if (result == 2 || (result == 0 && count != static_cast<int>(record.size())))
        throw Failure{CKT_NO_DATA, what + "the data isn't that of a two-port"};
    if (result != 0)
        throw Failure{CKT_NO_DATA, what + "no data (result " + std::to_string(result) + ")"};
    std::vector<TwoPort> data;
    for (const double* at = record.data(); at != record.data() + record.size(); at += 9)
        data.push_back({{at[1], at[2]}, {at[3], at[4]}, {at[5], at[6]}, {at[7], at[8]}});
    return data;
}

struct Stage {
    std::string name, design;
};
struct Job {
    std::vector<double> frequencies;
    std::vector<Stage> stages;
};

Job Read(const std::string& file) {
    std::ifstream lines(file);
    if (!lines)
        throw Failure{CKT_NO_NETLIST, file + ": can't be read"};
    Job job;
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        std::istringstream words(line);
        std::string verb, rest;
        double start = 0, stop = 0;
        int count = 0;
        Stage stage;
        if (!(words >> verb) || verb.starts_with('#'))
            continue;
        if (verb == "sweep" && job.frequencies.empty() && words >> start >> stop >> count && start >= 0 &&
            stop > start && count > 1 && count <= 1'000'000 && !(words >> rest)) {
            for (int k = 0; k < count; ++k)
                job.frequencies.push_back(start + (stop - start) * k / (count - 1));
        } else if (verb == "stage" && !job.frequencies.empty() && words >> stage.name >> stage.design &&
                   !(words >> rest)) {
            job.stages.push_back(stage);
        } else {
            throw Failure{CKT_BAD_NETLIST,
                          file + ":" + std::to_string(number) +
                              ": expected \"sweep START STOP COUNT\", then lines \"stage NAME "
                              "DESIGN\", found \"" +
                              line + "\""};
        }
    }
    if (job.stages.empty())
        throw Failure{CKT_NO_ANALYSIS, file + ": no stages"};
    return job;
}

void Tell(const std::string& text, int code) {
    if (g_Host.error)
        g_Host.error(text.c_str(), code);
}

void Analyze(const std::string& file) {
    const Job job = Read(file);
    std::vector<TwoPort> chain(job.frequencies.size());
    for (std::size_t i = 0; i < job.stages.size(); ++i) {
        const auto data = Ask(job.stages[i].name, job.stages[i].design, job.frequencies);
        for (std::size_t k = 0; k < chain.size(); ++k)
            chain[k] = Chain(chain[k], data[k]);
        if (g_Host.progress)
            g_Host.progress(static_cast<double>(i + 1) / static_cast<double>(job.stages.size()));
    }

    const fs::path folder = g_Host.project.empty() ? fs::path(file).parent_path() : fs::path(g_Host.project);
    const fs::path result = folder / fs::path(file).filename().replace_extension(".csv");
    std::ofstream out(result);
    out.precision(12);
    out << "frequency [Hz],S11 [dB],S21 [dB]\n";
    for (std::size_t k = 0; k < chain.size(); ++k)
        out << job.frequencies[k] << ',' << 20 * std::log10(std::abs(chain[k].s11)) << ','
            << 20 * std::log10(std::abs(chain[k].s21)) << '\n';
    if (!out.flush())
        throw Failure{CKT_NOT_WRITTEN, "can't write " + result.string()};
    Tell("result file: " + result.string(), CKT_INFORMATION); // so `kelda run` lists it
}

} // namespace

// The entries. Nothing is thrown out of them: the engine would see it as a failed job without a reason.

void set_project_path(const char* utf8) {
    g_Host.project = utf8 ? utf8 : "";
}
void set_progress_call_back(ckt_progress_call_back call_back) {
    g_Host.progress = call_back;
}
void set_error_call_back(ckt_error_call_back call_back) {
    g_Host.error = call_back;
}
void set_cosim_call_back(const char* name, void* call_back) {
    if (std::string(name) == "FieldSolver")
        g_Host.field_solver = reinterpret_cast<ckt_field_solver_call_back>(call_back);
}

int analyze(const char* utf8_file) {
    try {
        Analyze(utf8_file);
        return CKT_GOOD;
    } catch (const Failure& failure) {
        Tell(failure.text, CKT_ERROR);
        return failure.code;
    } catch (const std::exception& error) {
        Tell(error.what(), CKT_ERROR);
        return CKT_FAILED;
    }
}

int run_sim(int argc, char** argv) {
    if (argc != 2) {
        Tell("Usage: tarvok JOB", CKT_ERROR);
        return 2;
    }
    return analyze(argv[1]) == CKT_GOOD ? 0 : 1;
}
