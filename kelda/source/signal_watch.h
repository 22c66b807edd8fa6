// The signals by which a person or a system asks a program to end, taken in by a loop.
#pragma once

#include <platform/unique_fd.h>

// From its making on, interrupt, termination and hang-up don't end the process but make Descriptor() readable, whichever
// thread they hit: libraries have threads of their own before main. A signal that the process was told to ignore when it
// was started (nohup, a shell's background job) stays ignored. There is one at a time.
class SignalWatch {
public:
    SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;
    ~SignalWatch();

    // Readable while a signal waits.
    int Descriptor() const { return m_Descriptor.Get(); }

    // Takes one signal in. False where none waits.
    bool Take();

private:
    platform::UniqueFd m_Descriptor;
};
