// An engine object in the test's own process, with the test as its client and a test kernel beside the program.
#pragma once

#include "recorder.h"

#include <engine/kelda_engine.h>
#include <engine/message_manager_slot.h>

#include <stringutils/astring.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

using Calls = std::vector<std::string>;

class EngineFixture : public testing::Test {
protected:
    EngineFixture()
        : m_Folder(std::filesystem::temp_directory_path() / ("tarvok_job_" + std::to_string(getpid()))) {
        std::filesystem::create_directories(m_Folder);
        MakeEngine({});
    }
    ~EngineFixture() override {
        engine.reset();
        SetMessageManager(nullptr); // an engine that has started jobs was this thread's
        std::filesystem::remove_all(m_Folder);
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

    void Touch(const std::string& name) { std::ofstream(m_Folder / name).close(); }

    std::unique_ptr<CKeldaEngine> engine;
    std::filesystem::path m_Folder;
};
