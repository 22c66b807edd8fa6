#include "job_events.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace job {
namespace {

constexpr std::size_t kMostEvents = 256;
constexpr std::size_t kMostTextUnits = std::size_t{1} << 20;

} // namespace

EventQueue::EventQueue() : m_Wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!m_Wake)
        throw std::system_error(errno, std::system_category(), "can't make an event descriptor");
}

void EventQueue::Open(Event first) {
    std::lock_guard lock(m_Mutex);
    m_Events.push_front(std::move(first));
    m_Open = true;
    Wake();
}

void EventQueue::PushFromJob(Event event) {
    std::unique_lock lock(m_Mutex);
    m_Room.wait(lock, [this] { return m_Dropping || !Full(); });
    if (m_Dropping)
        return;
    if (std::holds_alternative<Progress>(event) && !m_Events.empty() &&
        std::holds_alternative<Progress>(m_Events.back())) {
        m_Events.back() = std::move(event);
        return;
    }
    Append(std::move(event));
}

void EventQueue::Push(Event event) {
    std::lock_guard lock(m_Mutex);
    Append(std::move(event));
}

void EventQueue::DropJob() {
    std::lock_guard lock(m_Mutex);
    m_Dropping = true;
    m_Room.notify_all();
}

std::deque<Event> EventQueue::Take() {
    std::lock_guard lock(m_Mutex);
    std::deque<Event> events;
    if (!m_Open)
        return events;
    std::uint64_t count;
    while (read(m_Wake.Get(), &count, sizeof count) < 0 && errno == EINTR) {
    }
    events.swap(m_Events);
    m_TextUnits = 0;
    m_Room.notify_all();
    return events;
}

bool EventQueue::Full() const {
    return m_Events.size() >= kMostEvents || m_TextUnits >= kMostTextUnits;
}

void EventQueue::Append(Event event) {
    if (const auto* message = std::get_if<Message>(&event))
        m_TextUnits += message->form.size();
    m_Events.push_back(std::move(event));
    if (m_Open)
        Wake();
}

void EventQueue::Wake() {
    std::uint64_t one = 1;
    while (write(m_Wake.Get(), &one, sizeof one) < 0 && errno == EINTR) {
    }
}

} // namespace job
