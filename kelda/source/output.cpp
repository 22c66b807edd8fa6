#include "output.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>

namespace {

// What a pipe takes without a wait once poll has called it writable.
constexpr std::size_t kPortion = PIPE_BUF;

bool HasCursor() {
    const char* kind = std::getenv("TERM");
    return kind && *kind && std::string_view(kind) != "dumb";
}

} // namespace

Output::Output(int descriptor, int interrupt)
    : m_Descriptor(descriptor), m_Interrupt(interrupt), m_Terminal(isatty(descriptor) != 0),
      m_Styled(m_Terminal && HasCursor()) {}

void Output::Write(std::string_view text) {
    if (m_Error == 0)
        m_Pending += text;
}

bool Output::Flush() {
    std::size_t written = 0;
    while (written < m_Pending.size()) {
        pollfd waits[] = {{m_Descriptor, POLLOUT, 0}, {m_Interrupt, POLLIN, 0}};
        int ready = poll(waits, 2, m_Patience ? static_cast<int>(m_Patience->count()) : -1);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready == 0 || (!waits[0].revents && waits[1].revents))
            break;
        ssize_t count =
            write(m_Descriptor, m_Pending.data() + written, std::min(m_Pending.size() - written, kPortion));
        if (count > 0) {
            written += static_cast<std::size_t>(count);
        } else if (count < 0 && errno != EINTR && errno != EAGAIN) {
            m_Error = errno;
            written = m_Pending.size();
        }
    }
    m_Pending.erase(0, written);
    return m_Pending.empty() && m_Error == 0;
}

int Output::Columns() const {
    winsize size{};
    constexpr int kUsual = 80;
    return ioctl(m_Descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}

void HoldStandardDescriptors() {
    for (int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF)
            continue;
        // The lowest free number is the missing one, for those below it are there by now.
        if (open("/dev/null", descriptor == STDERR_FILENO ? O_WRONLY : O_RDONLY) != descriptor)
            _exit(1);
    }
}
