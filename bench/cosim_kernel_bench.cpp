// What lock step with a client's simulator costs a transient analysis: a circuit of 100 nodes whose source is driven, sample by
// sample, against the same circuit with the samples as a piecewise-linear waveform, in rounds that alternate between
// the two. Once through the kernel library's entries, with a host that has its samples at hand, and once through `kelda run`
// with its engine. A time point is much shorter than a sample, so that both have nearly the same points. Each runs in a
// process of its own, whose processor time stays comparable on a busy machine.

#include "program_run.h"

#include <kernel/ckt_kernel.h>
#include <testtools/temporary_folder.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int samples = 1000;
constexpr double step = 20e-9; // between two samples [s]
constexpr int stages = 50;     // of two nodes each

double sample(int k) {
    return 5 * std::sin(2 * M_PI * 500e3 * step * k);
}

std::string netlist(bool driven) {
    std::string text = "line of rectifiers\n.model d d(is=1n rs=0.1 cjo=10p tt=5n)\nVin n0 0 ";
    if (driven) {
        text += "0\n*% cosim source 0 Vin\n";
        text += fmt::format("*% cosim step {}\n*% cosim port 0 v(n{}) i(Vin)\n", step, stages);
    } else {
        text += fmt::format("pwl(0 {}", sample(1));
        for (int k = 1; k <= samples; ++k)
            text += fmt::format("\n+ {} {}", k * step, sample(k));
        text += ")\n";
    }
    for (int i = 0; i < stages; ++i)
        text += fmt::format("R{0} n{0} m{0} 10\nL{0} m{0} n{1} 100n\nC{0} n{1} 0 100p\nD{0} n{1} n{2} d\n", i,
                            i + 1, i / 2);
    return text + fmt::format(".tran 1n {} 0 1n\n.save v(n{})\n.end\n", samples * step, stages);
}

// A host that plays the samples.
int step_index = 0;

int give_source(const char*, double time, double* value, double* slope) {
    const double begin = sample(step_index == 0 ? 1 : step_index);
    *slope = (sample(step_index + 1) - begin) / step;
    *value = *slope * (time - step_index * step) + begin;
    return 0;
}

int take_port(const char*, double, double, double) {
    return 0;
}

int flush() {
    ++step_index;
    return 0;
}

template <class Function>
void* address(Function* function) {
    return reinterpret_cast<void*>(function);
}

int run_library(const char* circuit) {
    void* library = ::dlopen(BENCH_KERNEL, RTLD_NOW | RTLD_LOCAL);
    if (!library)
        return 1;
    const auto set =
        reinterpret_cast<decltype(&set_cosim_call_back)>(::dlsym(library, "set_cosim_call_back"));
    const auto entry = reinterpret_cast<decltype(&analyze)>(::dlsym(library, "analyze"));
    set("SystemCosimSource", address(give_source));
    set("SystemCosimPort", address(take_port));
    set("SystemCosimPortFlush", address(flush));
    return entry(circuit) == CKT_GOOD ? 0 : 1;
}

struct Contender {
    const char* name;
    std::vector<std::string> words;
    const char* results; // a CSV file, a line for each point
    std::vector<double> times = {};
    long points = 0;
};

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string_view(argv[1]) == "--library")
        return run_library(argv[2]);
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;
    const testtools::TemporaryFolder folder("cosim_kernel_bench");
    const std::string driven = folder.File("driven.cir"), waveform = folder.File("waveform.cir"),
                      in = folder.File("in.csv");
    std::ofstream(driven) << netlist(true);
    std::ofstream(waveform) << netlist(false);
    std::ofstream in_file(in);
    for (int k = 1; k <= samples; ++k)
        in_file << fmt::format("{},{}\n", k * step, sample(k));
    in_file.close();

    Contender contenders[] = {
        {"kernel, waveform", {"/proc/self/exe", "--library", waveform}, "waveform.tran.csv"},
        {"kernel, driven", {"/proc/self/exe", "--library", driven}, "driven.tran.csv"},
        {"kelda run, waveform", {BENCH_KELDA, "run", waveform}, "waveform.tran.csv"},
        {"kelda run, driven",
         {BENCH_KELDA, "run", driven, "--cosim-in", in, "--cosim-out", folder.File("out.csv")},
         "driven.tran.csv"},
        {"the same, block of 1",
         {BENCH_KELDA, "run", driven, "--cosim-in", in, "--cosim-out", folder.File("out.csv"),
          "--cosim-block", "1"},
         "driven.tran.csv"}};
    for (int round = 0; round < rounds; ++round)
        for (Contender& contender : contenders) {
            contender.times.push_back(RunProgram(contender.words).processor);
            std::ifstream file(folder.File(contender.results));
            contender.points = std::count(std::istreambuf_iterator<char>(file), {}, '\n') - 1;
        }
    fmt::print("{} samples, processor time of {} rounds and its ratio to that of the waveform\n"
               "                        best     median   ratio   points  ratio a point\n",
               samples, rounds);
    for (const Contender& contender : contenders) {
        const Contender& base = contenders[&contender - contenders < 2 ? 0 : 2];
        const double ratio = Median(contender.times) / Median(base.times);
        fmt::print("{:<20} {:6.0f} ms {:7.0f} ms {:7.3f} {:8} {:10.3f}\n", contender.name,
                   Best(contender.times), Median(contender.times), ratio, contender.points,
                   ratio * static_cast<double>(base.points) / static_cast<double>(contender.points));
    }
}
