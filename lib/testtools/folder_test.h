// Tests with files.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace testtools {

// What can be read of the file, nothing where it vanishes meanwhile.
inline std::string ReadAll(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

// A folder of the test's own, which goes with it.
class FolderTest : public testing::Test {
protected:
    explicit FolderTest(const std::string& name)
        : m_Folder(Make(std::filesystem::temp_directory_path() / (name + "_XXXXXX"))) {}
    ~FolderTest() override {
        std::error_code ignored; // a process of the test may be leaving it only now
        std::filesystem::remove_all(m_Folder, ignored);
    }

    void Write(const std::string& name, const std::string& bytes = {}) const {
        std::ofstream(m_Folder / name, std::ios::binary) << bytes;
    }
    void Remove(const std::string& name) const { std::filesystem::remove(m_Folder / name); }
    bool Exists(const std::string& name) const { return std::filesystem::exists(m_Folder / name); }

    const std::filesystem::path m_Folder;

private:
    static std::filesystem::path Make(std::string pattern) {
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no folder for the test: " + pattern);
        return pattern;
    }
};

} // namespace testtools
