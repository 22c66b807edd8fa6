// What the kernel library and the way through the engine add to the simulator's own time: a transient analysis
// through the library's entries and through `kelda run`, each against `ngspice -b -r` of the same netlist, in
// rounds that alternate between them. All give the same vectors; the library writes a CSV file besides. Each runs in a
// process of its own, whose processor time stays comparable on a busy machine, where the time by the clock doesn't.

#include "program_run.h"

#include <kernel/ckt_kernel.h>
#include <testtools/temporary_folder.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

// A line of coils and capacitors with diodes across it: a few dozen nodes.
std::string netlist(int stages) {
    std::string text = "line of rectifiers\n.model d d(is=1n rs=0.1 cjo=10p tt=5n)\nV1 n0 0 sin(0 10 1meg)\n";
    for (int i = 0; i < stages; ++i)
        text += fmt::format("R{0} n{0} m{0} 10\nL{0} m{0} n{1} 100n\nC{0} n{1} 0 100p\nD{0} n{1} n{2} d\n", i,
                            i + 1, i / 2);
    text += fmt::format(".tran 1n 100u 0 1n\n.save v(n1) v(n{})\n.end\n", stages);
    return text;
}

// The library in a process of its own: this program under another option.
int run_library(const char* circuit) {
    void* library = ::dlopen(BENCH_KERNEL, RTLD_NOW | RTLD_LOCAL);
    const auto entry = library ? reinterpret_cast<decltype(&analyze)>(::dlsym(library, "analyze")) : nullptr;
    return entry && entry(circuit) == CKT_GOOD ? 0 : 1;
}

struct Contender {
    const char* name;
    std::vector<std::string> words;
    std::vector<double> clock, processor;
};

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string_view(argv[1]) == "--library")
        return run_library(argv[2]);
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;
    const testtools::TemporaryFolder folder("kernel_bench");
    const std::string circuit = folder.File("line.cir");
    std::ofstream(circuit) << netlist(12);

    Contender contenders[] = {
        {"ngspice -b -r", {"ngspice", "-b", "-r", folder.File("peer.raw"), circuit}, {}, {}},
        {"kernel library", {"/proc/self/exe", "--library", circuit}, {}, {}},
        {"kelda run", {BENCH_KELDA, "run", circuit}, {}, {}}};
    for (int round = 0; round < rounds; ++round)
        for (Contender& contender : contenders) {
            const ProgramTimes times = RunProgram(contender.words);
            contender.clock.push_back(times.clock);
            contender.processor.push_back(times.processor);
        }
    fmt::print("A transient analysis of 100,000 points, medians of {} rounds, and their ratio to ngspice's\n"
               "                     by the clock          of processor time\n",
               rounds);
    const double clock = Median(contenders[0].clock), processor = Median(contenders[0].processor);
    for (const Contender& contender : contenders)
        fmt::print("{:<16} {:8.0f} ms {:7.3f} {:10.0f} ms {:7.3f}\n", contender.name, Median(contender.clock),
                   Median(contender.clock) / clock, Median(contender.processor),
                   Median(contender.processor) / processor);
}
