#include <engine/kernel_library.h>

#include <unistd.h>

#include <vector>

namespace {

constexpr char kFileName[] = "libckt_kernel.so";

// A file in a known folder is taken only if it is there; the loader's search is the last resort and its words
// the error.
std::string FindKernel() {
    std::string folder = platform::ProgramFolder();
    for (const std::string& candidate :
         {folder + "/" + kFileName, folder + "/" TARVOK_KERNEL_FOLDER "/" + kFileName})
        if (!folder.empty() && access(candidate.c_str(), F_OK) == 0)
            return candidate;
    return kFileName;
}

} // namespace

HRESULT LoadKernel(platform::DynamicLibrary& library, KernelEntries& entries, std::string& error) {
    std::string file = FindKernel();
    std::string reason;
    library = platform::DynamicLibrary::Load(file, reason);
    if (!library) {
        error = "The simulation kernel can't be loaded: " + reason;
        return kKernelNotFound;
    }
    const char* missing = nullptr;
    auto find = [&](auto& entry, const char* name) {
        entry = reinterpret_cast<std::remove_reference_t<decltype(entry)>>(library.Find(name));
        if (!entry && !missing)
            missing = name;
    };
    find(entries.set_project_path, "set_project_path");
    find(entries.set_progress_call_back, "set_progress_call_back");
    find(entries.set_error_call_back, "set_error_call_back");
    find(entries.set_cosim_call_back, "set_cosim_call_back");
    find(entries.analyze, "analyze");
    find(entries.run_sim, "run_sim");
    if (missing) {
        error = "The simulation kernel " + file + " has no entry \"" + missing + "\".";
        entries = {};
        library = {};
        return kKernelEntryNotFound;
    }
    return S_OK;
}
