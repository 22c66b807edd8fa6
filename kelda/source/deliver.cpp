#include "deliver.h"

#include "exit_status.h"
#include "output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

int Fail(const std::string& reason) {
    Output err(STDERR_FILENO);
    err.Write("kelda: " + reason + "\n");
    err.Flush();
    return kWorkFailed;
}

namespace {

// Where a file comes to be. One that is there and isn't a plain file (a device, a pipe) is written to; any other appears when
// it is whole, so that a full disk spoils neither it nor what stood there before.
class Target {
public:
    explicit Target(const std::string& name) : m_Path(name) {
        struct stat status;
        const bool exists = stat(name.c_str(), &status) == 0;
        if (exists && !S_ISREG(status.st_mode)) {
            Open(name, O_TRUNC);
            return;
        }
        std::error_code ignored;
        if (exists) // behind any links
            m_Path = std::filesystem::canonical(name, ignored).string();
        if (exists && access(m_Path.c_str(), W_OK) != 0)
            throw std::system_error(errno, std::generic_category());
        m_Fresh = m_Path + '.' + std::to_string(getpid()) + ".part";
        Open(m_Fresh, O_TRUNC | O_NOFOLLOW);
        if (exists)
            fchmod(m_File, status.st_mode & 07777);
    }
    ~Target() {
        if (m_File >= 0)
            close(m_File);
        if (!m_Fresh.empty())
            unlink(m_Fresh.c_str());
    }
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    int File() const { return m_File; }

    // The error, or 0.
    int Finish() {
        if (close(std::exchange(m_File, -1)) != 0)
            return errno;
        if (m_Fresh.empty())
            return 0;
        if (rename(m_Fresh.c_str(), m_Path.c_str()) != 0)
            return errno;
        m_Fresh.clear();
        return 0;
    }

private:
    void Open(const std::string& path, int flags) {
        m_File = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0666);
        if (m_File < 0) {
            const int error = errno;
            m_Fresh.clear();
            throw std::system_error(error, std::generic_category());
        }
    }

    std::string m_Path;
    std::string m_Fresh; // the file's name until it is whole
    int m_File = -1;
};

// The error, or 0.
int WriteAll(int file, const std::string& bytes) {
    Output out(file);
    out.Write(bytes);
    out.Flush();
    return out.Error();
}

} // namespace

int Deliver(const std::string& bytes, const std::string& name, int status) {
    const bool standard = name == "-";
    int error = 0;
    if (standard) {
        error = WriteAll(STDOUT_FILENO, bytes);
        if (error == EPIPE)
            return status;
    } else {
        try {
            Target target(name);
            error = WriteAll(target.File(), bytes);
            if (error == 0)
                error = target.Finish();
        } catch (const std::system_error& failure) {
            return Fail(name + ": " + std::strerror(failure.code().value()));
        }
    }
    if (error == 0)
        return status;
    return Fail("can't write to " + (standard ? std::string("standard output") : name) + ": " +
                std::strerror(error));
}
