// What a running job tells the thread that waits for it.
#pragma once

#include <client/kelda_client.h>
#include <platform/unique_fd.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <variant>

namespace job {

struct Started {
    std::int32_t handle = 0;
};
struct NotStarted {
    std::string reason;
    bool engineGone = false; // how it went is told by a Lost that comes now or soon
};
struct Progress {
    double value = 0;
};
struct Message {
    std::u16string form; // as the engine sent it
};
struct Done {
    std::int32_t code = 0;
    std::string fault = {}; // what went wrong on this side of a co-simulation nevertheless
};
// What the folder of network data has no answer to; the kernel is told so as well.
struct NoData {
    std::string reason;
};
// This side of a co-simulation can't go on, and the job waits for it.
struct CosimFault {
    std::string reason;
};
struct Lost {
    kelda::LostEngine engine;
};
struct Aborted {};

using Event = std::variant<Started, NotStarted, Progress, Message, NoData, Done, CosimFault, Lost, Aborted>;

// Carries events from the threads of the job and of libkelda to one thread that polls. Nothing can be taken
// before it is known whether the job was started, so that a job's first message can't overtake its start.
class EventQueue {
public:
    EventQueue();

    // Readable while there is something to take.
    int Descriptor() const { return m_Wake.Get(); }

    // Puts Started or NotStarted in front of everything that has come so far.
    void Open(Event first);

    // From the job. Waits while the queue is full, so that a fast kernel is slowed down to what can be shown.
    // A progress value takes the place of the one before it if that is the newest event.
    void PushFromJob(Event event);

    // About the job; never waits.
    void Push(Event event);

    // What the job says from now on is dropped, and nobody waits.
    void DropJob();

    std::deque<Event> Take();

private:
    bool Full() const;
    void Append(Event event);
    void Wake();

    platform::UniqueFd m_Wake;
    std::mutex m_Mutex;
    std::condition_variable m_Room;
    std::deque<Event> m_Events;
    std::size_t m_TextUnits = 0;
    bool m_Open = false;
    bool m_Dropping = false;
};

} // namespace job
