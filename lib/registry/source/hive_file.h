// One hive's file.
#pragma once

#include <platform/unique_fd.h>
#include <registry/key_node.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include <sys/stat.h>

namespace registry {

// What tells one state of a file from another. A writer makes a new file, whose number differs from that of
// one that is still open.
struct FileState {
    dev_t device = 0;
    ino_t number = 0;
    off_t size = 0;
    timespec written{};

    static FileState Of(const struct stat& status);
    friend bool operator==(const FileState& a, const FileState& b) {
        return a.device == b.device && a.number == b.number && a.size == b.size &&
               a.written.tv_sec == b.written.tv_sec && a.written.tv_nsec == b.written.tv_nsec;
    }
};

class HiveFile {
public:
    // `folder` may be empty: the hive is then empty and can't be written.
    explicit HiveFile(const std::filesystem::path& folder);

    // The hive as the file holds it now; good until the next call of this object.
    const KeyNode& Read();

    const std::string& Name() const { return m_File.native(); }

    // Whether the process may write the file, which may be missing, with the folders that lead to it.
    bool MayWrite() const;

    // Reads the file, lets `change` work on the tree and writes it, while other writers wait. Nothing is
    // written when `change` throws or changes nothing.
    void Change(const std::function<void(KeyNode&)>& change);

private:
    // Nothing where there is no file.
    std::optional<std::string> ReadText(platform::UniqueFd& descriptor) const;
    void WriteText(const std::filesystem::path& file, const std::string& text) const;

    std::filesystem::path m_File;
    KeyNode m_Root;
    platform::UniqueFd m_Open; // the file that m_Root was read from
    FileState m_State;         // and how it was then
};

} // namespace registry
