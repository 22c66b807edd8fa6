// How the benchmarks measure: the processor's time, which stays comparable on a busy machine, where the time by the clock
// doesn't, and of many rounds the median.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <vector>

inline void Require(bool holds) {
    if (!holds)
        std::abort();
}

// Of this thread.
inline double ProcessorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

// Of one call among so many.
template <class Work>
double Seconds(const Work& work, int repeat = 1) {
    const double start = ProcessorSeconds();
    for (int i = 0; i < repeat; ++i)
        work();
    return (ProcessorSeconds() - start) / repeat;
}

using Clock = std::chrono::steady_clock;

// By the clock, for what several processes or threads do.
inline double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

inline double Median(std::vector<double> times) {
    std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2),
                     times.end());
    return times[times.size() / 2];
}

inline double Best(const std::vector<double>& times) {
    return *std::min_element(times.begin(), times.end());
}
