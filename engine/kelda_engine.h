// The engine object: takes a client's calls and runs its analysis jobs, each on a worker thread of its own.
//
// All methods of IKeldaEngine are called by one thread, the one that serves the client. One instance exists
// in a process.
#pragma once

#include <engine/client_messages.h>
#include <engine/job_control.h>

#include <keldasimenginelib/kelda_engine_dispatch.h>
#include <platform/thread.h>
#include <platform/unknown.h>

#include <functional>
#include <memory>

class CKeldaEngine final : public KeldaEngineDispatch, public MessageManager, public ClientMessages {
public:
    struct Services {
        // Counts the references of clients; the object itself lives as long as the process.
        std::function<std::uint32_t()> lock = [] { return 1u; };
        std::function<std::uint32_t()> unlock = [] { return 1u; };
        // A job was aborted while it held the gate. Its thread can't be ended safely, so the process has to
        // be.
        std::function<void()> killProcess = [] {};
        std::function<std::unique_ptr<platform::Thread>(std::function<void()>)> createThread =
            platform::Thread::CreateSuspended;
    };

    explicit CKeldaEngine(Services services);
    // Waits for the jobs that it has started.
    ~CKeldaEngine() override;

    HRESULT QueryInterface(const IID& iid, void** object) override;
    std::uint32_t AddRef() override { return m_Services.lock(); }
    std::uint32_t Release() override { return m_Services.unlock(); }

    HRESULT StartAnalysis(IKeldaProgressInterface* pIProgress, IKeldaSolutionInterface* pISolution,
                          BSTR filename, BSTR projectpath, std::int32_t* procid) override;
    HRESULT AbortAnalysis(std::int32_t procid, std::int32_t savestate) override;
    HRESULT IsAlive(std::int32_t procid, std::int32_t* alive) override;
    HRESULT SendCosimPortData(BSTR portData) override;
    HRESULT SendCosimSourceData(BSTR sourceData) override;

    // Takes up a former engine's last job handle: the client's handles go on from there, and that handle
    // still is the latest.
    void Resume(std::int32_t procid) { m_procid = procid; }

    std::int32_t GetState() override { return 0; }

private:
    IKeldaProgressInterface* MessageClient() const override { return m_pProgress.Get(); }
    void Kill();

    Services m_Services;
    std::unique_ptr<platform::Thread> m_pThread; // of the latest job; null before the first
    std::shared_ptr<JobControl> m_hThread;       // what can be done to that job from outside
    std::int32_t m_procid = 0;                   // the handle given out for it
    platform::InterfacePtr<IKeldaProgressInterface>
        m_pProgress; // of the latest start, for the client's own thread
};
