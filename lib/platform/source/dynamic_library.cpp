#include <platform/dynamic_library.h>

#include <dlfcn.h>

#include <filesystem>
#include <mutex>

namespace platform {
namespace {

// One library's last words and the next one's first may come from two threads. The loader puts them in order
// by a lock of its own; this one says so to who reads or checks this program.
std::mutex g_Loader;

} // namespace

DynamicLibrary DynamicLibrary::Load(const std::string& file, std::string& error) {
    // All symbols at once: a library that lacks one must fail here, not in the midst of a run.
    std::lock_guard lock(g_Loader);
    void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle)
        error = dlerror();
    return DynamicLibrary(handle);
}

DynamicLibrary::~DynamicLibrary() {
    if (!m_Handle)
        return;
    std::lock_guard lock(g_Loader);
    dlclose(m_Handle);
}

void* DynamicLibrary::Find(const char* name) const {
    return m_Handle ? dlsym(m_Handle, name) : nullptr;
}

std::string ProgramFolder() {
    std::error_code failure;
    auto program = std::filesystem::read_symlink("/proc/self/exe", failure);
    return failure ? std::string() : program.parent_path().string();
}

} // namespace platform
