#include <engine/job_gate.h>

#include <algorithm>

JobGate::Place JobGate::Queue() {
    std::lock_guard lock(m_Mutex);
    m_Places.push_back(++m_Last);
    return m_Last;
}

bool JobGate::Enter(Place place) {
    std::unique_lock lock(m_Mutex);
    m_Changed.wait(lock, [&] { return !Holds(place) || m_Places.front() == place; });
    return Holds(place);
}

void JobGate::Leave(Place place) {
    {
        std::lock_guard lock(m_Mutex);
        std::erase(m_Places, place);
    }
    m_Changed.notify_all();
}

void JobGate::WaitUntilEmpty() {
    std::unique_lock lock(m_Mutex);
    m_Changed.wait(lock, [this] { return m_Places.empty(); });
}

bool JobGate::Holds(Place place) const {
    return std::ranges::find(m_Places, place) != m_Places.end();
}
