// What the calls between two processes are measured by: one double there and back, by nothing but read and write.
#pragma once

#include "measure.h"

#include <platform/unique_fd.h>

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

// The two ends of a connection.
struct Sockets {
    Sockets() {
        int ends[2];
        Require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
        here = platform::UniqueFd(ends[0]);
        there = platform::UniqueFd(ends[1]);
    }
    platform::UniqueFd here, there;
};

// Seconds a round trip.
inline double PingPong(int trips) {
    Sockets sockets;
    double value = 0.5;
    pid_t child = fork();
    if (child == 0) {
        sockets.here = {};
        while (read(sockets.there.Get(), &value, sizeof value) == sizeof value)
            if (write(sockets.there.Get(), &value, sizeof value) != sizeof value)
                break;
        _exit(0);
    }
    sockets.there = {};
    const auto start = Clock::now();
    for (int i = 0; i < trips; ++i)
        Require(write(sockets.here.Get(), &value, sizeof value) == sizeof value &&
                read(sockets.here.Get(), &value, sizeof value) == sizeof value);
    const double time = SecondsSince(start) / trips;
    sockets.here = {};
    waitpid(child, nullptr, 0);
    return time;
}
