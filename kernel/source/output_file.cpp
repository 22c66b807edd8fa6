#include "output_file.h"

#include "job_error.h"

#include <ckt_kernel.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ckt {

namespace {
constexpr mode_t everybody = 0666; // less what the user's mask takes away
}

OutputFile::OutputFile(std::string path) : m_path(std::move(path)), m_buffer(new char[buffer_size]) {
    const std::filesystem::path folder = std::filesystem::path(m_path).parent_path();
    m_file = ::open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, everybody);
    if (m_file >= 0)
        return;
    m_temporary = fmt::format("{}.{}.part", m_path, ::getpid());
    m_file = ::open(m_temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, everybody);
    if (m_file < 0) {
        const int error = errno;
        m_temporary.clear();
        fail(error);
    }
}

OutputFile::~OutputFile() {
    if (m_file >= 0)
        ::close(m_file);
    if (!m_temporary.empty())
        ::unlink(m_temporary.c_str());
}

void OutputFile::fail(int error) const {
    throw JobError(CKT_NOT_WRITTEN, fmt::format("can't write \"{}\": {}", m_path, std::strerror(error)));
}

void OutputFile::write_out() {
    for (std::size_t done = 0; done < m_size;) {
        const ssize_t count = ::write(m_file, m_buffer.get() + done, m_size - done);
        if (count < 0 && errno != EINTR)
            fail(errno);
        if (count > 0)
            done += static_cast<std::size_t>(count);
    }
    m_size = 0;
}

void OutputFile::text(std::string_view text) {
    while (!text.empty()) {
        const std::string_view part = text.substr(0, buffer_size / 4);
        char* to = room(part.size());
        std::memcpy(to, part.data(), part.size());
        used(to + part.size());
        text.remove_prefix(part.size());
    }
}

void OutputFile::number(double value) {
    constexpr std::size_t longest = 32;
    char* to = room(longest);
    used(std::to_chars(to, to + longest, value).ptr);
}

void OutputFile::commit() {
    write_out();
    if (m_temporary.empty()) {
        m_temporary = fmt::format("{}.{}.part", m_path, ::getpid());
        ::unlink(m_temporary.c_str());
        const std::string unnamed = fmt::format("/proc/self/fd/{}", m_file);
        if (::linkat(AT_FDCWD, unnamed.c_str(), AT_FDCWD, m_temporary.c_str(), AT_SYMLINK_FOLLOW) != 0) {
            const int error = errno;
            m_temporary.clear();
            fail(error);
        }
    }
    const int closed = ::close(m_file);
    m_file = -1;
    if (closed != 0)
        fail(errno);
    if (::rename(m_temporary.c_str(), m_path.c_str()) != 0)
        fail(errno);
    m_temporary.clear();
}

} // namespace ckt
