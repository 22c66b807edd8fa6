#include "blas_threads.h"

#include <mutex>

namespace {

// The number of threads is the BLAS's one setting for the whole process. The first of overlapping holders remembers
// what was set, the last one puts it back.
struct ThreadSetting {
    std::mutex mutex;
    int holders = 0;
    int former = 0;
};

ThreadSetting& Setting() {
    static ThreadSetting setting;
    return setting;
}

} // namespace

OneBlasThread::OneBlasThread(const Lapack& lapack) : m_Lapack(lapack) {
    if (!m_Lapack.getThreads || !m_Lapack.setThreads)
        return;
    ThreadSetting& setting = Setting();
    const std::lock_guard lock(setting.mutex);
    if (setting.holders++ == 0) {
        setting.former = m_Lapack.getThreads();
        if (setting.former != 1)
            m_Lapack.setThreads(1);
    }
}

OneBlasThread::~OneBlasThread() {
    if (!m_Lapack.getThreads || !m_Lapack.setThreads)
        return;
    ThreadSetting& setting = Setting();
    const std::lock_guard lock(setting.mutex);
    if (--setting.holders == 0 && setting.former != 1)
        m_Lapack.setThreads(setting.former);
}
