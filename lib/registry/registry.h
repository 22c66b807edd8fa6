// The registry: named settings in hives, kept in files that a person can read and edit.
//
//   registry::Store store;                                              // the user's and the machine's files
//   if (auto key = store.OpenKey(registry::HKEY_CURRENT_USER, AString(u"software\\Orvane"), KEY_QUERY_VALUE))
//       key->GetText(AString(u"ProjectDirectory"));
//
// HKEY_CURRENT_USER is the file kFileName in $XDG_CONFIG_HOME/tarvokengine (~/.config where the variable
// isn't set), HKEY_LOCAL_MACHINE the one under the first folder of $XDG_CONFIG_DIRS (/etc/xdg).
// HKEY_CLASSES_ROOT shows the key "Software\Classes" of both, the user's before the machine's: a key exists
// where either has it, and a value is the user's where the user has it. What is written there goes to the
// user's where the user's file has the key; else to the machine's if the process may write that, else to the
// user's. Deleting there takes a key or value out of every file that has it and that the process may write.
//
// Every operation sees the file as it is at that moment; a file that hasn't changed isn't read again. Reading
// takes no lock, because a writer replaces the whole file at once; writers wait for each other, so no change
// is lost between them, and a writer that is killed leaves the file as it was before or as it is after. A
// missing file is an empty hive. Every operation throws Error as error.h says.
//
// A store and its keys belong to one thread at a time; any number of stores, in any number of processes, may
// work on the same files. The store outlives its keys.
#pragma once

#include <registry/error.h>
#include <registry/key_node.h>
#include <stringutils/astring.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace registry {

// Where the files of HKEY_CURRENT_USER and HKEY_LOCAL_MACHINE hold what HKEY_CLASSES_ROOT shows.
inline constexpr char16_t kClassesPath[] = u"Software\\Classes";

enum HKEY { HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE };

using AccessRights = std::uint32_t;
inline constexpr AccessRights KEY_QUERY_VALUE = 1;
inline constexpr AccessRights KEY_ALL_ACCESS = 0xF003F;

inline constexpr char kFileName[] = "registry.json";

// The folders of the two files. An empty path is a hive that can be neither found nor written.
struct Folders {
    std::filesystem::path user;
    std::filesystem::path machine;

    static Folders FromEnvironment();
};

class HiveFile;
class Store;

// One opened key. It stays usable when the key is removed by somebody else: it then holds nothing and can't
// be written.
class Key {
public:
    // Below the hive, as it was opened.
    const AString& Path() const { return m_Path; }

    std::optional<Key> OpenKey(const AString& subKey, AccessRights access) const;
    Key CreateKey(const AString& subKey, AccessRights access) const;

    // In alphabetical order.
    std::vector<AString> KeyNames() const;
    std::vector<AString> ValueNames() const;

    // Nothing where the value is missing; GetText and GetNumber also where it is of another kind.
    std::optional<Value> Get(const AString& name) const;
    std::optional<AString> GetText(const AString& name) const;
    std::optional<std::uint32_t> GetNumber(const AString& name) const;

    void Set(const AString& name, Value value) const;
    // False where there is no such value or key.
    bool DeleteValue(const AString& name) const;
    // With force: the whole tree below it goes too. An empty `subKey` is E_INVALIDARG.
    bool DeleteKey(const AString& subKey) const;

private:
    friend class Store;
    Key(Store& store, HKEY hive, AString path, AccessRights access)
        : m_Store(&store), m_Hive(hive), m_Path(std::move(path)), m_Access(access) {}
    void RequireWriting() const;

    Store* m_Store;
    HKEY m_Hive;
    AString m_Path;
    AccessRights m_Access;
};

class Store {
public:
    explicit Store(const Folders& folders = Folders::FromEnvironment());
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    // Nothing where the key is missing. Writing rights that the process doesn't have are E_ACCESSDENIED.
    std::optional<Key> OpenKey(HKEY hive, const AString& path, AccessRights access);
    // Opens the key, made with all that lead to it where it is missing.
    Key CreateKey(HKEY hive, const AString& path, AccessRights access);

    // Whether the process has the right to write the hive; one of its two files in HKEY_CLASSES_ROOT's case.
    bool MayWrite(HKEY hive) const;

    // Several changes as one: `change` gets the hive's root (of HKEY_CLASSES_ROOT that of the machine's
    // classes if the process may write them, else of the user's), and what it leaves is written at once or,
    // when it throws, not at all. `change` doesn't use the store.
    void Change(HKEY hive, const std::function<void(KeyNode& root)>& change);

private:
    friend class Key;

    // A part of a file that a hive shows.
    struct Place {
        HiveFile* file;
        AString root;
    };
    std::vector<Place> Places(HKEY hive) const; // the first hides what the next has
    std::vector<const KeyNode*> Nodes(HKEY hive, const AString& path) const;
    Place WritePlace(HKEY hive, const AString& path) const;
    void RequireWriting(HKEY hive, const AString& path) const;
    // Removes from every place that the process may write; tells whether anything was.
    bool Remove(HKEY hive, const AString& path,
                const std::function<bool(KeyNode& root, const AString& path)>& remove);

    std::unique_ptr<HiveFile> m_User;
    std::unique_ptr<HiveFile> m_Machine;
};

} // namespace registry
