// What a job needs in its thread.
#pragma once

#include <engine/job_control.h>

#include <platform/marshal.h>
#include <stringutils/astring.h>

#include <memory>

struct CWorkerThread {
    std::unique_ptr<platform::InterfaceStream> progress;
    std::unique_ptr<platform::InterfaceStream> solution; // null when the client gave none
    AString filename;
    AString projectpath;
    std::shared_ptr<JobControl> control;
};

// The worker thread of one job: waits for the gate, takes the client's interfaces, runs the analysis and
// opens the gate again. The thread's exit code: 0, or 1 when an interface couldn't be taken.
int RunWorker(std::unique_ptr<CWorkerThread> job);
