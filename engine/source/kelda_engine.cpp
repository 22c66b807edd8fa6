#include <engine/kelda_engine.h>

#include <engine/cosim_bridge.h>
#include <engine/job_messages.h>
#include <engine/job_state.h>
#include <engine/message_manager_slot.h>
#include <engine/worker_thread.h>

#include <limits>

CKeldaEngine::CKeldaEngine(Services services) : m_Services(std::move(services)) {}

CKeldaEngine::~CKeldaEngine() {
    ProcessJobState().gate.WaitUntilEmpty();
}

HRESULT CKeldaEngine::QueryInterface(const IID& iid, void** object) {
    if (!object)
        return E_POINTER;
    bool known = iid == IKeldaEngine::kIid || iid == IDispatch::kIid || iid == IUnknown::kIid;
    *object = known ? static_cast<IKeldaEngine*>(this) : nullptr;
    if (!known)
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

HRESULT CKeldaEngine::StartAnalysis(IKeldaProgressInterface* pIProgress, IKeldaSolutionInterface* pISolution,
                                    BSTR filename, BSTR projectpath, std::int32_t* procid) {
    SetMessageManager(this);
    if (!pIProgress) {
        PostText(kSeverityRefused, u"Progress interface is not found.");
        return E_ACCESSDENIED;
    }
    if (!procid)
        return E_POINTER;
    m_pProgress = platform::InterfacePtr<IKeldaProgressInterface>(pIProgress);

    auto job = std::make_unique<CWorkerThread>();
    HRESULT marshalled = platform::CoMarshalInterThreadInterfaceInStream(IKeldaProgressInterface::kIid,
                                                                         pIProgress, &job->progress);
    if (Failed(marshalled) || !job->progress)
        return marshalled;
    if (pISolution) {
        marshalled = platform::CoMarshalInterThreadInterfaceInStream(IKeldaSolutionInterface::kIid,
                                                                     pISolution, &job->solution);
        if (Failed(marshalled) || !job->solution)
            return marshalled;
    }
    job->filename = AString(filename, SysStringLen(filename));
    job->projectpath = AString(projectpath, SysStringLen(projectpath));

    // Handles are positive and never used again, so that a stale one can't hit a later job.
    std::int32_t handle = m_procid < std::numeric_limits<std::int32_t>::max() ? m_procid + 1 : 1;
    auto control = std::make_shared<JobControl>(handle, ProcessJobState().gate);
    job->control = control;
    // Shared, since the thread's function object has to be copyable; the worker is the only one that takes
    // it.
    auto record = std::make_shared<std::unique_ptr<CWorkerThread>>(std::move(job));
    m_pThread = m_Services.createThread([record] { RunWorker(std::move(*record)); });
    m_hThread = std::move(control);
    m_procid = handle;
    *procid = handle;
    if (!m_pThread) {
        Kill();
        PostText(kSeverityError, u"The system has no thread to run the analysis in.");
        pIProgress->AnalysisDone(E_OUTOFMEMORY);
        return S_FALSE;
    }
    if (m_pThread->Resume() != 1) {
        Kill();
        return S_FALSE;
    }
    return S_OK;
}

HRESULT CKeldaEngine::AbortAnalysis(std::int32_t procid, std::int32_t) {
    if (procid == m_procid)
        Kill();
    return S_OK;
}

void CKeldaEngine::Kill() {
    if (!m_hThread || m_hThread->Abort() != JobControl::AbortResult::kRunning)
        return;
    m_Services.killProcess();
    ProcessCosimBridge().Wake();
}

HRESULT CKeldaEngine::IsAlive(std::int32_t procid, std::int32_t* alive) {
    if (!alive)
        return E_POINTER;
    *alive = procid == m_procid ? 1 : 0;
    return S_OK;
}

HRESULT CKeldaEngine::SendCosimPortData(BSTR) {
    return S_OK;
}

HRESULT CKeldaEngine::SendCosimSourceData(BSTR sourceData) {
    DeliverCosimBlock(sourceData, m_procid);
    return S_OK;
}
