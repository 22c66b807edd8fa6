// One job in an engine of its own, started and aborted on threads apart, so that the thread that shows it
// stays free.
#pragma once

#include "cosim_session.h"
#include "job_events.h"

#include <memory>
#include <string>

namespace job {

class EngineJob {
public:
    // Starts an engine and the job in it. Both paths are absolute and UTF-8. `cosim` is null where the sources aren't
    // driven. `data` is the folder of network data, empty without one.
    EngineJob(std::string circuit, std::string project, std::string data,
              std::shared_ptr<CosimSession> cosim);

    // Lets the engine go, with whatever it is doing.
    ~EngineJob();
    EngineJob(const EngineJob&) = delete;
    EngineJob& operator=(const EngineJob&) = delete;

    EventQueue& Events();

    // Nothing more comes from the job, and Aborted follows as soon as the engine has taken it. A job that
    // isn't started yet goes with its engine.
    void Abort();

private:
    struct Shared;
    static platform::InterfacePtr<IKeldaEngine> Start(const std::shared_ptr<Shared>& shared);
    static void Simulate(Shared& shared, IKeldaEngine& engine);

    const std::shared_ptr<Shared> m_Shared;
};

} // namespace job
