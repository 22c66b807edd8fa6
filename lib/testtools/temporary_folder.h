// A folder for files that nobody needs afterwards.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace testtools {

// A folder of its owner's, which goes with it.
class TemporaryFolder {
public:
    explicit TemporaryFolder(const std::string& name)
        : m_Path(Make(std::filesystem::temp_directory_path() / (name + "_XXXXXX"))) {}
    ~TemporaryFolder() {
        std::error_code ignored; // a process of the owner's may be leaving it only now
        std::filesystem::remove_all(m_Path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return m_Path; }
    std::string File(const std::string& name) const { return m_Path / name; }

private:
    static std::filesystem::path Make(std::string pattern) {
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no folder " + pattern);
        return pattern;
    }

    std::filesystem::path m_Path;
};

} // namespace testtools
