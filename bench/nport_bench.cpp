// What an N-port costs a sweep over frequency: a line of 500 sections with a 4-port coupler in its middle at 1,001 frequencies,
// against the same circuit with the coupler's own elements in place of the N-port, in rounds that alternate between the two.
// Once with one vector kept, where the sweeps alone count, and once with all, which are written to files. The host has its
// answer at hand. Processor time of this process, which stays comparable on a busy machine.

#include "measure.h"

#include <kernel/ckt_kernel.h>
#include <testtools/temporary_folder.h>

#include <fmt/format.h>

#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <numbers>
#include <string>
#include <vector>

namespace {

using Complex = std::complex<double>;

constexpr int sections = 500, ports = 4;

// A ring of coils of 5.6 nH and 8 nH, each with 0.5 ohm, and a capacitor of 7.6 pF at each corner.
std::string netlist(bool nport, bool all) {
    std::string text = "line with a coupler\nV1 in 0 ac 1\nRs in n0 50\n";
    const int middle = sections / 2;
    for (int i = 0; i < sections; ++i) {
        text += fmt::format("R{0} {1}{0} m{0} 0.1\nL{0} m{0} n{2} 2.5n\nC{0} n{2} 0 1p\n", i,
                            i == middle ? "k" : "n", i + 1);
    }
    text += fmt::format("Rl n{} 0 50\nRx p3 0 50\nRy p4 0 50\n", sections);
    const std::string in = fmt::format("n{}", middle), out = fmt::format("k{}", middle);
    if (nport)
        text += fmt::format("*% nport X1 {} 0 {} 0 p3 0 p4 0 design=coupler\n", in, out);
    else
        text += fmt::format(
            "Ra {0} ma 0.5\nLa ma {1} 5.6n\nRb {1} mb 0.5\nLb mb p3 8n\nRc p3 mc 0.5\nLc mc p4 5.6n\n"
            "Rd p4 md 0.5\nLd md {0} 8n\nCa {0} 0 7.6p\nCb {1} 0 7.6p\nCc p3 0 7.6p\nCd p4 0 7.6p\n",
            in, out);
    text += ".ac lin 1001 10meg 2.01g\n";
    return text + (all ? "" : fmt::format(".save v(n{})\n", sections)) + ".end\n";
}

std::vector<double> answer;

// (1 - 50 Y) (1 + 50 Y)^-1. Both have the ring's symmetry, so that they have its eigenvectors: the signs of the four corners.
void prepare(const double* frequencies, int count) {
    constexpr double signs[ports][ports] = {{1, 1, 1, 1}, {1, 1, -1, -1}, {1, -1, 1, -1}, {1, -1, -1, 1}};
    answer.clear();
    for (int f = 0; f < count; ++f) {
        const double w = 2 * std::numbers::pi * frequencies[f];
        const Complex along = 1.0 / Complex(0.5, w * 5.6e-9), across = 1.0 / Complex(0.5, w * 8e-9);
        answer.push_back(frequencies[f]);
        for (int row = 0; row < ports; ++row)
            for (int column = 0; column < ports; ++column) {
                Complex s = 0;
                for (const auto& sign : signs) {
                    const Complex y = Complex(0, w * 7.6e-12) + along * (1 - sign[0] * sign[1]) +
                                      across * (1 - sign[0] * sign[3]);
                    s += (1.0 - 50.0 * y) / (1.0 + 50.0 * y) * (sign[row] * sign[column] / ports);
                }
                answer.insert(answer.end(), {s.real(), s.imag()});
            }
    }
}

int answer_request(const char*, const char*, const char*, const double* frequencies, int frequency_count,
                   double* output, int, int* output_count) {
    if (answer.empty())
        prepare(frequencies, frequency_count);
    std::ranges::copy(answer, output);
    *output_count = static_cast<int>(answer.size());
    return 0;
}

double processor_time() { // [ms]
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    double time = 0;
    for (const timeval& part : {usage.ru_utime, usage.ru_stime})
        time += static_cast<double>(part.tv_sec) * 1e3 + static_cast<double>(part.tv_usec) * 1e-3;
    return time;
}

struct Contender {
    std::string circuit;
    std::vector<double> times = {};
};

} // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;
    void* library = ::dlopen(BENCH_KERNEL, RTLD_NOW | RTLD_LOCAL);
    if (!library)
        return 1;
    const auto run = reinterpret_cast<decltype(&analyze)>(::dlsym(library, "analyze"));
    reinterpret_cast<decltype(&set_cosim_call_back)>(::dlsym(library, "set_cosim_call_back"))(
        "FieldSolver", reinterpret_cast<void*>(&answer_request));
    const testtools::TemporaryFolder folder("nport_bench");
    fmt::print("{} sections, {} ports, 1001 frequencies, processor time of {} rounds\n"
               "                        elements     N-port   ratio of best  of medians\n",
               sections, ports, rounds);
    for (const bool all : {false, true}) {
        Contender contenders[] = {{folder.File("elements.cir")}, {folder.File("nport.cir")}};
        for (int which = 0; which < 2; ++which)
            std::ofstream(contenders[which].circuit) << netlist(which == 1, all);
        for (int round = 0; round < rounds; ++round)
            for (Contender& contender : contenders) {
                const double start = processor_time();
                if (run(contender.circuit.c_str()) != CKT_GOOD) {
                    fmt::print(stderr, "{} failed\n", contender.circuit);
                    return 1;
                }
                contender.times.push_back(processor_time() - start);
            }
        const double best[] = {*std::ranges::min_element(contenders[0].times),
                               *std::ranges::min_element(contenders[1].times)};
        fmt::print("{:<20} {:8.0f} ms {:7.0f} ms {:12.2f} {:12.2f}\n",
                   all ? "all vectors kept" : "one vector kept", best[0], best[1], best[1] / best[0],
                   Median(contenders[1].times) / Median(contenders[0].times));
    }
}
