// A kernel of one's own for co-simulation: a first-order lag, driven step by step by a client's source.
//
// A job is a file with one line:
//
//   lag STEP END TIME    the time between two samples, the end and the time constant [s]
//
// Source 0 is its input; port 0 gives its output and the output's slope at the end of every step.

#include <kernel/ckt_kernel.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>

namespace {

struct Host {
    ckt_progress_call_back progress = nullptr;
    ckt_error_call_back error = nullptr;
    ckt_cosim_source_call_back source = nullptr; // all three stay null without a client
    ckt_cosim_port_call_back port = nullptr;
    ckt_cosim_port_flush_call_back flush = nullptr;
};
Host g_Host;

int Fail(int code, const std::string& text) {
    if (g_Host.error)
        g_Host.error(text.c_str(), CKT_ERROR);
    return code;
}

} // namespace

void set_project_path(const char*) {} // it writes no results
void set_progress_call_back(ckt_progress_call_back call_back) {
    g_Host.progress = call_back;
}
void set_error_call_back(ckt_error_call_back call_back) {
    g_Host.error = call_back;
}
void set_cosim_call_back(const char* name, void* call_back) {
    const std::string known = name;
    if (known == "SystemCosimSource")
        g_Host.source = reinterpret_cast<ckt_cosim_source_call_back>(call_back);
    else if (known == "SystemCosimPort")
        g_Host.port = reinterpret_cast<ckt_cosim_port_call_back>(call_back);
    else if (known == "SystemCosimPortFlush")
        g_Host.flush = reinterpret_cast<ckt_cosim_port_flush_call_back>(call_back);
}

int analyze(const char* utf8_file) {
    std::ifstream file(utf8_file);
    std::string verb;
    double h = 0, end = 0, tau = 0;
    if (!(file >> verb >> h >> end >> tau) || verb != "lag" || !(h > 0) || !(end >= h) || !(tau > 0))
        return Fail(CKT_BAD_NETLIST, std::string(utf8_file) + ":1: expected \"lag STEP END TIME\"");
    if (!g_Host.source || !g_Host.port || !g_Host.flush)
        return Fail(CKT_ANALYSIS_FAILED, "a co-simulation needs a client");

    const long steps = std::lround(end / h);
    char plan[160];
    std::snprintf(plan, sizeof plan, "co-simulation: %ld steps of %.17g s to %.17g s, 1 source, 1 port",
                  steps, h, static_cast<double>(steps) * h);
    if (g_Host.error)
        g_Host.error(plan, CKT_INFORMATION); // by which a client that drives from a file checks its samples

    const double decay = std::exp(-h / tau);
    double output = 0;
    for (long k = 1; k <= steps; ++k) {
        // The source is a straight line within the step, of which this is the end; the first question of a block waits for it.
        const double time = static_cast<double>(k) * h;
        double input = 0, slope = 0;
        int result = g_Host.source("0", time, &input, &slope);
        output = input - slope * tau + (output - (input - slope * h) + slope * tau) * decay;
        if (result == 0)
            result = g_Host.port("0", time, output, (input - output) / tau);
        if (result == 0)
            result = g_Host.flush(); // the block's last one sends the ports to the client
        if (result != 0)
            return Fail(CKT_ANALYSIS_FAILED,
                        "the client doesn't go on (result " + std::to_string(result) + ")");
        if (g_Host.progress)
            g_Host.progress(static_cast<double>(k) / static_cast<double>(steps));
    }
    return CKT_GOOD;
}

int run_sim(int argc, char** argv) {
    return argc == 2 && analyze(argv[1]) == CKT_GOOD ? 0 : 2;
}
