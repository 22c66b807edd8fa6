// A folder of network data as the client's answer, asked as the engine asks it.
#include <client/data_folder.h>

#include <stringutils/astring.h>

#include <testtools/folder_test.h>

#include <sys/stat.h>

#include <filesystem>

namespace {

using kelda::DataFolder;
using platform::InterfacePtr;
using platform::UniqueBstr;

const std::string kSolution = "$begin 'SolutionData'\nA(1, 4, 'text', 0)\n$end 'SolutionData'\n";
const std::string kTouchstone = "# GHz S RI R 75\n1 0.5 0\n";

class DataFolderTest : public testtools::FolderTest {
protected:
    DataFolderTest() : FolderTest("tarvok_data") { std::filesystem::create_directories(m_Folder / "inner"); }

    void Put(const std::string& name, const std::string& bytes = kSolution) { Write(name, bytes); }

    struct Answer {
        std::int32_t msg;
        std::string text; // the reply, or what was shown
    };
    Answer Ask(const std::string& design) {
        std::string shown;
        auto folder = InterfacePtr<DataFolder>::Adopt(
            new DataFolder(m_Folder.string(), [&](const std::string& text) { shown += text; }));
        AString name;
        name.Assign(kEncodingUtf8, design.data(), static_cast<int>(design.size()));
        UniqueBstr reply(u"before");
        std::int32_t msg = 0;
        EXPECT_EQ(folder->GetFieldSolverData(UniqueBstr(name).Get(), UniqueBstr(u"N1").Get(), nullptr,
                                             nullptr, nullptr, UniqueBstr(u"1e9").Get(), reply.Address(),
                                             &msg),
                  S_OK);
        EXPECT_EQ(msg == 0, shown.empty()) << shown;
        return {msg, msg == 0 ? std::string(AString(reply.View()).ToNarrow(kEncodingUtf8)) : shown};
    }
    std::string Fault(const std::string& design, const std::string& why) const {
        return "No network data for N1 (design " + design + "): " + why;
    }
};

TEST_F(DataFolderTest, ADesignLeadsToItsFile) {
    const auto named = [](const char* name) {
        return "$begin 'SolutionData'\nA(1, 4, '" + std::string(name) + "', 0)\n$end 'SolutionData'\n";
    };
    for (const char* name : {"a.sol", "A.sol", "b.c.sol", "Band.SOL", "f\xC3\xBCnf.sol", "both.sol"})
        Put(name, named(name));
    for (const char* name : {"a.s1p", "both.solb", "both.s1p", "line.S1P", "loop.ts", "a.txt", "inner/x.sol"})
        Put(name, kTouchstone);
    for (const char* design : {"a", "A", "b.c", "f\xC3\xBCnf", "both", "a.sol"}) {
        const std::string file = std::string(design) + (design == std::string("a.sol") ? "" : ".sol");
        EXPECT_EQ(Ask(design).text, named(file.c_str())) << "the text as it stands";
    }
    EXPECT_EQ(Ask("bAND").text, named("Band.SOL"));
    EXPECT_EQ(Ask("BOTH").text, named("both.sol"));
    for (const char* design : {"line", "LINE", "loop", "a.s1p"}) {
        const Answer answer = Ask(design);
        EXPECT_EQ(answer.msg, 0) << answer.text;
        EXPECT_NE(answer.text.find("c(75, 0)"), std::string::npos) << answer.text;
    }
}

TEST_F(DataFolderTest, WhatCantBeAnsweredHasItsCodeAndItsWords) {
    for (const char* name : {"Line.sol", "lIne.sol", "pair.s1p", "pair.s2p", "bad.s1p", "torn.sol"})
        Put(name, name == std::string("bad.s1p") ? "# GHz S RI\n1 0.5 zero\n" : kSolution.substr(0, 40));
    std::filesystem::create_directories(m_Folder / "folder.sol");
    std::filesystem::create_symlink("nowhere", m_Folder / "gone.sol");
    ASSERT_EQ(mkfifo((m_Folder / "pipe.sol").c_str(), 0600), 0);
    const std::string folder = m_Folder.string();
    const std::string all =
        "Line.sol, bad.s1p, folder.sol, gone.sol, lIne.sol, pair.s1p, pair.s2p, pipe.sol, torn.sol.";
    const std::string name = "the name of a design is empty or has a path separator";
    struct Row {
        std::string design;
        std::int32_t msg;
        std::string why;
    };
    const Row rows[] = {
        {"none", DataFolder::kNoDesign, "there is no such file in " + folder + ", but " + all},
        {"folder", DataFolder::kBadFile, folder + "/folder.sol: it isn't a regular file"},
        {"pipe", DataFolder::kBadFile, folder + "/pipe.sol: it isn't a regular file"},
        {"gone", DataFolder::kBadFile, folder + "/gone.sol: No such file or directory"},
        {"line", DataFolder::kNoDesign, folder + " has several files of that name: Line.sol, lIne.sol"},
        {"pair", DataFolder::kNoDesign, folder + " has several files of that name: pair.s1p, pair.s2p"},
        {"", DataFolder::kBadName, name},
        {"..", DataFolder::kBadName, name},
        {"inner/x", DataFolder::kBadName, name},
        {"inner\\x", DataFolder::kBadName, name},
        {"../" + m_Folder.filename().string() + "/torn", DataFolder::kBadName, name},
        {"bad", DataFolder::kBadFile, folder + "/bad.s1p:2: "},
        {"torn", DataFolder::kBadFile, folder + "/torn.sol:"},
    };
    for (const Row& row : rows) {
        const Answer answer = Ask(row.design);
        EXPECT_EQ(answer.msg, row.msg) << row.design;
        EXPECT_TRUE(answer.text.starts_with(Fault(row.design, row.why))) << answer.text;
    }
}

TEST_F(DataFolderTest, ALongListIsCutShort) {
    EXPECT_NE(Ask("none").text.find("and no other network data."), std::string::npos);
    for (int i = 100; i < 150; ++i)
        Put(std::to_string(i) + ".sol");
    EXPECT_NE(Ask("none").text.find("118.sol, 119.sol and 30 more."), std::string::npos);
}

TEST_F(DataFolderTest, AFolderThatCantBeListedIsRefusedAtOnce) {
    Put("file");
    for (const char* name : {"nowhere", "file"})
        EXPECT_THROW(DataFolder((m_Folder / name).string()), std::runtime_error) << name;
}

} // namespace
