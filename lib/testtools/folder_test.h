// Tests with files.
#pragma once

#include <testtools/temporary_folder.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace testtools {

// What can be read of the file, nothing where it vanishes meanwhile.
inline std::string ReadAll(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

// A test with a folder of its own, which goes with it.
class FolderTest : public testing::Test {
protected:
    explicit FolderTest(const std::string& name) : m_Temporary(name), m_Folder(m_Temporary.Path()) {}

    void Write(const std::string& name, const std::string& bytes = {}) const {
        std::ofstream(m_Folder / name, std::ios::binary) << bytes;
    }
    void Remove(const std::string& name) const { std::filesystem::remove(m_Folder / name); }
    bool Exists(const std::string& name) const { return std::filesystem::exists(m_Folder / name); }

private:
    const TemporaryFolder m_Temporary;

protected:
    const std::filesystem::path& m_Folder;
};

} // namespace testtools
