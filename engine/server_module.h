// The references that clients hold, and the end of the process when they are gone and stay gone.
#pragma once

#include <platform/event.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>

class ServerModule {
public:
    // How long a client that has let go may take to come back.
    static constexpr std::chrono::milliseconds kGrace{10};

    // Any thread; each gives the count that it leaves.
    std::uint32_t Lock();
    std::uint32_t Unlock();

    // Starts the monitor thread. It calls `quit` once, `grace` after the count fell to 0 and stayed there.
    // The object lives as long as the process from then on.
    void StartMonitor(std::function<void()> quit, std::chrono::milliseconds grace = kGrace);

private:
    void Monitor(const std::function<void()>& quit, std::chrono::milliseconds grace);

    std::atomic<std::uint32_t> m_Count{0};
    std::atomic<bool> m_FellToZero{false};
    platform::Event m_Changed{platform::Event::Mode::kAutoReset};
};
