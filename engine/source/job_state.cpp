#include <engine/job_state.h>

#include <engine/job_control.h>

JobState& ProcessJobState() {
    // Never destroyed: a worker may still stand at the gate when the process leaves.
    static JobState& state = *new JobState;
    return state;
}

namespace {

bool Aborted(const JobState& state) {
    return state.control && state.control->Aborted();
}

} // namespace

IKeldaProgressInterface* LiveProgress() {
    const JobState& state = ProcessJobState();
    return Aborted(state) ? nullptr : state.progress;
}

IKeldaSolutionInterface* LiveSolution() {
    const JobState& state = ProcessJobState();
    return Aborted(state) ? nullptr : state.solution;
}
