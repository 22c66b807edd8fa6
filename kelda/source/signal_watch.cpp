#include "signal_watch.h"

#include <signal.h>
#include <sys/signalfd.h>

#include <cerrno>
#include <system_error>

SignalWatch::SignalWatch() {
    sigset_t watched;
    sigemptyset(&watched);
    for (int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler != SIG_IGN)
            sigaddset(&watched, number);
    }
    pthread_sigmask(SIG_BLOCK, &watched, nullptr);
    m_Descriptor = platform::UniqueFd(signalfd(-1, &watched, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!m_Descriptor)
        throw std::system_error(errno, std::system_category(), "can't watch for signals");
}

bool SignalWatch::Take() {
    signalfd_siginfo info;
    return read(m_Descriptor.Get(), &info, sizeof info) == sizeof info;
}
