#include <startup/registration.h>

#include <testtools/folder_test.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using registry::FromUtf8;
using registry::ToUtf8;

constexpr char kProgram[] = "/opt/größe mit blank/tarvok";

class RegistrationTest : public testtools::FolderTest {
protected:
    RegistrationTest() : FolderTest("registration test") {
        ::setenv("XDG_CONFIG_HOME", (m_Folder / "user").c_str(), 1);
        ::setenv("XDG_CONFIG_DIRS", (m_Folder / "machine").c_str(), 1);
    }

    // A file in the folder's place denies it to root as well.
    void DenyMachine() { std::ofstream(m_Folder / "machine") << "in the folder's place"; }

    // All values below a key, as "path|name" and text; a key without values or keys is "path|" and "(key)".
    static void List(const registry::Key& key, const std::string& path,
                     std::map<std::string, std::string>& found) {
        for (const AString& name : key.ValueNames())
            found[path + "|" + ToUtf8(name)] = ToUtf8(key.GetText(name).value_or(AString(u"(no text)")));
        if (!path.empty() && key.ValueNames().empty() && key.KeyNames().empty())
            found[path + "|"] = "(key)";
        for (const AString& name : key.KeyNames())
            List(*key.OpenKey(name, registry::KEY_QUERY_VALUE),
                 path.empty() ? ToUtf8(name) : path + "\\" + ToUtf8(name), found);
    }
    static std::map<std::string, std::string> Classes(registry::HKEY hive) {
        std::map<std::string, std::string> found;
        registry::Store store;
        const wchar16* path = hive == registry::HKEY_CLASSES_ROOT ? u"" : registry::kClassesPath;
        if (auto key = store.OpenKey(hive, path, registry::KEY_QUERY_VALUE))
            List(*key, "", found);
        return found;
    }
};

const std::string kAppId = "{9C00D95F-F4DF-4879-9423-D8DBD3DA2491}";
const std::string kClass = "CLSID\\{0FE3FFE3-7029-4A33-9DB9-1A93F6928C0D}";

TEST_F(RegistrationTest, AllEntriesStandAfterwardsAndNoneButTheKeptOnesWhenTakenBack) {
    const std::map<std::string, std::string> kExpected = {
        {"AppID\\" + kAppId + "|", "keldasimengine"},
        {"AppID\\tarvok.EXE|AppID", kAppId},
        {"Keldasimengine.KeldaEngine.1|", "KeldaEngine Class"},
        {"Keldasimengine.KeldaEngine.1\\CLSID|", "{0FE3FFE3-7029-4A33-9DB9-1A93F6928C0D}"},
        {"Keldasimengine.KeldaEngine|", "KeldaEngine Class"},
        {"Keldasimengine.KeldaEngine\\CLSID|", "{0FE3FFE3-7029-4A33-9DB9-1A93F6928C0D}"},
        {"Keldasimengine.KeldaEngine\\CurVer|", "Keldasimengine.KeldaEngine.1"},
        {kClass + "|", "KeldaEngine Class"},
        {kClass + "|AppID", kAppId},
        {kClass + "\\ProgID|", "Keldasimengine.KeldaEngine.1"},
        {kClass + "\\VersionIndependentProgID|", "Keldasimengine.KeldaEngine"},
        {kClass + "\\Programmable|", "(key)"},
        {kClass + "\\LocalServer32|", kProgram},
        {kClass + "\\TypeLib|", kAppId},
        {"TypeLib\\" + kAppId + "\\1.0|", "tarvokengine 1.0 Type Library"},
        {"TypeLib\\" + kAppId + "\\1.0\\FLAGS|", "0"},
        {"TypeLib\\" + kAppId + "\\1.0\\409\\linux64|", kProgram},
        {"TypeLib\\" + kAppId + "\\1.0\\HELPDIR|", "/opt/größe mit blank"},
    };
    registry::Store store;
    RegisterServer(store, kProgram);
    RegisterServer(store, kProgram);
    EXPECT_EQ(Classes(registry::HKEY_LOCAL_MACHINE), kExpected);
    EXPECT_TRUE(Classes(registry::HKEY_CURRENT_USER).empty());

    UnregisterServer(store);
    const std::map<std::string, std::string> kKept = {
        {"AppID|", "(key)"}, {"CLSID|", "(key)"}, {"TypeLib|", "(key)"}};
    EXPECT_EQ(Classes(registry::HKEY_LOCAL_MACHINE), kKept);
    UnregisterServer(store);
    EXPECT_EQ(Classes(registry::HKEY_LOCAL_MACHINE), kKept);
}

