// The six entries in C: what the host registers is kept here, and no exception passes them.
#include "command_line.h"
#include "job.h"

#include <ckt_kernel.h>

#include <atomic>
#include <map>
#include <string>

namespace {

struct Host {
    std::string project;
    ckt_progress_call_back progress = nullptr;
    ckt_error_call_back error = nullptr;
    std::map<std::string, void*> named;
};

Host& host() {
    static Host the_host;
    return the_host;
}

std::atomic<bool> job_runs = false;

// One job at a time: the simulator's state is the process's.
class Turn {
public:
    Turn() : m_mine(!job_runs.exchange(true)) {}
    ~Turn() {
        if (m_mine)
            job_runs = false;
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    explicit operator bool() const { return m_mine; }

private:
    bool m_mine;
};

ckt::Progress::Sink progress_sink() {
    if (!host().progress)
        return {};
    return [call_back = host().progress](double share) { call_back(share); };
}

ckt::Messages::Sink message_sink() {
    if (!host().error)
        return {};
    return [call_back = host().error](ckt::Level level, const std::string& text) {
        call_back(text.c_str(), static_cast<int>(level));
    };
}

int refuse(const char* why) {
    if (host().error)
        host().error(why, CKT_ERROR);
    return CKT_FAILED;
}

} // namespace

extern "C" {

void set_project_path(const char* utf8) {
    host().project = utf8 ? utf8 : "";
}

void set_progress_call_back(ckt_progress_call_back call_back) {
    host().progress = call_back;
}

void set_error_call_back(ckt_error_call_back call_back) {
    host().error = call_back;
}

void set_cosim_call_back(const char* name, void* call_back) {
    if (!name)
        return;
    if (call_back)
        host().named[name] = call_back;
    else
        host().named.erase(name);
}

int analyze(const char* utf8_file) {
    if (!utf8_file || !*utf8_file)
        return refuse("no netlist is named");
    const Turn turn;
    if (!turn)
        return refuse("a job runs already");
    return ckt::run_job({utf8_file, host().project, host().named}, progress_sink(), message_sink());
}

int run_sim(int argc, char** argv) {
    const Turn turn;
    if (!turn)
        return refuse("a job runs already");
    try {
        return ckt::run_command_line(argc, argv, progress_sink(), message_sink());
    } catch (...) {
        return refuse("out of memory");
    }
}
}
