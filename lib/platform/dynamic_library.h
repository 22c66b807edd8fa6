// A library that is loaded by name while the program runs.
#pragma once

#include <string>
#include <utility>

namespace platform {

class DynamicLibrary {
public:
    DynamicLibrary() = default;
    DynamicLibrary(DynamicLibrary&& other) noexcept : m_Handle(std::exchange(other.m_Handle, nullptr)) {}
    DynamicLibrary& operator=(DynamicLibrary&& other) noexcept {
        std::swap(m_Handle, other.m_Handle);
        return *this;
    }
    ~DynamicLibrary();

    // Loads `file`, a path or a bare name for the loader's own search. On failure the object is empty and
    // `error` holds the loader's words.
    static DynamicLibrary Load(const std::string& file, std::string& error);

    explicit operator bool() const { return m_Handle != nullptr; }

    // The address of an exported entry, or null.
    void* Find(const char* name) const;

private:
    explicit DynamicLibrary(void* handle) : m_Handle(handle) {}
    void* m_Handle = nullptr;
};

// The folder of the running program, without a trailing slash; empty if the system can't tell.
std::string ProgramFolder();

} // namespace platform
