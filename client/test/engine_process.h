// Real engine processes, whose kernel does what a test says.
#pragma once

#include <client/kelda_client.h>

#include <engine/test/recorder.h>

#include <stringutils/astring.h>
#include <testtools/process.h>

#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <vector>

using platform::InterfacePtr;
using platform::UniqueBstr;
using testtools::ChildProcess;
using testtools::Children;
using testtools::Eventually;
using testtools::IsGone;
using testtools::kPatience;
using namespace std::chrono_literals;

using Calls = std::vector<std::string>;

class EngineProcessTest : public testtools::FolderTest {
protected:
    EngineProcessTest() : FolderTest("tarvok_client") {}
    ~EngineProcessTest() override { DropEngine(); } // while it can still say that it is lost

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
        return Eventually([&] { return Exists(name); });
    }

    std::vector<kelda::LostEngine> Lost() {
        std::lock_guard lock(m_Mutex);
        return m_Lost;
    }

private:
    const std::set<pid_t> m_Old = Children(getpid()); // engines of former tests on their way out
    InterfacePtr<IKeldaEngine> m_Engine;
    std::mutex m_Mutex;
    std::vector<kelda::LostEngine> m_Lost;
};
