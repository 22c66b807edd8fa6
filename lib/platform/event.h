// A flag that threads wait for. Any thread may call any operation.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace platform {

class Event {
public:
    enum class Mode {
        kManualReset, // stays signalled until Reset
        kAutoReset,   // one successful wait takes the signal
    };

    explicit Event(Mode mode) : m_Mode(mode) {}

    void Set() {
        // The lock is held to the last: whom the signal wakes may destroy the event.
        std::lock_guard lock(m_Mutex);
        m_Signalled = true;
        m_Mode == Mode::kManualReset ? m_Changed.notify_all() : m_Changed.notify_one();
    }

    void Reset() {
        std::lock_guard lock(m_Mutex);
        m_Signalled = false;
    }

    void Wait() {
        std::unique_lock lock(m_Mutex);
        m_Changed.wait(lock, [this] { return m_Signalled; });
        Take();
    }

    // False when the time passed without a signal.
    bool WaitFor(std::chrono::milliseconds time) {
        std::unique_lock lock(m_Mutex);
        // A deadline on the system clock is what the thread sanitizer's runtime can follow.
        if (!m_Changed.wait_until(lock, std::chrono::system_clock::now() + time,
                                  [this] { return m_Signalled; }))
            return false;
        Take();
        return true;
    }

private:
    void Take() {
        if (m_Mode == Mode::kAutoReset)
            m_Signalled = false;
    }

    const Mode m_Mode;
    bool m_Signalled = false;
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
};

} // namespace platform
