#include <debuglog/debug_log.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

class DebugLogTest : public testing::Test {
protected:
    ~DebugLogTest() override {
        for (const char* name :
             {"ORVANE_DEBUG_LOG", "ORVANE_DEBUG_MODE", "ORVANE_DEBUG_FILE", "ORVANE_DEBUG_VERBOSE"})
            unsetenv(name);
        std::filesystem::remove(m_Path);
    }

    // A log as this environment makes it.
    void Open(const std::map<std::string, std::string>& environment) {
        setenv("ORVANE_DEBUG_LOG", m_Path.c_str(), 1);
        for (const auto& [name, value] : environment)
            setenv(name.c_str(), value.c_str(), 1);
        m_Log.emplace();
    }

    void Log(const char* file, int line, int level, const wchar16* format, ...) {
        std::va_list arguments;
        va_start(arguments, format);
        m_Log->LogAt(file, line, level, format, arguments);
        va_end(arguments);
    }
    void Print(const wchar16* format, ...) {
        std::va_list arguments;
        va_start(arguments, format);
        m_Log->Printf(format, arguments);
        va_end(arguments);
    }

    std::string Content() const {
        std::ifstream in(m_Path);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    std::string m_Path =
        (std::filesystem::temp_directory_path() / ("tarvok_log_" + std::to_string(getpid()))).string();
    std::optional<DebugLog> m_Log;
};

TEST_F(DebugLogTest, TheEnvironmentDecidesWhatIsLoggedAndHow) {
    struct Row {
        std::map<std::string, std::string> environment;
        std::string content;
    };
    const Row rows[] = {
        {{}, "a\n"},
        {{{"ORVANE_DEBUG_MODE", "1"}}, "a\n[1] \tb\n"},
        {{{"ORVANE_DEBUG_MODE", "x"}}, "a\n"},
        {{{"ORVANE_DEBUG_MODE", "-1"}}, ""},
        {{{"ORVANE_DEBUG_VERBOSE", ""}, {"ORVANE_DEBUG_MODE", "2"}}, "x.cpp(7) : \ta\ny.cpp : [1] \tb\n"},
        {{{"ORVANE_DEBUG_FILE", "y.cpp,z.cpp"}, {"ORVANE_DEBUG_MODE", "2"}}, "[1] \tb\n"},
    };
    for (const Row& row : rows) {
        Open(row.environment);
        Log("x.cpp", 7, 0, u"%s\n", u"a");
        Log("y.cpp", 0, 1, u"b\n");
        EXPECT_EQ(Content(), row.content);
        for (const auto& [name, value] : row.environment)
            unsetenv(name.c_str());
        std::filesystem::remove(m_Path);
    }
}

TEST_F(DebugLogTest, ALineIsKeptUntilItEnds) {
    Open({});
    Print(u"one\ntwo");
    EXPECT_EQ(Content(), "one\n");
    Print(u" goes on");
    EXPECT_EQ(Content(), "one\n");
    Print(u" \x00E4\n\n");
    EXPECT_EQ(Content(), "one\ntwo goes on \xC3\xA4\n\n");
}

TEST_F(DebugLogTest, AnEarlierLogIsContinuedAndOneThatCannotBeOpenedIsSilent) {
    std::ofstream(m_Path) << "before\n";
    Open({});
    Print(u"after\n");
    EXPECT_EQ(Content(), "before\nafter\n");
    setenv("ORVANE_DEBUG_LOG", "/nonexistent/folder/log", 1);
    m_Log.emplace();
    Print(u"lost\n");
}

TEST_F(DebugLogTest, LinesOfTwoThreadsAreNotTorn) {
    Open({});
    std::vector<std::thread> threads;
    for (const wchar16* text : {u"aaaaaaaaaaaaaaaaaaaaaaaaaaaa\n", u"bbbbbbbbbbbbbbbbbbbbbbbbbbbb\n"})
        threads.emplace_back([this, text] {
            for (int i = 0; i < 300; ++i)
                Print(text);
        });
    for (std::thread& thread : threads)
        thread.join();
    std::ifstream in(m_Path);
    int lines = 0;
    for (std::string line; std::getline(in, line); ++lines)
        EXPECT_TRUE(line == std::string(28, 'a') || line == std::string(28, 'b')) << line;
    EXPECT_EQ(lines, 600);
}

} // namespace
