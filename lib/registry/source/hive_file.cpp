#include "hive_file.h"

#include "hive_text.h"

#include <platform/unique_fd.h>
#include <registry/error.h>
#include <registry/registry.h>

#include <fmt/format.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace registry {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void Fail(const fs::path& file, const char* action, int error) {
    HRESULT code = error == EACCES || error == EPERM || error == EROFS ? E_ACCESSDENIED : E_FAIL;
    throw Error(
        code, fmt::format("{}: can't {}: {}", file.native(), action, std::generic_category().message(error)));
}

// Where `file` is a link, what it leads to: a writer replaces that, not the link.
fs::path Resolve(const fs::path& file) {
    std::error_code error;
    fs::path target = fs::weakly_canonical(file, error);
    if (error)
        Fail(file, "follow the path", error.value());
    return target;
}

fs::path Beside(const fs::path& file, const char* suffix) {
    fs::path path = file;
    path += suffix;
    return path;
}

void SyncFolder(const fs::path& folder) {
    platform::UniqueFd descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems can't sync a folder; the rename itself is done.
    if (!descriptor || (::fsync(descriptor.Get()) != 0 && errno != EINVAL))
        Fail(folder, "sync", errno);
}

// Held while a writer works. The lock is on a file of its own, since the hive's file is replaced.
platform::UniqueFd LockWriters(const fs::path& file) {
    fs::path path = Beside(file, ".lock");
    platform::UniqueFd lock(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!lock)
        Fail(path, "open", errno);
    while (::flock(lock.Get(), LOCK_EX) != 0)
        if (errno != EINTR)
            Fail(path, "lock", errno);
    return lock;
}

} // namespace

FileState FileState::Of(const struct stat& status) {
    return {status.st_dev, status.st_ino, status.st_size, status.st_mtim};
}

HiveFile::HiveFile(const fs::path& folder) : m_File(folder.empty() ? folder : folder / kFileName) {}

std::optional<std::string> HiveFile::ReadText(platform::UniqueFd& descriptor) const {
    if (m_File.empty())
        return std::nullopt;
    // Without O_NONBLOCK the opening of a pipe would wait for its writer.
    descriptor = platform::UniqueFd(::open(m_File.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!descriptor) {
        if (errno == ENOENT || errno == ENOTDIR)
            return std::nullopt;
        Fail(m_File, "open", errno);
    }
    struct stat status;
    if (::fstat(descriptor.Get(), &status) != 0)
        Fail(m_File, "read", errno);
    if (!S_ISREG(status.st_mode))
        throw Error(kDamagedStore, fmt::format("{}: is no regular file", m_File.native()));
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t size = 0;
    while (size < text.size()) {
        ssize_t got = ::read(descriptor.Get(), text.data() + size, text.size() - size);
        if (got == 0)
            break;
        if (got > 0)
            size += static_cast<std::size_t>(got);
        else if (errno != EINTR)
            Fail(m_File, "read", errno);
    }
    text.resize(size);
    return text;
}

const KeyNode& HiveFile::Read() {
    struct stat status;
    if (m_Open && ::stat(m_File.c_str(), &status) == 0 && FileState::Of(status) == m_State)
        return m_Root;
    m_Open = {};
    platform::UniqueFd descriptor;
    std::optional<std::string> text = ReadText(descriptor);
    m_Root = text ? ParseHive(*text, m_File.native()) : KeyNode();
    if (text && ::fstat(descriptor.Get(), &status) == 0) {
        m_State = FileState::Of(status);
        m_Open = std::move(descriptor);
    }
    return m_Root;
}

bool HiveFile::MayWrite() const {
    if (m_File.empty())
        return false;
    std::error_code ignored;
    fs::path folder = fs::weakly_canonical(m_File, ignored).parent_path();
    if (ignored)
        return false;
    while (!folder.empty() && folder != folder.root_path() && !fs::exists(folder, ignored))
        folder = folder.parent_path();
    return fs::is_directory(folder, ignored) &&
           ::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

void HiveFile::Change(const std::function<void(KeyNode&)>& change) {
    if (m_File.empty())
        throw Error(E_ACCESSDENIED, "the registry has no folder: neither XDG_CONFIG_HOME nor HOME is set");
    fs::path file = Resolve(m_File);
    std::error_code error;
    fs::create_directories(file.parent_path(), error);
    if (error)
        Fail(file.parent_path(), "make the folder", error.value());

    platform::UniqueFd lock = LockWriters(file);
    platform::UniqueFd descriptor;
    std::optional<std::string> before = ReadText(descriptor);
    KeyNode root = before ? ParseHive(*before, m_File.native()) : KeyNode();
    change(root);
    std::string after = WriteHive(root);
    bool is_empty = root.GetKeys().empty() && root.GetValues().empty();
    if (after == before || (!before && is_empty))
        return;
    WriteText(file, after);
}

void HiveFile::WriteText(const fs::path& file, const std::string& text) const {
    // One name for all writers, so that one that was killed leaves nothing behind that the next doesn't use
    // again.
    fs::path fresh = Beside(file, ".new");
    platform::UniqueFd descriptor(
        ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0666));
    if (!descriptor)
        Fail(fresh, "open", errno);
    auto fail = [&](const char* action) {
        int error = errno;
        ::unlink(fresh.c_str());
        Fail(fresh, action, error);
    };
    for (std::size_t done = 0; done < text.size();) {
        ssize_t put = ::write(descriptor.Get(), text.data() + done, text.size() - done);
        if (put >= 0)
            done += static_cast<std::size_t>(put);
        else if (errno != EINTR)
            fail("write");
    }
    struct stat status;
    if (::stat(file.c_str(), &status) == 0 && ::fchmod(descriptor.Get(), status.st_mode & 07777) != 0)
        fail("set the rights of");
    if (::fsync(descriptor.Get()) != 0 || ::close(descriptor.Release()) != 0)
        fail("write");
    if (::rename(fresh.c_str(), file.c_str()) != 0)
        fail("rename");
    SyncFolder(file.parent_path());
}

} // namespace registry
