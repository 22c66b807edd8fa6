#include <engine/job_state.h>

JobState& ProcessJobState() {
    // Never destroyed: a worker may still stand at the gate when the process leaves.
    static JobState& state = *new JobState;
    return state;
}
