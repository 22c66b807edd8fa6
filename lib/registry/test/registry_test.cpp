#include <registry/registry.h>

#include <testtools/folder_test.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace registry {
namespace {

namespace fs = std::filesystem;
using testtools::ReadAll;

void WriteAll(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
}

class RegistryTest : public testtools::FolderTest {
protected:
    RegistryTest() : FolderTest("registry test") {
        folders = {m_Folder / "user" / "tarvokengine", m_Folder / "machine" / "tarvokengine"};
    }

    fs::path UserFile() const { return folders.user / kFileName; }
    fs::path MachineFile() const { return folders.machine / kFileName; }

    void Put(HKEY hive, const char16_t* path, const char16_t* name, Value value) {
        Store store(folders);
        store.CreateKey(hive, AString(path), KEY_ALL_ACCESS).Set(AString(name), std::move(value));
    }
    // The text of a value, or "(none)".
    std::string Text(HKEY hive, const char16_t* path, const char16_t* name) {
        Store store(folders);
        std::optional<Key> key = store.OpenKey(hive, AString(path), KEY_QUERY_VALUE);
        std::optional<AString> text = key ? key->GetText(AString(name)) : std::nullopt;
        return text ? ToUtf8(*text) : "(none)";
    }

    Folders folders;
};

// Makes the machine's folder one that this process may not write, also where it runs as root.
void BlockMachine(const Folders& folders) {
    WriteAll(folders.machine.parent_path(), "a file in the folder's place");
}

std::vector<std::string> Utf8(const std::vector<AString>& names) {
    std::vector<std::string> texts;
    for (const AString& name : names)
        texts.push_back(ToUtf8(name));
    return texts;
}

TEST_F(RegistryTest, AMissingFileIsAnEmptyHiveAndReadingMakesNone) {
    Store store(folders);
    EXPECT_FALSE(store.OpenKey(HKEY_CURRENT_USER, u"software", KEY_QUERY_VALUE));
    EXPECT_TRUE(store.OpenKey(HKEY_CLASSES_ROOT, AString(), KEY_QUERY_VALUE));
    EXPECT_FALSE(fs::exists(folders.user));
}

TEST_F(RegistryTest, ValuesOfEachKindComeBackThroughAnotherStore) {
    Put(HKEY_LOCAL_MACHINE, u"Software\\Orvane", u"Text", u"größer");
    Put(HKEY_LOCAL_MACHINE, u"software\\ORVANE\\", u"Number", 7u);
    Put(HKEY_LOCAL_MACHINE, u"Software\\Orvane", u"", std::vector<std::uint8_t>{1, 2});
    Store store(folders);
    std::optional<Key> key = store.OpenKey(HKEY_LOCAL_MACHINE, u"SOFTWARE\\orvane", KEY_QUERY_VALUE);
    ASSERT_TRUE(key);
    EXPECT_EQ(key->GetText(u"TEXT"), AString(u"größer"));
    EXPECT_EQ(key->GetNumber(u"number"), 7u);
    EXPECT_EQ(key->Get(AString()), Value(std::vector<std::uint8_t>{1, 2}));
    EXPECT_FALSE(key->GetText(u"Number"));
    EXPECT_EQ(Utf8(key->ValueNames()), (std::vector<std::string>{"", "Number", "Text"}));
    EXPECT_FALSE(fs::exists(UserFile()));
}

TEST_F(RegistryTest, AKeyGoesWithAllBelowItAndNothingElse) {
    Put(HKEY_CURRENT_USER, u"a\\b\\c", u"v", 1u);
    Put(HKEY_CURRENT_USER, u"a\\bc", u"v", 1u);
    Store store(folders);
    Key a = *store.OpenKey(HKEY_CURRENT_USER, u"A", KEY_ALL_ACCESS);
    Key c = *a.OpenKey(u"b\\c", KEY_ALL_ACCESS);
    EXPECT_FALSE(a.DeleteKey(u"none"));
    EXPECT_TRUE(a.DeleteKey(u"B"));
    EXPECT_EQ(Utf8(a.KeyNames()), std::vector<std::string>{"bc"});

    EXPECT_FALSE(c.Get(u"v"));
    EXPECT_FALSE(c.DeleteValue(u"v"));
    try {
        c.Set(u"v", 2u);
        FAIL() << "a removed key was written";
    } catch (const Error& error) {
        EXPECT_EQ(error.Code(), kKeyRemoved);
    }
    EXPECT_THROW(a.DeleteKey(AString()), Error);
}

TEST_F(RegistryTest, AKeyOpenedForReadingCantBeChanged) {
    Put(HKEY_CURRENT_USER, u"a", u"v", 1u);
    Store store(folders);
    Key key = *store.OpenKey(HKEY_CURRENT_USER, u"a", KEY_QUERY_VALUE);
    EXPECT_THROW(key.Set(u"v", 2u), Error);
    EXPECT_THROW(key.DeleteValue(u"v"), Error);
    EXPECT_THROW(key.DeleteKey(u"b"), Error);
    EXPECT_THROW(key.CreateKey(u"b", KEY_ALL_ACCESS), Error);
    EXPECT_EQ(key.GetNumber(u"v"), 1u);
}

TEST_F(RegistryTest, ClassesAreTheUsersBeforeTheMachines) {
    const char16_t* kUsers = u"Software\\Classes\\X";
    Put(HKEY_LOCAL_MACHINE, kUsers, u"", AString(u"machine"));
    Put(HKEY_LOCAL_MACHINE, kUsers, u"only machine", AString(u"m"));
    Put(HKEY_LOCAL_MACHINE, u"Software\\Classes\\X\\sub m", u"", 1u);
    EXPECT_EQ(Text(HKEY_CLASSES_ROOT, u"x", u""), "machine");

    // Where the user's file doesn't have the key, the machine's is written.
    Put(HKEY_CLASSES_ROOT, u"X", u"", u"machine again");
    EXPECT_EQ(Text(HKEY_LOCAL_MACHINE, kUsers, u""), "machine again");
    EXPECT_FALSE(fs::exists(UserFile()));

    Put(HKEY_CURRENT_USER, kUsers, u"", AString(u"user"));
    Put(HKEY_CURRENT_USER, u"Software\\Classes\\X\\sub u", u"", 1u);
    EXPECT_EQ(Text(HKEY_CLASSES_ROOT, u"X", u""), "user");
    EXPECT_EQ(Text(HKEY_CLASSES_ROOT, u"X", u"only machine"), "m");
    Store store(folders);
    Key key = *store.OpenKey(HKEY_CLASSES_ROOT, u"X", KEY_ALL_ACCESS);
    EXPECT_EQ(Utf8(key.KeyNames()), (std::vector<std::string>{"sub m", "sub u"}));
    EXPECT_EQ(Utf8(key.ValueNames()), (std::vector<std::string>{"", "only machine"}));

    // Where it does, a change would be hidden unless it went there.
    key.Set(AString(), AString(u"user again"));
    EXPECT_EQ(Text(HKEY_CLASSES_ROOT, u"X", u""), "user again");
    EXPECT_EQ(Text(HKEY_LOCAL_MACHINE, kUsers, u""), "machine again");

    Key classes = *store.OpenKey(HKEY_CLASSES_ROOT, AString(), KEY_ALL_ACCESS);
    EXPECT_TRUE(classes.DeleteKey(u"X"));
    EXPECT_EQ(Text(HKEY_CLASSES_ROOT, u"X", u""), "(none)");
}

TEST_F(RegistryTest, WithNoRightToTheMachinesFileTheUsersIsWritten) {
    BlockMachine(folders);
    Put(HKEY_CLASSES_ROOT, u"X", u"", u"user");
    EXPECT_EQ(Text(HKEY_CURRENT_USER, u"Software\\Classes\\X", u""), "user");
    Store store(folders);
    try {
        store.CreateKey(HKEY_LOCAL_MACHINE, u"a", KEY_ALL_ACCESS);
        FAIL() << "a file in the folder's place was written";
    } catch (const Error& error) {
        EXPECT_EQ(error.Code(), E_ACCESSDENIED);
        EXPECT_NE(std::string(error.what()).find(MachineFile().native()), std::string::npos) << error.what();
    }
}

TEST_F(RegistryTest, ADamagedFileIsNamedAndNeverReplaced) {
    const std::string kDamaged = "{\"format\": 1,\n\"keys\": {\"a\": {\"v\": ";
    WriteAll(UserFile(), kDamaged);
    Store store(folders);
    const std::function<void()> kActions[] = {
        [&] { store.OpenKey(HKEY_CURRENT_USER, u"a", KEY_QUERY_VALUE); },
        [&] { store.CreateKey(HKEY_CURRENT_USER, u"b", KEY_ALL_ACCESS); },
        [&] { store.Change(HKEY_CURRENT_USER, [](KeyNode& node) { node.Create(u"b"); }); },
    };
    for (const auto& action : kActions) {
        try {
            action();
            FAIL() << "the damage wasn't seen";
        } catch (const Error& error) {
            EXPECT_EQ(error.Code(), kDamagedStore);
            EXPECT_TRUE(std::string(error.what()).starts_with(UserFile().native() + ":2: ")) << error.what();
        }
        EXPECT_EQ(ReadAll(UserFile()), kDamaged);
    }
}

TEST_F(RegistryTest, WhatIsNoFileIsRefusedWithoutWaiting) {
    fs::create_directories(UserFile());
    Store store(folders);
    EXPECT_THROW(store.OpenKey(HKEY_CURRENT_USER, u"a", KEY_QUERY_VALUE), Error);
    fs::remove(UserFile());
    ASSERT_EQ(::mkfifo(UserFile().c_str(), 0600), 0);
    EXPECT_THROW(store.OpenKey(HKEY_CURRENT_USER, u"a", KEY_QUERY_VALUE), Error);
}

TEST_F(RegistryTest, AFullDiskLeavesTheFileAsItWas) {
    Put(HKEY_CURRENT_USER, u"a", u"v", u"old");
    std::string before = ReadAll(UserFile());
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit old_limit;
    ::getrlimit(RLIMIT_FSIZE, &old_limit);
    rlimit small = {1000, old_limit.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    HRESULT code = S_OK;
    try {
        Put(HKEY_CURRENT_USER, u"a", u"v", AString(std::u16string(2000, u'x')));
    } catch (const Error& error) {
        code = error.Code();
    }
    ::setrlimit(RLIMIT_FSIZE, &old_limit);
    EXPECT_EQ(code, E_FAIL);
    EXPECT_EQ(ReadAll(UserFile()), before);
    EXPECT_EQ(Text(HKEY_CURRENT_USER, u"a", u"v"), "old");
}

TEST_F(RegistryTest, SeveralChangesAreOneAndAThrowUndoesThem) {
    Store store(folders);
    store.Change(HKEY_CURRENT_USER, [](KeyNode& node) { node.Create(u"a").Set(u"v", 1u); });
    EXPECT_THROW(store.Change(HKEY_CURRENT_USER,
                              [](KeyNode& node) {
                                  node.Create(u"b");
                                  node.Create(u"\xD800");
                              }),
                 Error);
    EXPECT_TRUE(store.OpenKey(HKEY_CURRENT_USER, u"a", KEY_QUERY_VALUE));
    EXPECT_FALSE(store.OpenKey(HKEY_CURRENT_USER, u"b", KEY_QUERY_VALUE));
}

TEST_F(RegistryTest, AnOpenStoreSeesWhatOthersWrite) {
    Store reader(folders);
    Put(HKEY_CURRENT_USER, u"a", u"v", 0u);
    Key key = *reader.OpenKey(HKEY_CURRENT_USER, u"a", KEY_QUERY_VALUE);
    for (std::uint32_t i = 1; i < 10; ++i) {
        Put(HKEY_CURRENT_USER, u"a", u"v", i); // the same size each time
        EXPECT_EQ(key.GetNumber(u"v"), i);
    }
    fs::remove(UserFile());
    EXPECT_FALSE(key.GetNumber(u"v"));
}

TEST_F(RegistryTest, ALinkStaysALinkAndTheRightsStay) {
    fs::path target = m_Folder / "elsewhere" / "settings.json";
    WriteAll(target, "{\"format\": 1}");
    fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
    fs::create_directories(folders.user);
    fs::create_symlink(target, UserFile());
    Put(HKEY_CURRENT_USER, u"a", u"v", u"x");
    EXPECT_TRUE(fs::is_symlink(UserFile()));
    EXPECT_NE(ReadAll(target).find("\"v\": \"x\""), std::string::npos);
    EXPECT_EQ(fs::status(target).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(RegistryTest, WritersInSeveralProcessesLoseNoUpdate) {
    constexpr int kWriters = 3;
    constexpr int kUpdates = 40;
    pid_t children[kWriters];
    for (int writer = 0; writer < kWriters; ++writer) {
        children[writer] = ::fork();
        if (children[writer] == 0) {
            bool good = true;
            try {
                Store store(folders);
                Key key = store.CreateKey(HKEY_CURRENT_USER, u"a", KEY_ALL_ACCESS);
                for (int i = 0; i < kUpdates; ++i) {
                    key.Set(FromUtf8(std::to_string(writer) + "/" + std::to_string(i)), 1u);
                    store.Change(HKEY_CURRENT_USER, [](KeyNode& node) {
                        KeyNode& a = node.Create(u"a");
                        const Value* count = a.Get(u"count");
                        a.Set(u"count", count ? std::get<std::uint32_t>(*count) + 1 : 1u);
                    });
                }
            } catch (const Error&) {
                good = false;
            }
            ::_exit(good ? 0 : 1);
        }
    }
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    Store store(folders);
    Key key = *store.OpenKey(HKEY_CURRENT_USER, u"a", KEY_QUERY_VALUE);
    EXPECT_EQ(key.ValueNames().size(), std::size_t{kWriters * kUpdates + 1});
    EXPECT_EQ(key.GetNumber(u"count"), std::uint32_t{kWriters * kUpdates});
}

// The child tells each update through a pipe once it is done; it is killed at a moment of chance behind one
// of them.
TEST_F(RegistryTest, AWriterKilledAtAnyMomentLeavesAWholeFileWithAllThatWasDone) {
    Put(HKEY_CURRENT_USER, u"a", u"n", 0u);
    unsigned seed = 1;
    std::uint32_t total = 0; // updates that were told of
    for (int round = 0; round < 60; ++round) {
        int channel[2];
        ASSERT_EQ(::pipe(channel), 0);
        pid_t child = ::fork();
        if (child == 0) {
            try {
                Store store(folders);
                Key key = *store.OpenKey(HKEY_CURRENT_USER, u"a", KEY_ALL_ACCESS);
                for (;;) {
                    key.Set(u"n", *key.GetNumber(u"n") + 1);
                    if (::write(channel[1], "x", 1) != 1)
                        ::_exit(2);
                }
            } catch (const Error&) {
            }
            ::_exit(1);
        }
        ::close(channel[1]);
        char done;
        ASSERT_EQ(::read(channel[0], &done, 1), 1);
        ::usleep(static_cast<useconds_t>(::rand_r(&seed) % 3000));
        ::kill(child, SIGKILL);
        ++total;
        while (::read(channel[0], &done, 1) == 1)
            ++total;
        ::close(channel[0]);
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the writer failed";
        Store store(folders);
        std::uint32_t now = *store.OpenKey(HKEY_CURRENT_USER, u"a", KEY_QUERY_VALUE)->GetNumber(u"n");
        ASSERT_GE(now, total);
        ASSERT_LE(now, total + static_cast<std::uint32_t>(round) + 1)
            << "more than one update is open at a kill";
    }
}

TEST_F(RegistryTest, ReadersNeverSeeHalfAFile) {
    Put(HKEY_CURRENT_USER, u"a", u"n", 0u);
    std::atomic<bool> stop = false;
    std::thread writer([&] {
        Store store(folders);
        Key key = *store.OpenKey(HKEY_CURRENT_USER, u"a", KEY_ALL_ACCESS);
        for (std::uint32_t i = 1; !stop; ++i) {
            key.Set(u"n", i);
            key.Set(u"filler", AString(std::u16string(i * 37 % 5000, u'x')));
        }
    });
    Store store(folders);
    Key key = *store.OpenKey(HKEY_CURRENT_USER, u"a", KEY_QUERY_VALUE);
    std::uint32_t last = 0;
    while (last < 50) {
        std::optional<std::uint32_t> n = key.GetNumber(u"n");
        if (!n || *n < last) {
            ADD_FAILURE() << "a reader saw an older or a broken file";
            break;
        }
        last = *n;
    }
    stop = true;
    writer.join();
}

TEST_F(RegistryTest, FoldersFollowTheEnvironment) {
    const struct {
        const char* config_home;
        const char* home;
        const char* config_dirs;
        const char* user;
        const char* machine;
    } kCases[] = {
        {"/c", "/h", "/m", "/c/tarvokengine", "/m/tarvokengine"},
        {"", "/h", "", "/h/.config/tarvokengine", "/etc/xdg/tarvokengine"},
        {nullptr, "/h", nullptr, "/h/.config/tarvokengine", "/etc/xdg/tarvokengine"},
        {"relative", "/h", "relative:/m:/n", "/h/.config/tarvokengine", "/m/tarvokengine"},
        {"/c", nullptr, "::", "/c/tarvokengine", "/etc/xdg/tarvokengine"},
    };
    auto set = [](const char* name, const char* value) {
        value ? ::setenv(name, value, 1) : ::unsetenv(name);
    };
    const char* kNames[] = {"XDG_CONFIG_HOME", "HOME", "XDG_CONFIG_DIRS"};
    std::optional<std::string> saved[3];
    for (int i = 0; i < 3; ++i)
        if (const char* value = std::getenv(kNames[i]))
            saved[i] = value;
    for (const auto& c : kCases) {
        set("XDG_CONFIG_HOME", c.config_home);
        set("HOME", c.home);
        set("XDG_CONFIG_DIRS", c.config_dirs);
        Folders found = Folders::FromEnvironment();
        EXPECT_EQ(found.user, c.user);
        EXPECT_EQ(found.machine, c.machine);
    }
    for (int i = 0; i < 3; ++i)
        set(kNames[i], saved[i] ? saved[i]->c_str() : nullptr);
}

} // namespace
} // namespace registry
