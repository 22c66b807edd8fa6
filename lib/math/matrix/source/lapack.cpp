#include "lapack.h"

#include <platform/dynamic_library.h>

#include <optional>
#include <string>

namespace {

template <class Function>
bool Take(const platform::DynamicLibrary& library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(library.Find(name));
    return function != nullptr;
}

std::optional<Lapack> Load(const char* file) {
    std::string error;
    // Not unloaded: its threads may be anywhere in it.
    auto& library = *new platform::DynamicLibrary(platform::DynamicLibrary::Load(file, error));
    Lapack lapack{};
    Take(library, "openblas_get_num_threads", lapack.getThreads);
    Take(library, "openblas_set_num_threads", lapack.setThreads);
    const bool isWhole = Take(library, "zgebal_", lapack.zgebal) && Take(library, "zgehrd_", lapack.zgehrd) &&
                         Take(library, "zunghr_", lapack.zunghr) && Take(library, "zhseqr_", lapack.zhseqr) &&
                         Take(library, "ztrevc_", lapack.ztrevc) && Take(library, "zgebak_", lapack.zgebak);
    return isWhole ? std::optional(lapack) : std::nullopt;
}

std::optional<Lapack> LoadFirst() {
    for (const char* file : {"libopenblas.so.0", "liblapack.so.3"}) {
        if (auto lapack = Load(file))
            return lapack;
    }
    return std::nullopt;
}

} // namespace

const Lapack* LoadedLapack() {
    static const std::optional<Lapack> lapack = LoadFirst();
    return lapack ? &*lapack : nullptr;
}
