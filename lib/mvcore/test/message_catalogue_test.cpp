#include <mvcore/message_catalogue.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace fs = std::filesystem;

namespace {

class MessageCatalogueTest : public testing::Test {
protected:
    MessageCatalogueTest() { fs::create_directories(m_Folder); }
    ~MessageCatalogueTest() override { fs::remove_all(m_Folder); }

    void Put(const std::string& file, const std::string& text) {
        fs::create_directories((m_Folder / file).parent_path());
        std::ofstream(m_Folder / file) << text;
    }

    // The format, "no library" or "no format".
    std::string Format(std::vector<std::string> languages, std::int32_t library, std::int32_t id) {
        MessageCatalogue catalogue(m_Folder, std::move(languages));
        const MessageModule* module = catalogue.GetLib(library);
        if (!module)
            return "no library";
        AString format;
        SetLastError(0);
        if (!module->LoadString(id, format))
            return GetLastError() == ERROR_RESOURCE_NAME_NOT_FOUND ? "no format" : "no format and no reason";
        return std::string(format.ToNarrow(kEncodingUtf8));
    }

    const fs::path m_Folder =
        testing::TempDir() + testing::UnitTest::GetInstance()->current_test_info()->name();
};

TEST_F(MessageCatalogueTest, TakesEachFormatFromTheFirstLanguageThatHasIt) {
    Put("de_AT/0.json", R"({"1": "Jänner %1"})");
    Put("de/0.json", R"({"1": "Januar %1", "2": "zwei"})");
    Put("en/0.json", R"({"1": "January %1", "2": "two", "-3": "three"})");
    Put("en/7.json", R"({})");
    const std::vector<std::string> all{"de_AT", "fr", "de", "en"};
    EXPECT_EQ(Format(all, 0, 1), "Jänner %1");
    EXPECT_EQ(Format(all, 0, 2), "zwei");
    EXPECT_EQ(Format(all, 0, -3), "three");
    EXPECT_EQ(Format(all, 0, 4), "no format");
    EXPECT_EQ(Format(all, 7, 1), "no format");
    EXPECT_EQ(Format(all, 8, 1), "no library");
    EXPECT_EQ(Format({"fr"}, 0, 1), "no library");
    EXPECT_EQ(Format({}, 0, 1), "no library");
}

TEST_F(MessageCatalogueTest, AFileThatCannotBeUnderstoodCountsAsMissing) {
    Put("en/0.json", R"({"1": "one"})");
    for (const std::string& text :
         {std::string(), std::string("[]"), std::string(R"({"1": "eins")"), std::string(R"({"1": 1})"),
          std::string(R"({"1x": "eins"})"), std::string(R"({"99999999999": "eins"})"),
          std::string(R"({"1": ""})"),
          R"({"1": ")" + std::string(MessageManagerStrings::kMaxMessageLength, 'e') + "\"}",
          std::string(100'000, '[')}) {
        Put("de/0.json", text);
        EXPECT_EQ(Format({"de", "en"}, 0, 1), "one") << text.substr(0, 80);
    }
    Put("de/0.json", R"({"1": ")" + std::string(MessageManagerStrings::kMaxMessageLength - 1, 'e') + "\"}");
    EXPECT_EQ(Format({"de", "en"}, 0, 1).size(), MessageManagerStrings::kMaxMessageLength - 1u);
}

TEST_F(MessageCatalogueTest, TheEnvironmentNamesTheLanguages) {
    struct Case {
        const char *language, *all, *messages, *lang;
        std::vector<std::string> expected;
    };
    for (const Case& c : {Case{"", "", "", "", {"en"}},
                          {"", "C", "de_DE.UTF-8", "de_DE", {"en"}},
                          {"", "C.UTF-8", "", "", {"en"}},
                          {"", "", "de_AT.UTF-8", "fr_FR", {"de_AT", "de", "en"}},
                          {"", "", "", "de_DE@euro", {"de_DE", "de", "en"}},
                          {"fr:de_CH:de", "", "", "en_GB.UTF-8", {"fr", "de_CH", "de", "en_GB", "en"}},
                          {"fr", "C", "", "", {"en"}},
                          {"", "", "", "../../etc", {"en"}}}) {
        setenv("LANGUAGE", c.language, 1);
        setenv("LC_ALL", c.all, 1);
        setenv("LC_MESSAGES", c.messages, 1);
        setenv("LANG", c.lang, 1);
        EXPECT_EQ(MessageCatalogue::UserLanguages(), c.expected)
            << c.language << ' ' << c.all << ' ' << c.lang;
    }
}

// Every library has the same formats in every language that is shipped, and each format the same arguments.
TEST(ShippedCatalogueTest, TheLanguagesAgree) {
    const fs::path folder = MessageCatalogue::DefaultFolder();
    ASSERT_FALSE(folder.empty());
    MessageCatalogue english(folder, {"en"});
    int others = 0;
    for (const fs::directory_entry& language : fs::directory_iterator(folder)) {
        MessageCatalogue other(folder, {language.path().filename().string()});
        for (std::int32_t id : {24464, 24465, 24466, 24536}) {
            ASSERT_NE(english.GetLib(0), nullptr);
            ASSERT_NE(other.GetLib(0), nullptr) << language.path();
            AString in, out;
            ASSERT_TRUE(english.GetLib(0)->LoadString(id, in)) << id;
            ASSERT_TRUE(other.GetLib(0)->LoadString(id, out)) << id << ' ' << language.path();
            EXPECT_EQ(in.find(u"%1") == in.npos, out.find(u"%1") == out.npos) << id << ' ' << language.path();
        }
        ++others;
    }
    EXPECT_GE(others, 2);
}

} // namespace
