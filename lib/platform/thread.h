// A thread that is created first and set going later.
#pragma once

#include <functional>
#include <memory>

namespace platform {

class Thread {
public:
    // Creates a thread that waits to be resumed. Null when the system has no thread to give.
    static std::unique_ptr<Thread> CreateSuspended(std::function<void()> function);

    virtual ~Thread() = default;

    // Lets the thread run and gives the suspend count that stood before: 1 for a thread that waited. A thread
    // that was never resumed ends with its object, without having run; a running one goes on by itself.
    virtual int Resume() = 0;
};

} // namespace platform
