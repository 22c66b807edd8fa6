#include <engine/job_state.h>

#include <engine/job_control.h>

JobState& ProcessJobState() {
    // Never destroyed: a worker may still stand at the gate when the process leaves.
    static JobState& state = *new JobState;
    return state;
}

IKeldaProgressInterface* LiveProgress() {
    const JobState& state = ProcessJobState();
    return state.control && state.control->Aborted() ? nullptr : state.progress;
}
