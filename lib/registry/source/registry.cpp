#include "hive_file.h"

#include <registry/registry.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string_view>
#include <utility>

#include <pwd.h>
#include <unistd.h>

namespace registry {

namespace fs = std::filesystem;

namespace {

constexpr char kFolderName[] = "tarvokengine";

std::string_view Environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// Paths in these variables that don't begin at the root are to be ignored.
bool IsUsable(std::string_view path) {
    return path.starts_with('/');
}

fs::path Home() {
    if (std::string_view home = Environment("HOME"); IsUsable(home))
        return home;
    char buffer[4096];
    passwd entry;
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found &&
        IsUsable(found->pw_dir))
        return found->pw_dir;
    return {};
}

AString Join(const AString& root, const AString& path) {
    return AString(root + u'\\' + path);
}

bool IsRoot(const AString& path) {
    return path.find_first_not_of(u'\\') == AString::npos;
}

bool IsWriting(AccessRights access) {
    return (access & ~KEY_QUERY_VALUE) != 0;
}

const char* Name(HKEY hive) {
    switch (hive) {
    case HKEY_CLASSES_ROOT:
        return "HKEY_CLASSES_ROOT";
    case HKEY_CURRENT_USER:
        return "HKEY_CURRENT_USER";
    default:
        return "HKEY_LOCAL_MACHINE";
    }
}

} // namespace

Folders Folders::FromEnvironment() {
    Folders folders;
    if (std::string_view config = Environment("XDG_CONFIG_HOME"); IsUsable(config))
        folders.user = fs::path(config) / kFolderName;
    else if (fs::path home = Home(); !home.empty())
        folders.user = home / ".config" / kFolderName;

    std::string_view list = Environment("XDG_CONFIG_DIRS");
    while (!list.empty() && folders.machine.empty()) {
        std::string_view first = list.substr(0, list.find(':'));
        list.remove_prefix(std::min(first.size() + 1, list.size()));
        if (IsUsable(first))
            folders.machine = fs::path(first) / kFolderName;
    }
    if (folders.machine.empty())
        folders.machine = fs::path("/etc/xdg") / kFolderName;
    return folders;
}

Store::Store(const Folders& folders)
    : m_User(std::make_unique<HiveFile>(folders.user)),
      m_Machine(std::make_unique<HiveFile>(folders.machine)) {}

Store::~Store() = default;

std::vector<Store::Place> Store::Places(HKEY hive) const {
    switch (hive) {
    case HKEY_CLASSES_ROOT:
        return {{m_User.get(), AString(kClassesPath)}, {m_Machine.get(), AString(kClassesPath)}};
    case HKEY_CURRENT_USER:
        return {{m_User.get(), AString()}};
    default:
        return {{m_Machine.get(), AString()}};
    }
}

std::vector<const KeyNode*> Store::Nodes(HKEY hive, const AString& path) const {
    std::vector<const KeyNode*> nodes;
    for (const Place& place : Places(hive))
        if (const KeyNode* node = place.file->Read().Find(Join(place.root, path)))
            nodes.push_back(node);
    return nodes;
}

Store::Place Store::WritePlace(HKEY hive, const AString& path) const {
    std::vector<Place> places = Places(hive);
    const Place& first = places.front();
    if (places.size() == 1 || first.file->Read().Find(Join(first.root, path)) ||
        !places.back().file->MayWrite())
        return first;
    return places.back();
}

void Store::RequireWriting(HKEY hive, const AString& path) const {
    if (const Place place = WritePlace(hive, path); !place.file->MayWrite())
        throw Error(E_ACCESSDENIED, fmt::format("{} can't be written: this process has no right to write {}",
                                                Name(hive), place.file->Name()));
}

std::optional<Key> Store::OpenKey(HKEY hive, const AString& path, AccessRights access) {
    if (!IsRoot(path) && Nodes(hive, path).empty())
        return std::nullopt;
    if (IsWriting(access))
        RequireWriting(hive, path);
    return Key(*this, hive, path, access);
}

Key Store::CreateKey(HKEY hive, const AString& path, AccessRights access) {
    if (std::optional<Key> key = OpenKey(hive, path, access))
        return *key;
    RequireWriting(hive, path);
    Place place = WritePlace(hive, path);
    place.file->Change([&](KeyNode& root) { root.Create(Join(place.root, path)); });
    return Key(*this, hive, path, access);
}

