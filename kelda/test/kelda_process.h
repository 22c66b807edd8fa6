// Drives the built program as a user does: with arguments, an environment, streams and signals.
#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

extern char** environ;

namespace kelda_test {

using Json = nlohmann::json;
using Words = std::vector<std::string>;
using Environment = std::map<std::string, std::string>;

// Far above what any machine needs; only a fault makes a test wait so long.
constexpr std::chrono::seconds kPatience{60};

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

// What can be read of the file, nothing where it vanishes meanwhile.
inline std::string ReadAll(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
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

inline std::vector<Json> JsonLines(const std::string& text) {
    std::vector<Json> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        Json object = Json::parse(line, nullptr, false);
        EXPECT_TRUE(object.is_object()) << line;
        if (object.is_object())
            lines.push_back(std::move(object));
    }
    return lines;
}

// The program's environment: this process's, with changes; an empty value takes a variable away.
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

// To one process: 0 and -1, which stand for many, mean that there is none.
inline void SendSignal(pid_t process, int number) {
    EXPECT_GT(process, 0) << "no process to send a signal to";
    if (process > 0)
        kill(process, number);
}

struct Spawn {
    Words arguments;
    Environment environment = {};
    // Where standard output goes: a file to open, or a descriptor, or (with both unset) a file that Out() reads.
    std::string outFile = {};
    int outDescriptor = -1;
    bool closeOut = false;
    std::vector<int> ignoredSignals = {};
};

class KeldaProcess {
public:
    KeldaProcess(const std::filesystem::path& folder, const Spawn& spawn)
        : m_Streams(folder / ("streams" + std::to_string(++s_Count))) {
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

        Words words{KELDA_PROGRAM};
        words.insert(words.end(), spawn.arguments.begin(), spawn.arguments.end());
        std::vector<char*> pointers;
        for (std::string& word : words)
            pointers.push_back(word.data());
        pointers.push_back(nullptr);
        EnvironmentBlock environment(spawn.environment);
        int error =
            posix_spawn(&m_Process, KELDA_PROGRAM, &actions, &attributes, pointers.data(), environment.Get());
        for (int number : spawn.ignoredSignals)
            signal(number, SIG_DFL);
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
        if (error != 0)
            throw std::system_error(error, std::system_category(), KELDA_PROGRAM);
    }
    KeldaProcess(const KeldaProcess&) = delete;
    KeldaProcess& operator=(const KeldaProcess&) = delete;
    ~KeldaProcess() {
        if (!m_Waited) {
            SendSignal(m_Process, SIGKILL);
            waitpid(m_Process, nullptr, 0);
        }
    }

    // The exit status; 1000 and the signal for one that was killed.
    int Wait() {
        EXPECT_TRUE(Eventually([&] { return IsGone(m_Process); })) << "kelda doesn't end; it says " << Err();
        if (!IsGone(m_Process))
            SendSignal(m_Process, SIGKILL);
        int status = 0;
        waitpid(m_Process, &status, 0);
        m_Waited = true;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    }

    void Signal(int number) { SendSignal(m_Process, number); }

    // Waits for the engine and gives its process.
    pid_t Engine() {
        pid_t engine = 0;
        EXPECT_TRUE(Eventually([&] {
            for (const auto& entry : std::filesystem::directory_iterator("/proc"))
                if (pid_t process = std::atoi(entry.path().filename().c_str()); process > 0)
                    if (ReadStat(process).parent == m_Process)
                        engine = process;
            return engine != 0;
        }));
        return engine;
    }

    std::string Out() const { return ReadAll(m_Streams / "out"); }
    std::string Err() const { return ReadAll(m_Streams / "err"); }

private:
    static inline int s_Count = 0;
    const std::filesystem::path m_Streams;
    pid_t m_Process = -1;
    bool m_Waited = false;
};

// A folder of its own, in which the program runs.
class KeldaTest : public testing::Test {
protected:
    KeldaTest()
        : m_Folder(std::filesystem::temp_directory_path() /
                   ("kelda_" + std::to_string(getpid()) + "_" + std::to_string(++s_Count))) {
        std::filesystem::create_directories(m_Folder);
    }
    ~KeldaTest() override { std::filesystem::remove_all(m_Folder); }

    struct Finished {
        int status;
        std::string out, err;
    };
    Finished Run(const Spawn& spawn) {
        KeldaProcess kelda(m_Folder, spawn);
        int status = kelda.Wait();
        return {status, kelda.Out(), kelda.Err()};
    }

    void Write(const std::string& name, const std::string& text) { std::ofstream(m_Folder / name) << text; }
    bool Exists(const std::string& name) const { return std::filesystem::exists(m_Folder / name); }

    const std::filesystem::path m_Folder;

private:
    static inline int s_Count = 0;
};

} // namespace kelda_test
