// Message libraries kept as data files, so that a client builds the words of a message in its user's language.
//
//   MessageCatalogue catalogue;                     // the user's languages, the installed files
//   message.BuildMessage(error, &catalogue);
//
// The formats of library L in language X are the file FOLDER/X/L.json: one JSON object in UTF-8 whose names are
// message ids in decimal and whose values are formats, each shorter than kMaxMessageLength units. A format that
// the first language lacks is taken from the next one that has it. A file that can't be understood counts as
// missing, and the debug log says why.
//
// Any thread may use a catalogue; a file is read when its library is asked for the first time.
#pragma once

#include <mvcore/message_lib.h>

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class MessageCatalogue final : public MessageLib {
public:
    // Languages as file names, the one that is wanted most first.
    explicit MessageCatalogue(std::filesystem::path folder = DefaultFolder(),
                              std::vector<std::string> languages = UserLanguages());
    ~MessageCatalogue();

    // Null where no language has the library.
    const MessageModule* GetLib(std::int32_t libId) override;

    // The folder that TARVOK_MESSAGES names; else the first that is there of ../share/tarvokengine/messages as
    // seen from the program, and tarvokengine/messages in the folders of XDG_DATA_DIRS. Empty if none is.
    static std::filesystem::path DefaultFolder();

    // What LANGUAGE (where the locale isn't "C") and LC_ALL, LC_MESSAGES or LANG name, each with its territory
    // and without ("de_AT", "de"), and "en" as the last.
    static std::vector<std::string> UserLanguages();

private:
    class Module;

    const std::filesystem::path m_Folder;
    const std::vector<std::string> m_Languages;
    std::mutex m_Mutex;
    std::map<std::int32_t, std::unique_ptr<Module>> m_Modules;
};
