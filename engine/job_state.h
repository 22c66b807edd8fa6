// The state that all jobs of the process share. Jobs run strictly one after the other, so one instance
// serves; whoever writes it owns the gate, and the kernel's callbacks read it.
#pragma once

#include <engine/job_gate.h>
#include <engine/kernel_library.h>

#include <keldasimenginelib/keldasimenginelib.h>

class JobControl;

struct JobState {
    JobGate gate;
    KernelEntries kernel;
    IKeldaProgressInterface* progress = nullptr; // of the running job, null if it has none
    IKeldaSolutionInterface* solution = nullptr; // likewise
    const JobControl* control = nullptr;         // of the running job, null on the command-line road
};

JobState& ProcessJobState();

// The running job's client. Null too for a job that has been aborted: it may be muted while its thread is still in the
// kernel, and nothing of it reaches the client from then on.
IKeldaProgressInterface* LiveProgress();

// The same of the one that knows the components given by network data.
IKeldaSolutionInterface* LiveSolution();
