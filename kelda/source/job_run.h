// Runs one job from its start to its end and reports it.
#pragma once

#include "cosim_session.h"
#include "job_report.h"
#include "signal_watch.h"

#include <string>

struct RunRequest {
    std::string circuit;                                // absolute, UTF-8
    std::string project;                                // absolute, UTF-8
    std::string data;                                   // the folder of network data; empty: none
    std::shared_ptr<job::CosimSession> cosim = nullptr; // null where the sources aren't driven
    bool usesOut = true; // something is written to standard output, so that its loss ends the job
};

// Gives the program's exit status. The signals that `signals` watches abort the job, and a second one ends
// the wait for that.
int RunJob(const RunRequest& request, Output& out, Output& err, SignalWatch& signals, JobReport& report);
