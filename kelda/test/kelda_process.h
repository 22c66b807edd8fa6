// Drives the built program as a user does: with arguments, an environment, streams and signals.
#pragma once

#include <testtools/process.h>

#include <nlohmann/json.hpp>

#include <sstream>
#include <string>
#include <vector>

namespace kelda_test {

using testtools::Environment;
using testtools::EnvironmentBlock;
using testtools::Eventually;
using testtools::IsGone;
using testtools::kPatience;
using testtools::ReadAll;
using testtools::ReadStat;
using testtools::SendSignal;
using testtools::Spawn;
using testtools::Words;
using Json = nlohmann::json;

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

class KeldaProcess : public testtools::ChildProcess {
public:
    KeldaProcess(const std::filesystem::path& folder, const Spawn& spawn)
        : ChildProcess(KELDA_PROGRAM, folder, spawn) {}

    // Waits for the engine and gives its process.
    pid_t Engine() { return Child(); }
};

// A folder of its own, in which the program runs.
class KeldaTest : public testtools::FolderTest {
protected:
    KeldaTest() : FolderTest("kelda") {}

    struct Finished {
        int status;
        std::string out, err;
    };
    Finished Run(const Spawn& spawn) {
        KeldaProcess kelda(m_Folder, spawn);
        int status = kelda.Wait();
        return {status, kelda.Out(), kelda.Err()};
    }
};

} // namespace kelda_test
