// A file that is there when it is whole and not before.
//
// It is written without a name where the file system can do that, else under a temporary one, so that a job
// that is ended in the middle leaves nothing behind. Every write is checked: what fails throws JobError with
// CKT_NOT_WRITTEN, which names the path and the reason.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace ckt {

class OutputFile {
public:
    explicit OutputFile(std::string path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Room for `size` bytes (at most 64 KiB) to be filled in place; `used` takes the end of what was filled.
    char* room(std::size_t size) {
        if (size > buffer_size - m_size)
            write_out();
        return m_buffer.get() + m_size;
    }
    void used(const char* end) { m_size = static_cast<std::size_t>(end - m_buffer.get()); }

    void text(std::string_view text);
    // The shortest digits that give the same number when read.
    void number(double value);

    // Writes what is left and gives the file its name, in place of an older file.
    void commit();

    const std::string& path() const { return m_path; }

private:
    static constexpr std::size_t buffer_size = std::size_t{1} << 18;

    void write_out();
    [[noreturn]] void fail(int error) const;

    std::string m_path;
    std::string m_temporary; // empty while the file has no name
    int m_file = -1;
    std::unique_ptr<char[]> m_buffer;
    std::size_t m_size = 0;
};

} // namespace ckt
