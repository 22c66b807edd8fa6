// What both programs need of a job: its end, and paths as the engine takes them.
#pragma once

#include <client/kelda_client.h>
#include <stringutils/astring.h>

#include <chrono>
#include <filesystem>
#include <future>
#include <memory>
#include <mutex>
#include <string>

// How a job ends: by AnalysisDone, or with its engine. What comes first counts, and both come on threads of the library.
class Ending {
public:
    // Why there are no results; empty where there are.
    void Set(std::string fault) {
        std::call_once(m_Once, [&] { m_Fault.set_value(std::move(fault)); });
    }
    // False when the time is over.
    bool Wait(std::chrono::duration<double> limit) const {
        return m_Ended.wait_for(limit) == std::future_status::ready;
    }
    // Waits as long as it takes.
    std::string Fault() const { return m_Ended.get(); }

private:
    std::once_flag m_Once;
    std::promise<std::string> m_Fault;
    const std::shared_future<std::string> m_Ended{m_Fault.get_future()};
};

class JobProgress : public kelda::ProgressInterface {
public:
    explicit JobProgress(std::shared_ptr<Ending> ending) : m_Ending(std::move(ending)) {}

    HRESULT AnalysisDone(std::int32_t code) override {
        m_Ending->Set(code == 0 ? "" : "the job failed with code " + std::to_string(code));
        return S_OK;
    }

private:
    const std::shared_ptr<Ending> m_Ending;
};

// An engine whose loss ends the job.
inline platform::InterfacePtr<IKeldaEngine> Activate(const std::shared_ptr<Ending>& ending) {
    kelda::ActivationOptions options;
    options.onLost = [ending](const kelda::LostEngine& engine) { ending->Set(engine.reason); };
    return kelda::ActivateEngine(std::move(options));
}

inline platform::UniqueBstr PathText(const std::filesystem::path& path) {
    const std::string bytes = std::filesystem::absolute(path).string();
    AString text;
    text.Assign(kEncodingUtf8, bytes.data(), static_cast<int>(bytes.size()));
    return platform::UniqueBstr::Adopt(text.ToBstr());
}

inline std::string Narrow(BSTR text) {
    return std::string(AString(text ? text : u"", SysStringLen(text)).ToNarrow(kEncodingUtf8));
}
