// The gate that lets one job at a time to the kernel, first come, first served.
//
// A place is taken by the thread that starts the job, so the order is that of the starts. Any thread may call
// any operation.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>

class JobGate {
public:
    using Place = std::uint64_t;

    // Joins the end of the queue.
    Place Queue();

    // Waits until the place is first. False, without waiting further, when the place has been withdrawn.
    bool Enter(Place place);

    // Takes a place out of the queue, wherever it stands; the next one becomes first. A place that isn't
    // there is ignored.
    void Leave(Place place);

    // Waits until nobody stands in the queue.
    void WaitUntilEmpty();

private:
    bool Holds(Place place) const;

    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::deque<Place> m_Places;
    Place m_Last = 0;
};
