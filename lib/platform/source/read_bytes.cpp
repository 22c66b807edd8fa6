#include <platform/read_bytes.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace platform {

std::string ReadBytes(const std::string& name) {
    const bool standard = name == "-";
    const auto refuse = [&](int error) -> std::runtime_error {
        return std::runtime_error((standard ? "standard input" : name) + ": " + std::strerror(error));
    };
    const int file = standard ? STDIN_FILENO : open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        throw refuse(errno);
    std::string bytes;
    struct stat about {};
    if (fstat(file, &about) == 0 && S_ISREG(about.st_mode))
        bytes.reserve(static_cast<std::size_t>(about.st_size) + 1);
    constexpr std::size_t kPortion = 1 << 16;
    int error = 0;
    for (;;) {
        const std::size_t size = bytes.size();
        bytes.resize(std::max(size + kPortion, std::min(bytes.capacity(), size + (kPortion << 8))));
        const ssize_t count = read(file, bytes.data() + size, bytes.size() - size);
        bytes.resize(size + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (count == 0)
            break;
        if (count < 0 && errno != EINTR) {
            error = errno;
            break;
        }
    }
    if (!standard)
        close(file);
    if (error != 0)
        throw refuse(error);
    return bytes;
}

} // namespace platform
