// What the kernel library and the way through the engine add to the simulator's own time: a transient analysis
// through the library's entries and through `kelda run`, each against `ngspice -b -r` of the same netlist, in
// rounds that alternate between them. All give the same vectors; the library writes a CSV file besides.

#include <kernel/ckt_kernel.h>

#include <fmt/format.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

// A line of coils and capacitors with diodes across it: a few dozen nodes.
std::string netlist(int stages) {
    std::string text = "line of rectifiers\n.model d d(is=1n rs=0.1 cjo=10p tt=5n)\nV1 n0 0 sin(0 10 1meg)\n";
    for (int i = 0; i < stages; ++i)
        text += fmt::format("R{0} n{0} m{0} 10\nL{0} m{0} n{1} 100n\nC{0} n{1} 0 100p\nD{0} n{1} n{2} d\n", i,
                            i + 1, i / 2);
    text += fmt::format(".tran 1n 200u 0 1n\n.save v(n1) v(n{})\n.end\n", stages);
    return text;
}

void run_program(std::vector<std::string> words) {
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = -1;
    if (posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ) != 0 ||
        waitpid(child, &status, 0) != child || status != 0) {
        fmt::print(stderr, "{} failed with status {}\n", words[0], status);
        std::exit(1);
    }
    posix_spawn_file_actions_destroy(&actions);
}

struct Contender {
    const char* name;
    void (*run)(const fs::path& circuit);
    std::vector<double> milliseconds;
};

void through_simulator(const fs::path& circuit) {
    run_program({"ngspice", "-b", "-r", circuit.parent_path() / "peer.raw", circuit});
}

void through_library(const fs::path& circuit) {
    void* library = ::dlopen(BENCH_KERNEL, RTLD_NOW | RTLD_LOCAL);
    const auto entry = library ? reinterpret_cast<decltype(&analyze)>(::dlsym(library, "analyze")) : nullptr;
    if (!entry || entry(circuit.c_str()) != CKT_GOOD) {
        fmt::print(stderr, "the kernel library failed\n");
        std::exit(1);
    }
    ::dlclose(library);
}

void through_engine(const fs::path& circuit) {
    run_program({BENCH_KELDA, "run", circuit});
}

double median(std::vector<double> values) {
    std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;
    std::string folder = (fs::temp_directory_path() / "kernel_bench_XXXXXX").string();
    if (!::mkdtemp(folder.data()))
        return 1;
    const fs::path circuit = fs::path(folder) / "line.cir";
    std::ofstream(circuit) << netlist(12);

    Contender contenders[] = {{"ngspice -b -r", through_simulator, {}},
                              {"kernel library", through_library, {}},
                              {"kelda run", through_engine, {}}};
    for (int round = 0; round < rounds; ++round)
        for (Contender& contender : contenders) {
            const Clock::time_point start = Clock::now();
            contender.run(circuit);
            contender.milliseconds.push_back(
                std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        }
    fmt::print("A transient analysis of 200,000 points, medians of {} rounds\n", rounds);
    const double base = median(contenders[0].milliseconds);
    for (const Contender& contender : contenders) {
        const double time = median(contender.milliseconds);
        fmt::print("{:<16} {:8.0f} ms   {:.3f} of ngspice\n", contender.name, time, time / base);
    }
    fs::remove_all(folder);
}
