// The kernel library of one job: found, loaded and bound by name.
#pragma once

#include <platform/dynamic_library.h>
#include <platform/result.h>

#include <kernel/ckt_kernel.h>

#include <string>

// The entries that a kernel exports, in the order in which they are looked up.
struct KernelEntries {
    decltype(&::set_project_path) set_project_path = nullptr;
    decltype(&::set_progress_call_back) set_progress_call_back = nullptr;
    decltype(&::set_error_call_back) set_error_call_back = nullptr;
    decltype(&::set_cosim_call_back) set_cosim_call_back = nullptr;
    decltype(&::analyze) analyze = nullptr;
    decltype(&::run_sim) run_sim = nullptr;
};

// Results for a kernel that can't be used.
inline constexpr HRESULT kKernelNotFound = static_cast<HRESULT>(0x8007007E);
inline constexpr HRESULT kKernelEntryNotFound = static_cast<HRESULT>(0x8007007F);

// Loads libckt_kernel.so from beside the program, else from the package's library folder, else by the
// loader's own search, and looks its entries up. On failure the library is unloaded, all entries are null,
// and `error` says in words what is missing where.
HRESULT LoadKernel(platform::DynamicLibrary& library, KernelEntries& entries, std::string& error);
