#include <engine/worker_thread.h>

#include <engine/job_state.h>
#include <engine/kelda_analysis.h>

#include <optional>

namespace {

template <class Interface>
HRESULT Take(std::unique_ptr<platform::InterfaceStream> stream, platform::InterfacePtr<Interface>& out) {
    void* object = nullptr;
    HRESULT result = platform::CoGetInterfaceAndReleaseStream(std::move(stream), Interface::kIid, &object);
    out = platform::InterfacePtr<Interface>::Adopt(static_cast<Interface*>(object));
    return result;
}

// The job itself, between the two sides of the gate.
int RunJob(CWorkerThread& job, std::optional<CKeldaAnalysis>& analysis) {
    platform::InterfacePtr<IKeldaProgressInterface> progress;
    platform::InterfacePtr<IKeldaSolutionInterface> solution;
    if (Failed(Take(std::move(job.progress), progress)))
        return 1;
    if (job.solution && Failed(Take(std::move(job.solution), solution)))
        return 1;
    analysis.emplace(progress.Get(), solution.Get(), job.control.get());
    analysis->Analyze(job.filename, job.projectpath);
    JobState& state = ProcessJobState();
    state.progress = nullptr;
    state.solution = nullptr;
    state.control = nullptr;
    return 0;
}

} // namespace

int RunWorker(std::unique_ptr<CWorkerThread> job) {
    std::shared_ptr<JobControl> control = job->control;
    if (!control->EnterGate())
        return 0;
    // Outlives the gate: the kernel is unloaded when the next job may already run.
    std::optional<CKeldaAnalysis> analysis;
    int exitCode = RunJob(*job, analysis);
    job.reset();
    // A killed job keeps the gate: its process is about to end, and no other job may start in it.
    control->Finish();
    if (!control->Aborted())
        control->LeaveGate();
    return exitCode;
}
