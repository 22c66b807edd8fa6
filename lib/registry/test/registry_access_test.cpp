#include <registry/registry_access.h>

#include <testtools/folder_test.h>
#include <utility/assertion.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using registry::Value;

namespace {

constexpr char16_t kDesktop[] = u"Software\\Orvane\\Atelier\\2.0\\Desktop";

// Hives of its own, with the test's body on a thread of its own, which finds them by the environment.
class RegistryAccessTest : public testtools::FolderTest {
protected:
    RegistryAccessTest() : FolderTest("settings test") {
        setenv("XDG_CONFIG_HOME", (m_Folder / "user").c_str(), 1);
        setenv("XDG_CONFIG_DIRS", (m_Folder / "machine").c_str(), 1);
    }

    void Put(registry::HKEY hive, const char16_t* path, const wchar16* name, Value value) {
        registry::Store store;
        store.CreateKey(hive, AString(path), registry::KEY_ALL_ACCESS).Set(AString(name), std::move(value));
    }

    static void OnAThread(const std::function<void()>& body) { std::thread(body).join(); }

    static std::string Machine(const wchar16* name) {
        std::string text;
        OnAThread([&] {
            text = RegistryAccess()
                       .GetString(true, RegistryAccess::kDesktopKey, name, u"the default")
                       .ToCString();
        });
        return text;
    }
};

Value Text(const std::string& text) {
    return AString(text.c_str());
}

Value Bytes(const std::string& text) {
    return std::vector<std::uint8_t>(text.begin(), text.end());
}

TEST_F(RegistryAccessTest, AMissingSettingHasItsDefault) {
    EXPECT_EQ(Machine(RegistryAccess::kTempDirectory), "the default");
    Put(registry::HKEY_CURRENT_USER, kDesktop, RegistryAccess::kTempDirectory, Text("the user's"));
    EXPECT_EQ(Machine(RegistryAccess::kTempDirectory), "the default");
    OnAThread([] {
        EXPECT_TRUE(RegistryAccess().GetInstallationDirectory().empty());
        RegistryAccess settings;
        EXPECT_EQ(
            settings.GetString(false, RegistryAccess::kDesktopKey, RegistryAccess::kTempDirectory, u"x"),
            u"the user's");
        settings.m_ProductKey = AString(u"Orvane\\Atelier\\3.0");
        EXPECT_EQ(
            settings.GetString(false, RegistryAccess::kDesktopKey, RegistryAccess::kTempDirectory, u"x"),
            u"x");
        settings.m_ProductKey = AString();
        EXPECT_FALSE(settings.OpenKey(false, AString(), true));
    });
}

TEST_F(RegistryAccessTest, AValueIsReadAsANarrowTextOfBoundedLength) {
    const std::string full(259, 'f');
    struct Case {
        Value value;
        std::string expected;
    };
    for (const Case& c : {Case{Text("/opt/orvane"), "/opt/orvane"},
                          {Text(""), ""},
                          {Text(full), full},
                          {Text(full + "f"), "the default"},
                          {AString(u"two\0texts", 9), "two"},
                          {std::uint32_t{0x00434241}, "ABC"},
                          {Bytes("bytes"), "bytes"},
                          {Bytes(std::string("by\0tes", 6)), "by"},
                          {Bytes(full + "x"), full},
                          {Bytes(full + "xx"), "the default"},
                          {Bytes(""), ""}}) {
        Put(registry::HKEY_LOCAL_MACHINE, kDesktop, RegistryAccess::kProjectDirectory, c.value);
        EXPECT_EQ(Machine(RegistryAccess::kProjectDirectory), c.expected);
    }
}

TEST_F(RegistryAccessTest, OneTrailingSlashIsStrippedFromTheInstallationDirectory) {
    for (auto [stored, expected] :
         std::initializer_list<std::pair<const char*, const char*>>{{"C:\\Orvane\\", "C:\\Orvane"},
                                                                    {"/opt/orvane/", "/opt/orvane"},
                                                                    {"/opt/orvane//", "/opt/orvane/"},
                                                                    {"/opt/orvane\\/", "/opt/orvane\\"},
                                                                    {"/opt/orvane", "/opt/orvane"},
                                                                    {"/", ""}}) {
        Put(registry::HKEY_LOCAL_MACHINE, kDesktop, RegistryAccess::kInstallationDirectory, Text(stored));
        OnAThread(
            [&] { EXPECT_EQ(RegistryAccess().GetInstallationDirectory(), AString(expected)) << stored; });
    }
}

TEST_F(RegistryAccessTest, OpensWhatIsThereAndMakesASubKeyOnlyForWriting) {
    OnAThread([] {
        RegistryAccess settings;
        AString sub(RegistryAccess::kProductsKey);
        EXPECT_FALSE(settings.OpenKey(false, sub, false)) << "the product itself is never made";
        registry::Store store;
        store.CreateKey(registry::HKEY_CURRENT_USER, u"SOFTWARE\\orvane\\atelier\\2.0",
                        registry::KEY_ALL_ACCESS);
        EXPECT_FALSE(settings.OpenKey(false, sub, true));
        auto key = settings.OpenKey(false, sub, false);
        ASSERT_TRUE(key);
        key->Set(u"Filter", Value(AString(u"on")));
        auto reader = settings.OpenKey(false, sub, true);
        ASSERT_TRUE(reader);
        EXPECT_EQ(reader->GetText(u"filter"), AString(u"on"));
        EXPECT_THROW(reader->Set(u"Filter", Value(AString(u"off"))), registry::Error);
    });
}

TEST_F(RegistryAccessTest, ADamagedStoreHoldsNothing) {
    Put(registry::HKEY_LOCAL_MACHINE, kDesktop, RegistryAccess::kProjectDirectory, Text("p"));
    ASSERT_EQ(Machine(RegistryAccess::kProjectDirectory), "p");
    std::ofstream(registry::Folders::FromEnvironment().machine / registry::kFileName) << "{ \"keys\": ";
    EXPECT_EQ(Machine(RegistryAccess::kProjectDirectory), "the default");
}

std::string g_Question;

TEST_F(RegistryAccessTest, WritingToTheMachineIsAnAssertion) {
    assertsOff = false;
    AssertQuestion before = SetAssertQuestion([](AssertBox, const char* text) {
        g_Question = text;
        return AssertAnswer::Retry;
    });
    OnAThread([] { RegistryAccess().OpenKey(true, AString(), false); });
    SetAssertQuestion(before);
    assertsOff = true;
    EXPECT_NE(g_Question.find("readOnly"), std::string::npos) << g_Question;
}

} // namespace
