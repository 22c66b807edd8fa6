#include "lapack.h"

#include <platform/dynamic_library.h>

#include <optional>
#include <string>
#include <utility>

namespace {

template <class Function>
bool Take(const platform::DynamicLibrary& library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(library.Find(name));
    return function != nullptr;
}

struct Loaded {
    platform::DynamicLibrary library;
    Lapack lapack{};
};

std::optional<Loaded> Load(const char* file) {
    std::string error;
    Loaded loaded{platform::DynamicLibrary::Load(file, error)};
    const platform::DynamicLibrary& library = loaded.library;
    Lapack& lapack = loaded.lapack;
    Take(library, "openblas_get_num_threads", lapack.getThreads);
    Take(library, "openblas_set_num_threads", lapack.setThreads);
    const bool isWhole = Take(library, "zgebal_", lapack.zgebal) && Take(library, "zgehrd_", lapack.zgehrd) &&
                         Take(library, "zunghr_", lapack.zunghr) && Take(library, "zhseqr_", lapack.zhseqr) &&
                         Take(library, "ztrevc_", lapack.ztrevc) && Take(library, "zgebak_", lapack.zgebak);
    return isWhole ? std::optional(std::move(loaded)) : std::nullopt;
}

std::optional<Loaded> LoadFirst() {
    for (const char* file : {"libopenblas.so.0", "liblapack.so.3"}) {
        if (auto loaded = Load(file))
            return loaded;
    }
    return std::nullopt;
}

} // namespace

const Lapack* LoadedLapack() {
    // Never unloaded: its threads may be anywhere in it.
    static const auto* const loaded = new std::optional<Loaded>(LoadFirst());
    return *loaded ? &(*loaded)->lapack : nullptr;
}
