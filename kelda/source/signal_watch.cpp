#include "signal_watch.h"

#include <signal.h>
#include <sys/eventfd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <system_error>

namespace {

std::atomic<int> g_Descriptor = -1;
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void TakeNote(int) {
    const int error = errno;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(g_Descriptor, &one, sizeof one);
    errno = error;
}

} // namespace

SignalWatch::SignalWatch() : m_Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE)) {
    if (!m_Descriptor)
        throw std::system_error(errno, std::system_category(), "can't watch for signals");
    g_Descriptor = m_Descriptor.Get();
    for (int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler == SIG_IGN)
            continue;
        action.sa_handler = TakeNote;
        action.sa_flags = SA_RESTART;
        sigaction(number, &action, nullptr);
    }
}

SignalWatch::~SignalWatch() {
    g_Descriptor = -1;
}

bool SignalWatch::Take() {
    std::uint64_t one;
    return read(m_Descriptor.Get(), &one, sizeof one) == sizeof one;
}
