// Real engine processes, whose kernel does what a test says.
#pragma once

#include <client/kelda_client.h>

#include <engine/test/recorder.h>

#include <stringutils/astring.h>

#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

using platform::InterfacePtr;
using platform::UniqueBstr;
using namespace std::chrono_literals;

extern char** environ;

using Calls = std::vector<std::string>;

// Far above what any machine needs; only a fault makes a test wait so long.
inline constexpr auto kPatience = 60s;

template <class Condition>
bool Eventually(Condition condition) {
    auto end = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

struct ProcessStat {
    char state = 0; // 0 when there is no such process
    pid_t parent = 0;
};

inline ProcessStat ReadStat(pid_t process) {
    std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
    std::ostringstream content; // empty where the process vanishes meanwhile
    content << stat.rdbuf();
    const std::string text = content.str();
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
        if (pid_t process = std::atoi(entry.path().filename().c_str()); process > 0) {
            ProcessStat stat = ReadStat(process);
            if (stat.parent == parent && stat.state != 0 && stat.state != 'Z')
                found.insert(process);
        }
    return found;
}

class EngineProcessTest : public testing::Test {
protected:
    EngineProcessTest()
        : m_Folder(std::filesystem::temp_directory_path() /
                   ("tarvok_client_" + std::to_string(getpid()) + "_" + std::to_string(++s_Count))) {
        std::filesystem::create_directories(m_Folder);
    }
    ~EngineProcessTest() override {
        m_Engine = {};
        std::filesystem::remove_all(m_Folder);
    }

    kelda::ActivationOptions Options(std::string server = TEST_SERVER) {
        kelda::ActivationOptions options;
        options.server = std::move(server);
        options.onLost = [this](const kelda::LostEngine& lost) {
            std::lock_guard lock(m_Mutex);
            m_Lost.push_back(lost);
        };
        return options;
    }

    IKeldaEngine& Engine() {
        if (!m_Engine)
            m_Engine = kelda::ActivateEngine(Options());
        return *m_Engine;
    }
    void DropEngine() { m_Engine = {}; }

    HRESULT Start(IKeldaProgressInterface* progress, const std::string& commands,
                  std::int32_t* procid = nullptr, IKeldaSolutionInterface* solution = nullptr) {
        std::int32_t ignored = 0;
        return Engine().StartAnalysis(progress, solution, UniqueBstr(AString(commands)).Get(),
                                      UniqueBstr(AString(m_Folder.string())).Get(),
                                      procid ? procid : &ignored);
    }
    Calls Run(const std::string& commands) {
        auto client = Recorder::New();
        EXPECT_EQ(Start(client.Get(), commands), S_OK);
        EXPECT_TRUE(client->WaitDone());
        return client->Calls();
    }

    // The process of the one engine that this process has started and that lives.
    pid_t EngineProcess() {
        auto children = Children(getpid());
        for (pid_t old : m_Old)
            children.erase(old);
        return children.size() == 1 ? *children.begin() : -1;
    }

    bool AwaitFile(const std::string& name) {
        return Eventually([&] { return std::filesystem::exists(m_Folder / name); });
    }
    void Touch(const std::string& name) { std::ofstream(m_Folder / name).close(); }
    void Remove(const std::string& name) { std::filesystem::remove(m_Folder / name); }

    std::vector<kelda::LostEngine> Lost() {
        std::lock_guard lock(m_Mutex);
        return m_Lost;
    }

    std::filesystem::path m_Folder;

private:
    static inline std::atomic<int> s_Count = 0;
    const std::set<pid_t> m_Old = Children(getpid()); // engines of former tests on their way out
    InterfacePtr<IKeldaEngine> m_Engine;
    std::mutex m_Mutex;
    std::vector<kelda::LostEngine> m_Lost;
};
