// Processes: started as a user does it, with arguments, an environment and streams, waited for with patience, looked at, and
// ended by signals.
#pragma once

#include <testtools/folder_test.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

extern char** environ;

namespace testtools {

using Words = std::vector<std::string>;
using Environment = std::map<std::string, std::string>;

// Far above what any machine needs; only a fault makes a test wait so long.
inline constexpr std::chrono::seconds kPatience{60};

template <class Condition>
bool Eventually(Condition condition) {
    auto end = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

struct ProcessStat {
    char state = 0; // 0 when there is no such process
    pid_t parent = 0;
};

inline ProcessStat ReadStat(pid_t process) {
    std::string text = ReadAll("/proc/" + std::to_string(process) + "/stat");
    ProcessStat result;
    if (auto name = text.rfind(')'); name != std::string::npos)
        std::sscanf(text.c_str() + name + 1, " %c %d", &result.state, &result.parent);
    return result;
}

inline bool IsGone(pid_t process) {
    char state = ReadStat(process).state;
    return state == 0 || state == 'Z';
}

// The running children of a process.
inline std::set<pid_t> Children(pid_t parent) {
    std::set<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc"))
        if (pid_t process = std::atoi(entry.path().filename().c_str()); process > 0)
            if (ReadStat(process).parent == parent && !IsGone(process))
                found.insert(process);
    return found;
}

// To one process: 0 and -1, which stand for many, mean that there is none.
inline void SendSignal(pid_t process, int number) {
    EXPECT_GT(process, 0) << "no process to send a signal to";
    if (process > 0)
        kill(process, number);
}

// This process's environment with changes; an empty value takes a variable away.
class EnvironmentBlock {
public:
    explicit EnvironmentBlock(const Environment& changes) {
        for (char** entry = environ; *entry; ++entry) {
            std::string text = *entry;
            if (!changes.contains(text.substr(0, text.find('='))))
                m_Entries.push_back(std::move(text));
        }
        for (const auto& [name, value] : changes)
            if (!value.empty())
                m_Entries.push_back(name + "=" + value);
        for (std::string& entry : m_Entries)
            m_Pointers.push_back(entry.data());
        m_Pointers.push_back(nullptr);
    }
    char** Get() { return m_Pointers.data(); }

private:
    Words m_Entries;
    std::vector<char*> m_Pointers;
};

struct Spawn {
    Words arguments;
    Environment environment = {};
    // Where standard output goes: a file to open, or a descriptor, or (with both unset) a file that Out() reads.
    std::string outFile = {};
    int outDescriptor = -1;
    bool closeOut = false;
    std::vector<int> ignoredSignals = {};
};

// A program that works in the folder, with nothing to read. It ends with the object.
class ChildProcess {
public:
    ChildProcess(const std::string& program, const std::filesystem::path& folder, const Spawn& spawn)
        : m_Program(program), m_Streams(folder / ("streams" + std::to_string(++s_Count))) {
        std::filesystem::create_directories(m_Streams);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        std::string out = spawn.outFile.empty() ? (m_Streams / "out").string() : spawn.outFile;
        std::string err = m_Streams / "err";
        if (spawn.closeOut)
            posix_spawn_file_actions_addclose(&actions, 1);
        else if (spawn.outDescriptor >= 0)
            posix_spawn_file_actions_adddup2(&actions, spawn.outDescriptor, 1);
        else
            posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT, 0600);
        posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
        posix_spawn_file_actions_addclosefrom_np(&actions, 3);

        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        sigset_t defaults;
        sigfillset(&defaults);
        for (int number : spawn.ignoredSignals) {
            sigdelset(&defaults, number);
            signal(number, SIG_IGN);
        }
        posix_spawnattr_setsigdefault(&attributes, &defaults);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

        Words words{program};
        words.insert(words.end(), spawn.arguments.begin(), spawn.arguments.end());
        std::vector<char*> pointers;
        for (std::string& word : words)
            pointers.push_back(word.data());
        pointers.push_back(nullptr);
        EnvironmentBlock environment(spawn.environment);
        int error = posix_spawn(&m_Process, program.c_str(), &actions, &attributes, pointers.data(),
                                environment.Get());
        for (int number : spawn.ignoredSignals)
            signal(number, SIG_DFL);
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
        if (error != 0)
            throw std::system_error(error, std::system_category(), program);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess() {
        if (!m_Waited) {
            SendSignal(m_Process, SIGKILL);
            waitpid(m_Process, nullptr, 0);
        }
    }

    // The exit status; 1000 and the signal for one that was killed.
    int Wait() {
        EXPECT_TRUE(Eventually([&] { return IsGone(m_Process); }))
            << m_Program << " doesn't end; it says " << Err();
        if (!IsGone(m_Process))
            SendSignal(m_Process, SIGKILL);
        int status = 0;
        waitpid(m_Process, &status, 0);
        m_Waited = true;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    }

    void Signal(int number) { SendSignal(m_Process, number); }

    // Waits for the one child that the process has.
    pid_t Child() {
        std::set<pid_t> children;
        EXPECT_TRUE(Eventually([&] {
            children = Children(m_Process);
            return children.size() == 1;
        }));
        return children.empty() ? 0 : *children.begin();
    }

    std::string Out() const { return ReadAll(m_Streams / "out"); }
    std::string Err() const { return ReadAll(m_Streams / "err"); }

private:
    static inline int s_Count = 0;
    const std::string m_Program;
    const std::filesystem::path m_Streams;
    pid_t m_Process = -1;
    bool m_Waited = false;
};

} // namespace testtools
