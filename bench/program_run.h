// A program and all that it starts, run to their end.
#pragma once

#include "measure.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

extern char** environ;

struct ProgramTimes {
    double clock = 0, processor = 0; // milliseconds
};

// What it says is dropped. A program that fails ends this one.
inline ProgramTimes RunProgram(std::vector<std::string> words) {
    prctl(PR_SET_CHILD_SUBREAPER, 1); // an engine that outlives its client is waited for here
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
    ProgramTimes times;
    const auto start = Clock::now();
    pid_t child = 0;
    bool good = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    rusage usage{};
    for (pid_t ended = 0; good && (ended = wait4(-1, &status, 0, &usage)) > 0;) {
        if (ended == child) {
            times.clock = 1e3 * SecondsSince(start);
            good = status == 0;
        }
        for (const timeval& time : {usage.ru_utime, usage.ru_stime})
            times.processor +=
                static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) * 1e-3;
    }
    if (!good) {
        std::fprintf(stderr, "%s failed with status %d\n", words[0].c_str(), status);
        std::exit(1);
    }
    return times;
}
