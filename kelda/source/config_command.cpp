#include "config_command.h"

#include "deliver.h"
#include "exit_status.h"
#include "name_path.h"
#include "output.h"
#include "printable.h"

#include <registry/registry_access.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <memory>
#include <optional>

namespace {

constexpr char kConfigFooter[] = R"(
A NAME is the names of keys and, as the last one, that of a value, divided by /; a backslash takes the next
character as it is. It counts from the product's key (software/Orvane/Atelier/2.0) or, with a / in front, from
the top. Upper and lower case are the same.

Without --machine the settings are the user's.

Exit status: 0 done, 1 there is no such setting or the store can't be used, 2 wrong use.

Examples:
  kelda config set Desktop/ProjectDirectory ~/projects
  kelda config get Desktop/ProjectDirectory
  kelda config list --machine)";

struct ConfigOptions {
    std::string name;
    std::string value;
    std::string type = "text";
    bool machine = false;
    bool json = false;
};

struct SettingPath {
    AString key; // from the top of the hive
    AString value;
};

// The store divides the names of a path by backslashes, so no name can hold one.
AString KeyPath(const std::vector<std::string>& names, bool fromTop) {
    AString path;
    if (!fromTop) {
        path = AString(u"software\\");
        path += AString(RegistryAccess::kDefaultProductKey);
    }
    for (const std::string& name : names) {
        if (name.find('\\') != name.npos)
            throw CLI::ValidationError("NAME", "the name of a key can't hold a backslash: " + name);
        if (!path.empty())
            path += u'\\';
        path += registry::FromUtf8(name);
    }
    return path;
}

bool FromTop(const std::string& name) {
    return name.starts_with('/');
}

SettingPath PathOf(const std::string& name) {
    const bool fromTop = FromTop(name);
    std::vector<std::string> names = NamesOfPath(fromTop ? std::string_view(name).substr(1) : name);
    const AString value = registry::FromUtf8(names.back());
    names.pop_back();
    return {KeyPath(names, fromTop), value};
}

registry::HKEY Hive(const ConfigOptions& options) {
    return options.machine ? registry::HKEY_LOCAL_MACHINE : registry::HKEY_CURRENT_USER;
}

std::string File(const ConfigOptions& options) {
    const registry::Folders folders = registry::Folders::FromEnvironment();
    return ((options.machine ? folders.machine : folders.user) / registry::kFileName).string();
}

const char* TypeName(const registry::Value& value) {
    constexpr const char* kNames[] = {"text", "number", "bytes"};
    return kNames[value.index()];
}

std::string HexDigits(const std::vector<std::uint8_t>& bytes) {
    return fmt::format("{:02x}", fmt::join(bytes, ""));
}

// As `set` takes it.
std::string ValueText(const registry::Value& value) {
    if (const auto* text = std::get_if<AString>(&value))
        return registry::ToUtf8(*text);
    if (const auto* number = std::get_if<std::uint32_t>(&value))
        return std::to_string(*number);
    return HexDigits(std::get<std::vector<std::uint8_t>>(value));
}

