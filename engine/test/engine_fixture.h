// An engine object in the test's own process, with the test as its client and a test kernel beside the program.
#pragma once

#include "recorder.h"

#include <engine/kelda_engine.h>
#include <engine/message_manager_slot.h>

#include <stringutils/astring.h>
#include <testtools/folder_test.h>

#include <memory>
#include <string>
#include <vector>

using Calls = std::vector<std::string>;

class EngineFixture : public testtools::FolderTest {
protected:
    EngineFixture() : FolderTest("tarvok_job") { MakeEngine({}); }
    ~EngineFixture() override {
        engine.reset();
        SetMessageManager(nullptr); // an engine that has started jobs was this thread's
    }

    void MakeEngine(CKeldaEngine::Services services) {
        engine = std::make_unique<CKeldaEngine>(std::move(services));
    }

    HRESULT Start(IKeldaProgressInterface* progress, const std::string& commands,
                  std::int32_t* procid = nullptr, IKeldaSolutionInterface* solution = nullptr) {
        std::int32_t ignored = 0;
        return engine->StartAnalysis(progress, solution, platform::UniqueBstr(AString(commands)).Get(),
                                     platform::UniqueBstr(AString(m_Folder.string())).Get(),
                                     procid ? procid : &ignored);
    }

    // Runs a job to its end and gives what its client saw.
    Calls Run(const std::string& commands) {
        auto client = Recorder::New();
        EXPECT_EQ(Start(client.Get(), commands), S_OK);
        EXPECT_TRUE(client->WaitDone());
        return client->Calls();
    }

    std::unique_ptr<CKeldaEngine> engine;
};
