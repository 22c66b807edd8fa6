#include <startup/registration.h>

#include <keldasimenginelib/keldasimenginelib.h>
#include <platform/dynamic_library.h>

#include <fmt/format.h>

#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <vector>

namespace {

using registry::FromUtf8;
using registry::KeyNode;

constexpr HRESULT kLibraryNotFound = static_cast<HRESULT>(0x8007007E);
constexpr HRESULT kEntryNotFound = static_cast<HRESULT>(0x8007007F);

enum class Undo {
    kRemove, // goes when no key is left below it
    kForce,  // goes with all below it; made anew when it is registered
    kKeep,   // stays, because others have entries below it
};

// One key below HKEY_CLASSES_ROOT, or one value of it.
struct Entry {
    std::string key;
    Undo undo = Undo::kRemove;
    std::optional<std::string> text = {}; // of the value
    std::string value = {};               // its name; empty for the key's default value
};
using Script = std::vector<Entry>;

const std::string kAppId = platform::ToString(KELDASIMENGINELib::kLibId);
const std::string kLibId = platform::ToString(KELDASIMENGINELib::kLibId);
const std::string kClassId = platform::ToString(KELDASIMENGINELib::kKeldaEngineClsid);

Script AppIdScript() {
    return {
        {"AppID", Undo::kKeep},
        {"AppID\\" + kAppId, Undo::kRemove, "keldasimengine"},
        {"AppID\\tarvok.EXE", Undo::kRemove, kAppId, "AppID"},
    };
}

Script ClassScript(const std::string& program) {
    const std::string kVersioned = "Keldasimengine.KeldaEngine.1";
    const std::string kProgId = "Keldasimengine.KeldaEngine";
    const std::string kName = "KeldaEngine Class";
    const std::string kClass = "CLSID\\" + kClassId;
    return {
        {kVersioned, Undo::kRemove, kName},
        {kVersioned + "\\CLSID", Undo::kRemove, kClassId},
        {kProgId, Undo::kRemove, kName},
        {kProgId + "\\CLSID", Undo::kRemove, kClassId},
        {kProgId + "\\CurVer", Undo::kRemove, kVersioned},
        {"CLSID", Undo::kKeep},
        {kClass, Undo::kForce, kName},
        {kClass, Undo::kRemove, kAppId, "AppID"},
        {kClass + "\\ProgID", Undo::kRemove, kVersioned},
        {kClass + "\\VersionIndependentProgID", Undo::kRemove, kProgId},
        {kClass + "\\Programmable", Undo::kForce},
        {kClass + "\\LocalServer32", Undo::kRemove, program},
        {kClass + "\\TypeLib", Undo::kRemove, kLibId},
    };
}

// The type library is compiled into the program: the program's file is where it is found.
Script TypeLibraryScript(const std::string& program) {
    const std::string kLibrary = "TypeLib\\" + kLibId;
    const std::string kVersion = kLibrary + "\\1.0";
    return {
        {"TypeLib", Undo::kKeep},
        {kLibrary},
        {kVersion, Undo::kForce, "tarvokengine 1.0 Type Library"},
        {kVersion + "\\FLAGS", Undo::kRemove, "0"},
        {kVersion + "\\409"},
        {kVersion + "\\409\\linux64", Undo::kRemove, program},
        {kVersion + "\\HELPDIR", Undo::kRemove, std::filesystem::path(program).parent_path().native()},
    };
}

std::vector<Script> AllScripts(const std::string& program) {
    return {AppIdScript(), ClassScript(program), TypeLibraryScript(program)};
}

void Apply(const Script& script, KeyNode& classes) {
    for (const Entry& entry : script) {
        if (entry.undo == Undo::kForce)
            classes.Remove(FromUtf8(entry.key));
        KeyNode& key = classes.Create(FromUtf8(entry.key));
        if (entry.text)
            key.Set(FromUtf8(entry.value), FromUtf8(*entry.text));
    }
}

void TakeBack(const Script& script, KeyNode& classes) {
    for (auto entry = script.rbegin(); entry != script.rend(); ++entry) {
        AString path = FromUtf8(entry->key);
        const KeyNode* key = classes.Find(path);
        if (key && (entry->undo == Undo::kForce || (entry->undo == Undo::kRemove && key->GetKeys().empty())))
            classes.Remove(path);
    }
}

bool Holds(registry::Store& store, registry::HKEY hive) {
    std::optional<registry::Key> classes =
        store.OpenKey(hive, registry::kClassesPath, registry::KEY_QUERY_VALUE);
    if (!classes)
        return false;
    for (const Script& script : AllScripts(""))
        for (const Entry& entry : script)
            if (entry.undo != Undo::kKeep && classes->OpenKey(FromUtf8(entry.key), registry::KEY_QUERY_VALUE))
                return true;
    return false;
}

} // namespace

void RegisterServer(registry::Store& store, const std::string& program) {
    if (registry::ToUtf8(FromUtf8(program)) != program)
        throw registry::Error(E_INVALIDARG, fmt::format("the program's path {} is no UTF-8", program));
    store.Change(registry::HKEY_CLASSES_ROOT, [&](KeyNode& classes) {
        for (const Script& script : AllScripts(program))
            Apply(script, classes);
    });
}

void UnregisterServer(registry::Store& store) {
    bool done = false;
    bool denied = false;
    for (registry::HKEY hive : {registry::HKEY_CURRENT_USER, registry::HKEY_LOCAL_MACHINE}) {
        if (!Holds(store, hive))
            continue;
        if (!store.MayWrite(hive)) {
            denied = true;
            continue;
        }
        store.Change(hive, [](KeyNode& root) {
            for (const Script& script : AllScripts(""))
                TakeBack(script, root.Create(registry::kClassesPath));
        });
        done = true;
    }
    if (denied && !done)
        throw registry::Error(
            E_ACCESSDENIED, "the server is registered for the machine, and this process may not change that");
}

HRESULT CallProxyLibrary(const std::string& folder, const char* entry) {
    constexpr char kFile[] = "libtarvokengineps.so"; // "tarvokengineps.dll" of this platform
    std::string error;
    platform::DynamicLibrary library = platform::DynamicLibrary::Load(folder + '/' + kFile, error);
    if (!library)
        library = platform::DynamicLibrary::Load(kFile, error);
    if (!library)
        return kLibraryNotFound;
    auto* function = reinterpret_cast<HRESULT (*)()>(library.Find(entry));
    return function ? function() : kEntryNotFound;
}

int RunRegistration(ServerRoad road) {
    bool is_register = road == ServerRoad::kRegister;
    HRESULT result = S_OK;
    try {
        registry::Store store;
        if (is_register)
            RegisterServer(store, std::filesystem::read_symlink("/proc/self/exe").native());
        else
            UnregisterServer(store);
    } catch (const registry::Error& error) {
        result = error.Code();
        fmt::print(stderr, "tarvok: {}\n", error.what());
    } catch (const std::exception& error) {
        result = E_FAIL;
        fmt::print(stderr, "tarvok: {}\n", error.what());
    }
    // The proxy library is not part of this system and may be absent.
    CallProxyLibrary(platform::ProgramFolder(), is_register ? "DllRegisterServer" : "DllUnregisterServer");
    return Failed(result) && (result & 0xFF) == 0 ? 1 : result & 0xFF;
}
