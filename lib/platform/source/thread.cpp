#include <platform/thread.h>

#include <platform/event.h>

#include <system_error>
#include <thread>
#include <utility>

namespace platform {
namespace {

// What object and thread share; the one that ends last frees it.
struct Start {
    Event decided{Event::Mode::kManualReset};
    bool run = false; // written before the event is set
    std::function<void()> function;
};

class SystemThread final : public Thread {
public:
    explicit SystemThread(std::shared_ptr<Start> start) : m_Start(std::move(start)) {}

    ~SystemThread() override {
        if (m_Start)
            m_Start->decided.Set();
    }

    int Resume() override {
        if (!m_Start)
            return 0;
        m_Start->run = true;
        std::exchange(m_Start, nullptr)->decided.Set();
        return 1;
    }

private:
    std::shared_ptr<Start> m_Start; // null once resumed
};

} // namespace

std::unique_ptr<Thread> Thread::CreateSuspended(std::function<void()> function) {
    auto start = std::make_shared<Start>();
    start->function = std::move(function);
    try {
        std::thread([start]() mutable {
            start->decided.Wait();
            std::function<void()> run = start->run ? std::move(start->function) : nullptr;
            start.reset();
            if (run)
                run();
        }).detach();
    } catch (const std::system_error&) {
        return nullptr;
    }
    return std::make_unique<SystemThread>(std::move(start));
}

} // namespace platform
