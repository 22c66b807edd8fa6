#include <engine/kelda_analysis.h>

#include <engine/job_messages.h>
#include <engine/job_state.h>

#include <cstdio>

namespace {

// The running job may be muted while its thread is still in the kernel: nothing of it reaches the client from
// then on.
IKeldaProgressInterface* LiveProgress() {
    const JobState& state = ProcessJobState();
    return state.control && state.control->Aborted() ? nullptr : state.progress;
}

// The kernel's frames must never see an exception, so a callback ends here whatever happens.
extern "C" int ProgressCallBack(double progress_val) noexcept {
    try {
        IKeldaProgressInterface* progress = LiveProgress();
        return progress ? progress->ProgressUpdate(progress_val) : S_OK;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

extern "C" void ErrorCallBack(const char* text, int code) noexcept {
    if (!text)
        return;
    try {
        if (!ProcessJobState().progress) {
            std::puts(text);
            std::fflush(stdout);
        } else if (IKeldaProgressInterface* progress = LiveProgress()) {
            PostText(*progress, SeverityOfKernelCode(code), AString(text));
        }
    } catch (...) {
        std::fputs(text, stderr);
    }
}

} // namespace

CKeldaAnalysis::CKeldaAnalysis(IKeldaProgressInterface* pProgress, IKeldaSolutionInterface* pSolution,
                               JobControl* control)
    : m_Control(control) {
    JobState& state = ProcessJobState();
    m_Bound = LoadKernel(m_Kernel, state.kernel, m_BindError);
    if (Succeeded(m_Bound))
        state.kernel.set_progress_call_back(ProgressCallBack);
    m_pProgress = pProgress;
    state.progress = pProgress;
    state.solution = pSolution;
    state.control = control;
    if (Succeeded(m_Bound))
        state.kernel.set_error_call_back(ErrorCallBack);
}

CKeldaAnalysis::~CKeldaAnalysis() = default;

HRESULT CKeldaAnalysis::Analyze(const AString& filename, const AString& projectpath) {
    const JobState& state = ProcessJobState();
    std::int32_t result = m_Bound;
    try {
        if (Succeeded(m_Bound)) {
            state.kernel.set_project_path(projectpath.ToNarrow(1));
            result = state.kernel.analyze(filename.ToNarrow(1));
        } else if (m_pProgress) {
            AString error;
            error.Assign(1, m_BindError.data(), static_cast<int>(m_BindError.size()));
            PostText(*m_pProgress, kSeverityError, error);
        }
    } catch (...) {
        // Short of memory, or a kernel that throws: the job has failed, and its client is told.
        result = E_UNEXPECTED;
    }
    if (!m_pProgress)
        return S_OK;
    if (m_Control && !m_Control->Finish())
        return S_OK;
    HRESULT reported = m_pProgress->AnalysisDone(result);
    return Failed(reported) ? reported : S_OK;
}

HRESULT CKeldaAnalysis::AnalyzeCommand(int argc, char** argv) {
    if (Failed(m_Bound)) {
        std::fprintf(stderr, "tarvok: %s\n", m_BindError.c_str());
        return m_Bound;
    }
    ProcessJobState().kernel.run_sim(argc, argv);
    return S_OK;
}
