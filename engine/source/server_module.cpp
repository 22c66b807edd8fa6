#include <engine/server_module.h>

#include <thread>

std::uint32_t ServerModule::Lock() {
    return ++m_Count;
}

std::uint32_t ServerModule::Unlock() {
    std::uint32_t left = --m_Count;
    if (left == 0) {
        m_FellToZero = true;
        m_Changed.Set();
    }
    return left;
}

void ServerModule::StartMonitor(std::function<void()> quit, std::chrono::milliseconds grace) {
    std::thread([this, quit = std::move(quit), grace] { Monitor(quit, grace); }).detach();
}

void ServerModule::Monitor(const std::function<void()>& quit, std::chrono::milliseconds grace) {
    for (;;) {
        m_Changed.Wait();
        // A client that comes back within the time keeps the process alive.
        do
            m_FellToZero = false;
        while (m_Changed.WaitFor(grace));
        if (!m_FellToZero && m_Count == 0)
            break;
    }
    quit();
}