TEST_F(RegistrationTest, OthersEntriesStayButForThoseBelowAForcedKey) {
    registry::Store store;
    auto put = [&](const std::string& path) {
        store.CreateKey(registry::HKEY_CLASSES_ROOT, FromUtf8(path), registry::KEY_ALL_ACCESS)
            .Set(AString(), AString(u"other"));
    };
    RegisterServer(store, kProgram);
    put("CLSID\\{other}");
    put("AppID\\{other}");
    put("Keldasimengine.KeldaEngine\\Insertable");
    put("TypeLib\\" + kAppId + "\\2.0");
    put(kClass + "\\Extra");
    RegisterServer(store, kProgram);
    EXPECT_FALSE(Classes(registry::HKEY_CLASSES_ROOT).contains(kClass + "\\Extra|"));
    put(kClass + "\\Extra");
    UnregisterServer(store);
    const std::map<std::string, std::string> kLeft = {
        {"AppID\\{other}|", "other"},
        {"CLSID\\{other}|", "other"},
        {"Keldasimengine.KeldaEngine|", "KeldaEngine Class"},
        {"Keldasimengine.KeldaEngine\\Insertable|", "other"},
        {"TypeLib\\" + kAppId + "\\2.0|", "other"},
    };
    EXPECT_EQ(Classes(registry::HKEY_CLASSES_ROOT), kLeft);
}

TEST_F(RegistrationTest, WithoutRightsForTheMachineTheUsersClassesAreWritten) {
    DenyMachine();
    registry::Store store;
    RegisterServer(store, kProgram);
    EXPECT_EQ(Classes(registry::HKEY_CURRENT_USER)[kClass + "\\LocalServer32|"], kProgram);
    UnregisterServer(store);
    EXPECT_FALSE(Classes(registry::HKEY_CURRENT_USER).contains(kClass + "\\LocalServer32|"));
}

TEST_F(RegistrationTest, TakingBackClearsTheUsersAndTheMachinesEntries) {
    DenyMachine();
    {
        registry::Store store;
        RegisterServer(store, "/user's/tarvok");
    }
    fs::remove(m_Folder / "machine");
    registry::Store store;
    RegisterServer(store, "/machine's/tarvok");
    EXPECT_EQ(Classes(registry::HKEY_CLASSES_ROOT)[kClass + "\\LocalServer32|"], "/user's/tarvok");
    UnregisterServer(store);
    EXPECT_FALSE(Classes(registry::HKEY_CLASSES_ROOT).contains(kClass + "\\LocalServer32|"));
}

TEST_F(RegistrationTest, TheExitStatusTellsWhetherItWasDone) {
    EXPECT_EQ(RunRegistration(ServerRoad::kRegister), 0);
    EXPECT_EQ(Classes(registry::HKEY_CLASSES_ROOT)[kClass + "\\LocalServer32|"],
              fs::read_symlink("/proc/self/exe").native());
    EXPECT_EQ(RunRegistration(ServerRoad::kUnregister), 0);

    std::ofstream(m_Folder / "machine" / "tarvokengine" / registry::kFileName) << "damaged";
    testing::internal::CaptureStderr();
    EXPECT_EQ(RunRegistration(ServerRoad::kRegister), 0xF1);
    EXPECT_EQ(RunRegistration(ServerRoad::kUnregister), 0xF1);
    std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find((m_Folder / "machine" / "tarvokengine" / registry::kFileName).native() + ":1: "),
              std::string::npos)
        << said;
}

TEST_F(RegistrationTest, AProgramWhosePathIsNoTextIsRefused) {
    registry::Store store;
    EXPECT_THROW(RegisterServer(store, "/opt/\xff/tarvok"), registry::Error);
    EXPECT_TRUE(Classes(registry::HKEY_CLASSES_ROOT).empty());
}

TEST(ProxyLibrary, AnEntryIsCalledAndWhatIsMissingIsAFailure) {
    const std::string kFolder = PROXY_LIBRARY_FOLDER;
    EXPECT_EQ(CallProxyLibrary(kFolder, "DllRegisterServer"), 1);
    EXPECT_STREQ(std::getenv("PROXY_LIBRARY_CALLED"), "DllRegisterServer");
    EXPECT_EQ(static_cast<std::uint32_t>(CallProxyLibrary(kFolder, "DllUnregisterServer")), 0x8007007Fu);
    EXPECT_EQ(static_cast<std::uint32_t>(CallProxyLibrary("/no such folder", "DllRegisterServer")),
              0x8007007Eu);
}

} // namespace
