// What the kernel library and the way through the engine add to the simulator's own time: a transient analysis
// through the library's entries and through `kelda run`, each against `ngspice -b -r` of the same netlist, in
// rounds that alternate between them. All give the same vectors; the library writes a CSV file besides. Each runs in a
// process of its own, whose processor time stays comparable on a busy machine, where the time by the clock doesn't.

#include <kernel/ckt_kernel.h>

#include <fmt/format.h>

#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
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
#include <string_view>
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
    text += fmt::format(".tran 1n 100u 0 1n\n.save v(n1) v(n{})\n.end\n", stages);
    return text;
}

struct Times {
    double clock = 0, processor = 0; // milliseconds
};

// Runs a program and all that it starts to their end.
Times run_program(std::vector<std::string> words) {
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
    Times times;
    const Clock::time_point start = Clock::now();
    pid_t child = 0;
    bool good = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    rusage usage{};
    while (good) {
        const pid_t ended = wait4(-1, &status, 0, &usage);
        if (ended < 0)
            break;
        if (ended == child) {
            times.clock = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
            good = status == 0;
        }
        for (const timeval& time : {usage.ru_utime, usage.ru_stime})
            times.processor +=
                static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) * 1e-3;
    }
    if (!good) {
        fmt::print(stderr, "{} failed with status {}\n", words[0], status);
        std::exit(1);
    }
    return times;
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

double median(std::vector<double> values) {
    std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string_view(argv[1]) == "--library")
        return run_library(argv[2]);
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;
    ::prctl(PR_SET_CHILD_SUBREAPER, 1); // an engine that outlives its client is waited for here
    std::string folder = (fs::temp_directory_path() / "kernel_bench_XXXXXX").string();
    if (!::mkdtemp(folder.data()))
        return 1;
    const std::string circuit = folder + "/line.cir";
    std::ofstream(circuit) << netlist(12);

    Contender contenders[] = {
        {"ngspice -b -r", {"ngspice", "-b", "-r", folder + "/peer.raw", circuit}, {}, {}},
        {"kernel library", {"/proc/self/exe", "--library", circuit}, {}, {}},
        {"kelda run", {BENCH_KELDA, "run", circuit}, {}, {}}};
    for (int round = 0; round < rounds; ++round)
        for (Contender& contender : contenders) {
            const Times times = run_program(contender.words);
            contender.clock.push_back(times.clock);
            contender.processor.push_back(times.processor);
        }
    fmt::print("A transient analysis of 100,000 points, medians of {} rounds, and their ratio to ngspice's\n"
               "                     by the clock          of processor time\n",
               rounds);
    const double clock = median(contenders[0].clock), processor = median(contenders[0].processor);
    for (const Contender& contender : contenders)
        fmt::print("{:<16} {:8.0f} ms {:7.3f} {:10.0f} ms {:7.3f}\n", contender.name, median(contender.clock),
                   median(contender.clock) / clock, median(contender.processor),
                   median(contender.processor) / processor);
    fs::remove_all(folder);
}
