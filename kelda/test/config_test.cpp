// The program on the settings, in hives of its own.
#include "kelda_process.h"

using namespace kelda_test;

namespace {

class ConfigTest : public KeldaTest {
protected:
    Finished Config(Words arguments) {
        arguments.insert(arguments.begin(), "config");
        return Run({arguments,
                    {{"XDG_CONFIG_HOME", (m_Folder / "user").string()},
                     {"XDG_CONFIG_DIRS", (m_Folder / "machine").string()}}});
    }
    void Set(Words arguments) {
        arguments.insert(arguments.begin(), "set");
        Finished set = Config(arguments);
        EXPECT_EQ(set.status, 0) << set.err;
        EXPECT_EQ(set.out + set.err, "");
    }
};

TEST_F(ConfigTest, WhatIsSetIsFoundListedAndRemoved) {
    EXPECT_EQ(Config({"list"}).out, "");
    Set({"Desktop/ProjectDirectory", "/home/me/my projects"});
    Set({"desktop/DLLs/Products/a\\/b \\\\", "line one\nline two \xC3\xA9"});
    Set({"Desktop/Count", "0xFFffFFff", "--type", "number"});
    Set({"Desktop/Bytes", "00ff7A", "--type", "bytes"});
    Set({"/Elsewhere/", "the default value"});

    EXPECT_EQ(Config({"get", "DESKTOP/projectdirectory"}).out, "/home/me/my projects\n");
    EXPECT_EQ(Config({"get", "Desktop/DLLs/Products/A\\/B \\\\"}).out, "line one\nline two \xC3\xA9\n");
    EXPECT_EQ(Config({"get", "/elsewhere/"}).out, "the default value\n");
    EXPECT_EQ(Config({"get", "/software/orvane/atelier/2.0/Desktop/Count"}).out, "4294967295\n");
    EXPECT_EQ(Config({"list"}).out, "Desktop/Bytes = 00ff7a\n"
                                    "Desktop/Count = 4294967295\n"
                                    "Desktop/ProjectDirectory = /home/me/my projects\n"
                                    "Desktop/DLLs/Products/a\\/b \\\\ = line one\\x0aline two \xC3\xA9\n");
    std::vector<std::string> types;
    for (const char* name : {"Desktop/Bytes", "Desktop/Count", "Desktop/ProjectDirectory"})
        types.push_back(Json::parse(Config({"get", name, "--json"}).out)["type"]);
    EXPECT_EQ(types, (std::vector<std::string>{"bytes", "number", "text"}));
    EXPECT_EQ(Json::parse(Config({"get", "--json", "Desktop/Count"}).out)["value"], 4294967295u);
    EXPECT_EQ(Config({"list", "Desktop/DLLs", "--json"}).out,
              R"({"name":"Products/a\\/b \\\\","type":"text","value":"line one\nline two )"
              "\xC3\xA9"
              R"("})"
              "\n");

    EXPECT_EQ(Config({"unset", "Desktop/Count"}).status, 0);
    EXPECT_EQ(Config({"unset", "Desktop/Count"}).status, 1);
}

TEST_F(ConfigTest, TheMachinesSettingsAreApart) {
    Set({"--machine", "Desktop/InstallationDirectory", "/opt/orvane"});
    EXPECT_EQ(Config({"get", "Desktop/InstallationDirectory"}).status, 1);
    EXPECT_EQ(Config({"get", "--machine", "Desktop/InstallationDirectory"}).out, "/opt/orvane\n");
    EXPECT_EQ(Config({"list"}).out, "");
    EXPECT_EQ(Config({"list", "--machine"}).out, "Desktop/InstallationDirectory = /opt/orvane\n");
}

TEST_F(ConfigTest, AWrongNameOrValueIsRefusedInWords) {
    Set({"Desktop/ProjectDirectory", "p"});
    struct Case {
        Words arguments;
        int status;
        const char* says;
    };
    for (const Case& c :
         {Case{{"get", "Desktop/ProjectDir"}, 1, "the key holds ProjectDirectory"},
          {{"get", "Desk/ProjectDirectory"}, 1, "there is no setting Desk/ProjectDirectory in "},
          {{"list", "Desk"}, 1, "there is no key Desk in "},
          {{"set", "n", "-1", "--type", "number"}, 2, "-1 is no number"},
          {{"set", "n", "4294967296", "--type", "number"}, 2, "is no number"},
          {{"set", "n", "0x", "--type", "number"}, 2, "0x is no number"},
          {{"set", "n", "abc", "--type", "bytes"}, 2, "abc is no row of bytes"},
          {{"set", "n", "\xFF"}, 2, "isn't UTF-8"},
          {{"set", "a\\\\b/n", "x"}, 2, "can't hold a backslash"},
          {{"set", "n", "x", "--type", "float"}, 2, "float"},
          {{"set", "n"}, 2, "VALUE"},
          {{"get"}, 2, "NAME"},
          {{}, 2, "a command is required: get, set, unset, list\n"}}) {
        Finished run = Config(c.arguments);
        EXPECT_EQ(run.status, c.status) << run.err;
        EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
        EXPECT_EQ(run.out, "");
    }
    EXPECT_EQ(Config({"list"}).out, "Desktop/ProjectDirectory = p\n");
}

TEST_F(ConfigTest, AStoreThatCannotBeUsedIsNamed) {
    std::filesystem::create_directories(m_Folder / "user" / "tarvokengine");
    Write("user/tarvokengine/registry.json", "{ \"keys\":");
    for (Words arguments : {Words{"get", "a"}, {"list"}, {"set", "a", "b"}, {"unset", "a"}}) {
        Finished run = Config(arguments);
        EXPECT_EQ(run.status, 1);
        EXPECT_NE(run.err.find("registry.json"), std::string::npos) << run.err;
    }
    EXPECT_EQ(ReadAll(m_Folder / "user/tarvokengine/registry.json"), "{ \"keys\":");
    Write("machine", "a file in the folder's place");
    Finished run = Config({"set", "--machine", "a", "b"});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err, "");
}

} // namespace