std::string JsonLine(const std::string& name, const registry::Value& value) {
    nlohmann::ordered_json line{{"name", name}, {"type", TypeName(value)}};
    if (const auto* number = std::get_if<std::uint32_t>(&value))
        line["value"] = *number;
    else
        line["value"] = ValueText(value);
    return line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::uint32_t ReadNumber(const std::string& text) {
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const char* begin = text.data() + (hex ? 2 : 0);
    const char* end = text.data() + text.size();
    std::uint32_t number = 0;
    auto [stop, failure] = std::from_chars(begin, end, number, hex ? 16 : 10);
    if (failure != std::errc() || stop != end)
        throw CLI::ValidationError(
            "VALUE", text + " is no number from 0 to 4294967295, decimal or 0x and hexadecimal");
    return number;
}

std::vector<std::uint8_t> ReadBytes(const std::string& text) {
    std::vector<std::uint8_t> bytes(text.size() / 2);
    const char* digits = text.data();
    bool good = text.size() % 2 == 0;
    for (std::uint8_t& byte : bytes) {
        auto [stop, failure] = std::from_chars(digits, digits + 2, byte, 16);
        good = good && failure == std::errc() && stop == digits + 2;
        digits += 2;
    }
    if (!good)
        throw CLI::ValidationError("VALUE", text + " is no row of bytes, two hexadecimal digits each");
    return bytes;
}

registry::Value ReadValue(const ConfigOptions& options) {
    if (options.type == "number")
        return ReadNumber(options.value);
    if (options.type == "bytes")
        return ReadBytes(options.value);
    AString text = registry::FromUtf8(options.value);
    if (registry::ToUtf8(text) != options.value)
        throw CLI::ValidationError("VALUE", "the text isn't UTF-8");
    return text;
}

// The nearest that there is of what was looked for.
std::string WhatIsThere(const std::optional<registry::Key>& key) {
    std::vector<AString> names;
    if (key)
        names = key->ValueNames();
    if (names.empty())
        return {};
    std::string list;
    for (const AString& name : names)
        list += (list.empty() ? "" : ", ") + Printable(name, LineEnds::kWritten);
    return "; the key holds " + list;
}

int NoSetting(const ConfigOptions& options, const std::optional<registry::Key>& key) {
    return Fail(fmt::format("there is no setting {} in {}{}", options.name, File(options), WhatIsThere(key)));
}

int GetSetting(const ConfigOptions& options) {
    registry::Store store;
    const SettingPath path = PathOf(options.name);
    const auto key = store.OpenKey(Hive(options), path.key, registry::KEY_QUERY_VALUE);
    const auto value = key ? key->Get(path.value) : std::nullopt;
    if (!value)
        return NoSetting(options, key);
    return Deliver(options.json ? JsonLine(options.name, *value) : ValueText(*value) + "\n", "-", kDone);
}

int SetSetting(const ConfigOptions& options) {
    registry::Value value = ReadValue(options);
    const SettingPath path = PathOf(options.name);
    registry::Store()
        .CreateKey(Hive(options), path.key, registry::KEY_ALL_ACCESS)
        .Set(path.value, std::move(value));
    return kDone;
}

int UnsetSetting(const ConfigOptions& options) {
    registry::Store store;
    const SettingPath path = PathOf(options.name);
    const auto key = store.OpenKey(Hive(options), path.key, registry::KEY_QUERY_VALUE);
    if (!key || !key->Get(path.value))
        return NoSetting(options, key);
    const auto writable = store.OpenKey(Hive(options), path.key, registry::KEY_ALL_ACCESS);
    return writable && writable->DeleteValue(path.value) ? kDone : NoSetting(options, writable);
}

void ListKey(const registry::Key& top, bool json, std::string& list) {
    struct Level {
        registry::Key key;
        std::string prefix;
    };
    std::vector<Level> open{{top, ""}};
    while (!open.empty()) {
        Level level = std::move(open.back());
        open.pop_back();
        for (const AString& name : level.key.ValueNames()) {
            const auto value = level.key.Get(name);
            if (!value)
                continue; // removed meanwhile
            const std::string path = level.prefix + QuotedName(registry::ToUtf8(name));
            list += json ? JsonLine(path, *value)
                         : Printable(path, LineEnds::kWritten) + " = " +
                               Printable(ValueText(*value), LineEnds::kWritten) + "\n";
        }
        std::vector<AString> names = level.key.KeyNames();
        for (auto name = names.rbegin(); name != names.rend(); ++name)
            if (auto key = level.key.OpenKey(*name, registry::KEY_QUERY_VALUE))
                open.push_back({std::move(*key), level.prefix + QuotedName(registry::ToUtf8(*name)) + "/"});
    }
}

int ListSettings(const ConfigOptions& options) {
    registry::Store store;
    const bool fromTop = FromTop(options.name);
    std::vector<std::string> names;
    if (!options.name.empty())
        names = NamesOfPath(fromTop ? std::string_view(options.name).substr(1) : options.name);
    const auto key = store.OpenKey(Hive(options), KeyPath(names, fromTop), registry::KEY_QUERY_VALUE);
    std::string list;
    if (key)
        ListKey(*key, options.json, list);
    else if (!options.name.empty())
        return Fail(fmt::format("there is no key {} in {}", options.name, File(options)));
    return Deliver(list, "-", kDone);
}

} // namespace

void AddConfigCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<ConfigOptions>();
    CLI::App* config = app.add_subcommand("config", "Look at and change the settings");
    config->require_subcommand(1);
    config->footer(kConfigFooter);
    const auto add = [&](const char* name, const char* what, const char* example,
                         int (*work)(const ConfigOptions&)) {
        CLI::App* command = config->add_subcommand(name, what);
        command->add_flag("--machine", options->machine, "The settings of the machine, not the user's");
        command->footer(std::string("\nExample:\n  kelda config ") + example);
        command->callback([options, work, &status] {
            try {
                status = work(*options);
            } catch (const registry::Error& error) {
                status = Fail(error.what());
            }
        });
        return command;
    };
    const auto named = [&](CLI::App* command) {
        command->add_option("NAME", options->name, std::string("The setting. ") + kNamePathHelp)
            ->required()
            ->type_name("");
        return command;
    };
    const auto jsonFlag = [&](CLI::App* command) {
        command->add_flag("--json", options->json, "One object a setting, with name, type and value");
    };

    jsonFlag(named(add("get", "Show one setting", "get Desktop/ProjectDirectory", GetSetting)));

    CLI::App* set = named(
        add("set", "Change a setting or make it", "set Desktop/ProjectDirectory ~/projects", SetSetting));
    set->add_option("VALUE", options->value, "What it is set to")->required()->type_name("");
    set->add_option("--type", options->type, "text, number (32 bits) or bytes (hexadecimal digits)")
        ->type_name("TYPE")
        ->check(CLI::IsMember({"text", "number", "bytes"}));

    named(add("unset", "Remove a setting", "unset Desktop/ProjectDirectory", UnsetSetting));

    CLI::App* list =
        add("list", "Show the settings of a key and of all keys below it", "list Desktop", ListSettings);
    list->add_option("KEY", options->name, std::string("Without it the product's. ") + kNamePathHelp)
        ->type_name("");
    jsonFlag(list);
}
