#include "engine_job.h"

#include "message_text.h"

#include <client/data_folder.h>
#include <stringutils/astring.h>

#include <fmt/format.h>

#include <system_error>
#include <thread>

namespace job {

// Shared with the threads: one that is still within a call of the library may outlast the job.
struct EngineJob::Shared {
    const std::string circuit;
    const std::string project;
    const std::string data;                    // empty without a folder of network data
    const std::shared_ptr<CosimSession> cosim; // null where the sources aren't driven
    EventQueue events;
    std::mutex mutex;
    platform::InterfacePtr<IKeldaEngine> engine;
    std::int32_t handle = 0;

    Shared(std::string circuitPath, std::string projectPath, std::string dataFolder,
           std::shared_ptr<CosimSession> session)
        : circuit(std::move(circuitPath)), project(std::move(projectPath)), data(std::move(dataFolder)),
          cosim(std::move(session)) {}
};

namespace {

class QueueingProgress final : public kelda::ProgressInterface {
public:
    template <class Owner>
    explicit QueueingProgress(const std::shared_ptr<Owner>& owner)
        : m_Events(owner, &owner->events), m_Cosim(owner->cosim) {}

    HRESULT ProgressUpdate(double progress_val) override {
        m_Events->PushFromJob(Progress{progress_val});
        return S_OK;
    }
    HRESULT AnalysisDone(std::int32_t return_code) override {
        if (m_Cosim)
            m_Cosim->Ended(return_code); // whose thread says so when it has done its part
        else
            m_Events->PushFromJob(Done{return_code});
        return S_OK;
    }
    HRESULT PostOrvaneMessage(BSTR message) override {
        m_Events->PushFromJob(Message{std::u16string(message ? message : u"", SysStringLen(message))});
        return S_OK;
    }
    HRESULT BounceOrvaneMessage(BSTR* message) override {
        if (!message || !*message)
            return S_OK;
        std::u16string_view form(*message, SysStringLen(*message));
        AString built;
        // What isn't a message is a question of the kernel that only a system simulator could answer.
        if (!form.starts_with(u"MessageFlag=")) {
            built = BuildMessageForm(form, UserMessages());
            if (built.empty())
                return S_OK;
        }
        SysFreeString(*message);
        *message = built.ToBstr();
        return S_OK;
    }
    HRESULT PutCosimPortData(BSTR port_data) override {
        // A kernel that is told that nobody takes part doesn't wait for an answer.
        return m_Cosim ? m_Cosim->Exchange()->PutPortData(port_data) : E_NOTIMPL;
    }

private:
    const std::shared_ptr<EventQueue> m_Events;
    const std::shared_ptr<CosimSession> m_Cosim;
};

platform::UniqueBstr Utf8Bstr(const std::string& text) {
    AString units;
    units.Assign(kEncodingUtf8, text.data(), static_cast<int>(text.size()));
    return platform::UniqueBstr::Adopt(units.ToBstr());
}

} // namespace

EngineJob::EngineJob(std::string circuit, std::string project, std::string data,
                     std::shared_ptr<CosimSession> cosim)
    : m_Shared(std::make_shared<Shared>(std::move(circuit), std::move(project), std::move(data),
                                        std::move(cosim))) {
    std::thread([shared = m_Shared] {
        try {
            auto engine = Start(shared);
            if (engine && shared->cosim)
                Simulate(*shared, *engine);
        } catch (const std::exception& error) {
            shared->events.Open(NotStarted{error.what()});
        }
    }).detach();
}

EngineJob::~EngineJob() {
    std::lock_guard lock(m_Shared->mutex);
    m_Shared->engine = {};
}

EventQueue& EngineJob::Events() {
    return m_Shared->events;
}

// Gives the engine where the job was started.
platform::InterfacePtr<IKeldaEngine> EngineJob::Start(const std::shared_ptr<Shared>& shared) {
    kelda::ActivationOptions options;
    options.onLost = [shared](const kelda::LostEngine& engine) {
        shared->events.Push(Lost{engine});
        if (shared->cosim)
            shared->cosim->Lost(engine);
    };
    auto engine = kelda::ActivateEngine(std::move(options));
    auto progress = platform::InterfacePtr<QueueingProgress>::Adopt(new QueueingProgress(shared));
    platform::InterfacePtr<kelda::DataFolder> data;
    if (!shared->data.empty())
        data = platform::InterfacePtr<kelda::DataFolder>::Adopt(
            new kelda::DataFolder(shared->data, [shared](const std::string& reason) {
                shared->events.PushFromJob(NoData{reason});
            }));
    platform::UniqueBstr circuit = Utf8Bstr(shared->circuit);
    platform::UniqueBstr project = Utf8Bstr(shared->project);
    std::int32_t handle = 0;
    HRESULT result = engine->StartAnalysis(progress.Get(), data.Get(), circuit.Get(), project.Get(), &handle);
    if (result == S_OK) {
        {
            std::lock_guard lock(shared->mutex);
            shared->engine = engine;
            shared->handle = handle;
        }
        shared->events.Open(Started{handle});
        return engine;
    }
    if (result == S_FALSE) {
        shared->events.Open(NotStarted{"the engine can't start a thread for the job"});
    } else {
        auto code = static_cast<std::uint32_t>(result);
        shared->events.Open(
            NotStarted{fmt::format("the engine doesn't take the job (0x{:08X})", code), true});
    }
    return {};
}

void EngineJob::Simulate(Shared& shared, IKeldaEngine& engine) {
    CosimSession::Outcome outcome = shared.cosim->Run(engine);
    if (outcome.code)
        shared.events.PushFromJob(Done{*outcome.code, std::move(outcome.fault)});
    else if (!outcome.fault.empty())
        shared.events.Push(CosimFault{std::move(outcome.fault)});
}

void EngineJob::Abort() {
    m_Shared->events.DropJob();
    if (m_Shared->cosim)
        m_Shared->cosim->Cancel();
    auto abort = [shared = m_Shared] {
        platform::InterfacePtr<IKeldaEngine> engine;
        std::int32_t handle;
        {
            std::lock_guard lock(shared->mutex);
            engine = shared->engine;
            handle = shared->handle;
        }
        if (engine)
            engine->AbortAnalysis(handle, 0);
        shared->events.Push(Aborted{});
    };
    try {
        std::thread(abort).detach();
    } catch (const std::system_error&) {
        m_Shared->events.Push(Aborted{});
    }
}

} // namespace job