bool Store::MayWrite(HKEY hive) const {
    std::vector<Place> places = Places(hive);
    return std::any_of(places.begin(), places.end(),
                       [](const Place& place) { return place.file->MayWrite(); });
}

void Store::Change(HKEY hive, const std::function<void(KeyNode&)>& change) {
    std::vector<Place> places = Places(hive);
    const Place& place = places.back().file->MayWrite() ? places.back() : places.front();
    place.file->Change([&](KeyNode& root) { change(root.Create(place.root)); });
}

bool Store::Remove(HKEY hive, const AString& path,
                   const std::function<bool(KeyNode&, const AString&)>& remove) {
    bool found = false;
    const HiveFile* denied = nullptr;
    for (const Place& place : Places(hive)) {
        AString full = Join(place.root, path);
        if (!place.file->Read().Find(full))
            continue;
        if (!place.file->MayWrite()) {
            denied = place.file;
            continue;
        }
        place.file->Change([&](KeyNode& root) { found |= remove(root, full); });
    }
    if (!found && denied)
        throw Error(E_ACCESSDENIED,
                    fmt::format("{}\\{} can't be deleted: this process has no right to write {}", Name(hive),
                                ToUtf8(path), denied->Name()));
    return found;
}

void Key::RequireWriting() const {
    if (!IsWriting(m_Access))
        throw Error(E_ACCESSDENIED,
                    fmt::format("{}\\{} was opened for reading only", Name(m_Hive), ToUtf8(m_Path)));
}

std::optional<Key> Key::OpenKey(const AString& subKey, AccessRights access) const {
    return m_Store->OpenKey(m_Hive, Join(m_Path, subKey), access);
}

Key Key::CreateKey(const AString& subKey, AccessRights access) const {
    RequireWriting();
    return m_Store->CreateKey(m_Hive, Join(m_Path, subKey), access);
}

std::vector<AString> Key::KeyNames() const {
    std::set<AString, NameLess> names;
    for (const KeyNode* node : m_Store->Nodes(m_Hive, m_Path))
        for (const auto& [name, child] : node->GetKeys())
            names.insert(name);
    return {names.begin(), names.end()};
}

std::vector<AString> Key::ValueNames() const {
    std::set<AString, NameLess> names;
    for (const KeyNode* node : m_Store->Nodes(m_Hive, m_Path))
        for (const auto& [name, value] : node->GetValues())
            names.insert(name);
    return {names.begin(), names.end()};
}

std::optional<Value> Key::Get(const AString& name) const {
    for (const KeyNode* node : m_Store->Nodes(m_Hive, m_Path))
        if (const Value* value = node->Get(name))
            return *value;
    return std::nullopt;
}

std::optional<AString> Key::GetText(const AString& name) const {
    std::optional<Value> value = Get(name);
    const AString* text = value ? std::get_if<AString>(&*value) : nullptr;
    return text ? std::optional(*text) : std::nullopt;
}

std::optional<std::uint32_t> Key::GetNumber(const AString& name) const {
    std::optional<Value> value = Get(name);
    const std::uint32_t* number = value ? std::get_if<std::uint32_t>(&*value) : nullptr;
    return number ? std::optional(*number) : std::nullopt;
}

void Key::Set(const AString& name, Value value) const {
    RequireWriting();
    bool exists = IsRoot(m_Path) || !m_Store->Nodes(m_Hive, m_Path).empty();
    if (!exists)
        throw Error(kKeyRemoved, fmt::format("{}\\{} has been removed", Name(m_Hive), ToUtf8(m_Path)));
    Store::Place place = m_Store->WritePlace(m_Hive, m_Path);
    place.file->Change(
        [&](KeyNode& root) { root.Create(Join(place.root, m_Path)).Set(name, std::move(value)); });
}

bool Key::DeleteValue(const AString& name) const {
    RequireWriting();
    return m_Store->Remove(m_Hive, m_Path, [&](KeyNode& root, const AString& path) {
        KeyNode* node = root.Find(path);
        return node && node->RemoveValue(name);
    });
}

bool Key::DeleteKey(const AString& subKey) const {
    RequireWriting();
    if (IsRoot(subKey))
        throw Error(E_INVALIDARG, "the name of the key to delete is empty");
    return m_Store->Remove(m_Hive, Join(m_Path, subKey),
                           [](KeyNode& root, const AString& path) { return root.Remove(path); });
}

} // namespace registry
