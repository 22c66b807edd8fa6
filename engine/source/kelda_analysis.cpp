#include <engine/kelda_analysis.h>

#include <engine/cosim_bridge.h>
#include <engine/field_solver_bridge.h>
#include <engine/job_messages.h>
#include <engine/job_state.h>
#include <engine/message_manager_slot.h>

#include <cstdio>

namespace {

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
            PostKernelText(*progress, code, text);
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
    if (Succeeded(m_Bound) && pProgress)
        RegisterCosimCallBacks(state.kernel.set_cosim_call_back);
    if (Succeeded(m_Bound) && pSolution)
        RegisterFieldSolverCallBack(state.kernel.set_cosim_call_back);
    state.solution = pSolution;
    state.control = control;
    if (Succeeded(m_Bound))
        state.kernel.set_error_call_back(ErrorCallBack);
    SetMessageManager(this);
}

CKeldaAnalysis::~CKeldaAnalysis() {
    SetMessageManager(nullptr);
}

IKeldaProgressInterface* CKeldaAnalysis::MessageClient() const {
    return m_Control && m_Control->Aborted() ? nullptr : m_pProgress;
}

std::int32_t CKeldaAnalysis::RunKernel(const AString& filename, const AString& projectpath) const {
    try {
        if (Failed(m_Bound)) {
            AString error;
            error.Assign(1, m_BindError.data(), static_cast<int>(m_BindError.size()));
            PostText(kSeverityError, error);
            return m_Bound;
        }
        const KernelEntries& kernel = ProcessJobState().kernel;
        kernel.set_project_path(projectpath.ToNarrow(1));
        return kernel.analyze(filename.ToNarrow(1));
    } catch (...) {
        // Short of memory, or a kernel that throws: the job has failed, and its client is told.
        return E_UNEXPECTED;
    }
}

HRESULT CKeldaAnalysis::Analyze(const AString& filename, const AString& projectpath) {
    AString started;
    started.Format(u"Analyzing...%s", filename.c_str());
    PostText(kSeverityInformation, started);
    std::int32_t result = RunKernel(filename, projectpath);
    PostText(kSeverityInformation, u"Analyzing done....");
    if (!m_pProgress)
        return S_OK;
    result = CloseCosim(result);
    if (m_Control && !m_Control->Finish())
        return S_OK;
    HRESULT reported = m_pProgress->AnalysisDone(result);
    if (Failed(reported)) {
        PostFailedCall(reported);
        return reported;
    }
    return S_OK;
}

// Ends the job's part in the exchange of blocks, and gives the job's result. The bridge is back at its start before the client
// hears of the end, for the client may deliver the next job's first block from then on.
std::int32_t CKeldaAnalysis::CloseCosim(std::int32_t result) const {
    CosimBridge& bridge = ProcessCosimBridge();
    if (result == 0 && bridge.Failed())
        result = E_UNEXPECTED;
    if (result != 0 && MessageClient()) {
        try {
            bridge.SendClosingRecord(*m_pProgress);
        } catch (...) {
            // AnalysisDone is the end for a client that waits, too.
        }
    }
    bridge.Close(m_Control ? m_Control->Procid() : 0, result != 0);
    return result;
}

HRESULT CKeldaAnalysis::AnalyzeCommand(int argc, char** argv) {
    if (Failed(m_Bound)) {
        std::fprintf(stderr, "tarvok: %s\n", m_BindError.c_str());
        return m_Bound;
    }
    ProcessJobState().kernel.run_sim(argc, argv);
    return S_OK;
}
