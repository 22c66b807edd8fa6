#include <mvcore/message_catalogue.h>

#include <debuglog/debug_log.h>
#include <platform/dynamic_library.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

using Formats = std::map<std::int32_t, AString>;

constexpr char kCatalogues[] = "tarvokengine/messages";

AString FromUtf8(const std::string& text) {
    AString units;
    units.Assign(kEncodingUtf8, text.data(), static_cast<int>(text.size()));
    return units;
}

Formats ReadFormats(std::istream& file) {
    Formats formats;
    const auto object = nlohmann::json::parse(file);
    if (!object.is_object())
        throw std::runtime_error("the file isn't one JSON object");
    for (const auto& [name, value] : object.items()) {
        std::int32_t id = 0;
        auto [end, failure] = std::from_chars(name.data(), name.data() + name.size(), id);
        if (failure != std::errc() || end != name.data() + name.size())
            throw std::runtime_error("\"" + name + "\" is no message id");
        if (!value.is_string())
            throw std::runtime_error("the format of message " + name + " is no text");
        AString format = FromUtf8(value.get<std::string>());
        if (format.empty() || format.size() >= MessageManagerStrings::kMaxMessageLength)
            throw std::runtime_error(
                "the format of message " + name + " has " + std::to_string(format.size()) + " units; 1 to " +
                std::to_string(MessageManagerStrings::kMaxMessageLength - 1) + " can be used");
        formats.insert_or_assign(id, std::move(format));
    }
    return formats;
}

// Nothing where there is no file that can be understood.
std::optional<Formats> ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return {};
    try {
        return ReadFormats(file);
    } catch (const std::exception& error) {
        DebugPrintf(u"%s",
                    FromUtf8("message catalogue " + path.string() + ": " + error.what() + "\n").c_str());
        return {};
    }
}

// A language as a locale's name gives it, without codeset and modifier; nothing if it names none, or a file
// elsewhere.
std::string LanguageOf(std::string_view locale) {
    std::string_view language = locale.substr(0, locale.find_first_of(".@"));
    if (language == "C" || language == "POSIX" || language.find('/') != language.npos)
        return {};
    return std::string(language);
}

std::string_view Environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

} // namespace

class MessageCatalogue::Module final : public MessageModule {
public:
    explicit Module(std::vector<Formats> languages) : m_Languages(std::move(languages)) {}

    bool LoadString(std::int32_t messageId, AString& format) const override {
        for (const Formats& formats : m_Languages)
            if (auto found = formats.find(messageId); found != formats.end()) {
                format = found->second;
                return true;
            }
        SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
        return false;
    }

private:
    const std::vector<Formats> m_Languages;
};

MessageCatalogue::MessageCatalogue(fs::path folder, std::vector<std::string> languages)
    : m_Folder(std::move(folder)), m_Languages(std::move(languages)) {}

MessageCatalogue::~MessageCatalogue() = default;

const MessageModule* MessageCatalogue::GetLib(std::int32_t libId) {
    std::lock_guard lock(m_Mutex);
    auto [place, isNew] = m_Modules.try_emplace(libId);
    if (isNew && !m_Folder.empty()) {
        std::vector<Formats> found;
        for (const std::string& language : m_Languages)
            if (auto formats = ReadFile(m_Folder / language / (std::to_string(libId) + ".json")))
                found.push_back(std::move(*formats));
        if (!found.empty())
            place->second = std::make_unique<Module>(std::move(found));
    }
    return place->second.get();
}

fs::path MessageCatalogue::DefaultFolder() {
    if (std::string_view named = Environment("TARVOK_MESSAGES"); !named.empty())
        return named;
    std::vector<fs::path> folders{fs::path(platform::ProgramFolder()) / "../share" / kCatalogues};
    std::string_view shared = Environment("XDG_DATA_DIRS");
    if (shared.empty())
        shared = "/usr/local/share:/usr/share";
    for (std::size_t begin = 0; begin < shared.size();) {
        std::size_t end = std::min(shared.find(':', begin), shared.size());
        if (fs::path folder = shared.substr(begin, end - begin); folder.is_absolute())
            folders.push_back(folder / kCatalogues);
        begin = end + 1;
    }
    std::error_code ignored;
    auto found = std::ranges::find_if(
        folders, [&](const fs::path& folder) { return fs::is_directory(folder, ignored); });
    return found == folders.end() ? fs::path() : *found;
}

std::vector<std::string> MessageCatalogue::UserLanguages() {
    std::vector<std::string> languages;
    auto add = [&languages](std::string_view locale) {
        std::string language = LanguageOf(locale);
        std::string wide = language.substr(0, language.find('_'));
        for (const std::string& name : {language, wide})
            if (!name.empty() && std::ranges::find(languages, name) == languages.end())
                languages.push_back(name);
    };
    std::string_view locale;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (locale.empty())
            locale = Environment(name);
    if (!LanguageOf(locale).empty()) {
        std::string_view list = Environment("LANGUAGE");
        for (std::size_t begin = 0; begin < list.size();) {
            std::size_t end = std::min(list.find(':', begin), list.size());
            add(list.substr(begin, end - begin));
            begin = end + 1;
        }
        add(locale);
    }
    add("en");
    return languages;
}
