#include "blas_threads.h"

#include <dlfcn.h>
#include <mutex>

namespace {

// The number of threads is the BLAS's one setting for the whole process. The first of overlapping holders remembers
// what was set, the last one puts it back.
struct ThreadSetting {
    using Get = int (*)();
    using Set = void (*)(int);

    // Null where the BLAS is one that has no threads.
    const Get get = reinterpret_cast<Get>(dlsym(RTLD_DEFAULT, "openblas_get_num_threads"));
    const Set set = reinterpret_cast<Set>(dlsym(RTLD_DEFAULT, "openblas_set_num_threads"));
    std::mutex mutex;
    int holders = 0;
    int former = 0;
};

ThreadSetting& Setting() {
    static ThreadSetting setting;
    return setting;
}

} // namespace

OneBlasThread::OneBlasThread() {
    ThreadSetting& setting = Setting();
    if (!setting.get || !setting.set)
        return;
    const std::lock_guard lock(setting.mutex);
    if (setting.holders++ == 0) {
        setting.former = setting.get();
        if (setting.former != 1)
            setting.set(1);
    }
}

OneBlasThread::~OneBlasThread() {
    ThreadSetting& setting = Setting();
    if (!setting.get || !setting.set)
        return;
    const std::lock_guard lock(setting.mutex);
    if (--setting.holders == 0 && setting.former != 1)
        setting.set(setting.former);
}
