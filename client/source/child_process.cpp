#include "child_process.h"

#include <platform/unique_fd.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

extern char** environ;

namespace kelda {
namespace {

constexpr int kCallsThere = 3;
constexpr int kCallbacksThere = 4;

class FileActions {
public:
    FileActions() { posix_spawn_file_actions_init(&m_Actions); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    ~FileActions() { posix_spawn_file_actions_destroy(&m_Actions); }
    posix_spawn_file_actions_t* Get() { return &m_Actions; }

private:
    posix_spawn_file_actions_t m_Actions;
};

class Attributes {
public:
    Attributes() { posix_spawnattr_init(&m_Attributes); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() { posix_spawnattr_destroy(&m_Attributes); }
    posix_spawnattr_t* Get() { return &m_Attributes; }

private:
    posix_spawnattr_t m_Attributes;
};

} // namespace

pid_t SpawnChild(const std::string& program, int calls, int callbacks, int& error) {
    // Out of the way of the numbers that the child gets, so that no copy lands on one that is still needed.
    platform::UniqueFd highCalls(fcntl(calls, F_DUPFD_CLOEXEC, 16));
    platform::UniqueFd highCallbacks(fcntl(callbacks, F_DUPFD_CLOEXEC, 16));
    if (!highCalls || !highCallbacks) {
        error = errno;
        return -1;
    }
    FileActions actions;
    posix_spawn_file_actions_addopen(actions.Get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(actions.Get(), STDERR_FILENO, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(actions.Get(), highCalls.Get(), kCallsThere);
    posix_spawn_file_actions_adddup2(actions.Get(), highCallbacks.Get(), kCallbacksThere);
    // A socket of another engine that leaked into this one would hide that client's end from it.
    posix_spawn_file_actions_addclosefrom_np(actions.Get(), kCallbacksThere + 1);

    Attributes attributes;
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(attributes.Get(), &none);
    posix_spawnattr_setsigdefault(attributes.Get(), &all);
    posix_spawnattr_setflags(attributes.Get(), POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    std::string channel = "--channel=" + std::to_string(kCallsThere) + "," + std::to_string(kCallbacksThere);
    std::string verb = "-Embedding";
    std::string name = program;
    char* arguments[] = {name.data(), channel.data(), verb.data(), nullptr};
    pid_t process = -1;
    error = posix_spawn(&process, program.c_str(), actions.Get(), attributes.Get(), arguments, environ);
    return error == 0 ? process : -1;
}

LostEngine WaitForChild(pid_t process, std::chrono::milliseconds patience) {
    LostEngine lost;
    lost.process = process;
    // A wait with a limit is a poll of the process's descriptor; without one (an old system) there is no
    // limit.
    platform::UniqueFd descriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
    if (descriptor) {
        pollfd wait{descriptor.Get(), POLLIN, 0};
        int ready;
        do
            ready = poll(&wait, 1, static_cast<int>(patience.count()));
        while (ready < 0 && errno == EINTR);
        if (ready == 0)
            kill(process, SIGKILL);
    }
    int status = 0;
    pid_t waited;
    do
        waited = waitpid(process, &status, 0);
    while (waited < 0 && errno == EINTR);
    if (waited < 0) {
        lost.reason = "the engine has ended"; // somebody else took its status
    } else if (WIFSIGNALED(status)) {
        lost.signal = WTERMSIG(status);
        const char* name = sigabbrev_np(lost.signal);
        const char* description = sigdescr_np(lost.signal);
        lost.reason = "the engine was ended by signal " +
                      (name ? "SIG" + std::string(name) : std::to_string(lost.signal));
        if (description)
            lost.reason += std::string(" (") + description + ")";
    } else {
        lost.exitStatus = WEXITSTATUS(status);
        lost.reason = "the engine left with exit status " + std::to_string(lost.exitStatus);
    }
    return lost;
}

} // namespace kelda
