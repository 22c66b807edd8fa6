// The signals by which a person or a system asks a program to end, taken in by a loop instead of a handler.
#pragma once

#include <platform/unique_fd.h>

// From its making on, interrupt, termination and hang-up don't end the process but make Descriptor()
// readable. To be made before any thread is started: only then no other thread can be hit by one of them. A
// signal that the process was told to ignore when it was started (nohup, a shell's background job) stays
// ignored.
class SignalWatch {
public:
    SignalWatch();

    // Readable while a signal waits.
    int Descriptor() const { return m_Descriptor.Get(); }

    // Takes one signal in. False where none waits.
    bool Take();

private:
    platform::UniqueFd m_Descriptor;
};
