// The owner of one file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace platform {

class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int descriptor) : m_Descriptor(descriptor) {}
    UniqueFd(UniqueFd&& other) noexcept : m_Descriptor(std::exchange(other.m_Descriptor, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        std::swap(m_Descriptor, other.m_Descriptor);
        return *this;
    }
    ~UniqueFd() {
        if (m_Descriptor >= 0)
            ::close(m_Descriptor);
    }

    int Get() const { return m_Descriptor; }
    explicit operator bool() const { return m_Descriptor >= 0; }
    int Release() { return std::exchange(m_Descriptor, -1); }

private:
    int m_Descriptor = -1;
};

} // namespace platform
