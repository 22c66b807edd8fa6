// What the engine object and a job's worker share of one job: whether it may go on.
//
// How a job ends is decided once: by the worker, which has the kernel's result, or by an abort. Any thread
// may use it.
#pragma once

#include <engine/job_gate.h>

#include <atomic>
#include <cstdint>

class JobControl {
public:
    JobControl(std::int32_t procid, JobGate& gate) : m_Procid(procid), m_Gate(gate), m_Place(gate.Queue()) {}
    JobControl(const JobControl&) = delete;
    JobControl& operator=(const JobControl&) = delete;
    ~JobControl() { m_Gate.Leave(m_Place); }

    std::int32_t Procid() const { return m_Procid; }

    // The worker's side, in this order. EnterGate is false when the job has been aborted. Finish decides that
    // the job has its result, and is true for the one call that does.
    bool EnterGate() {
        State expected = State::kWaiting;
        return m_Gate.Enter(m_Place) && m_State.compare_exchange_strong(expected, State::kRunning);
    }
    bool Finish() {
        State expected = State::kRunning;
        return m_State.compare_exchange_strong(expected, State::kDone);
    }
    void LeaveGate() { m_Gate.Leave(m_Place); }

    bool Aborted() const { return m_State.load(std::memory_order_acquire) == State::kAborted; }

    enum class AbortResult {
        kTooLate,   // the job had its result already
        kWithdrawn, // the job still waited and will not run
        kRunning,   // the job holds the gate, and its thread is in the midst of its work
    };
    AbortResult Abort() {
        State state = m_State.load();
        while (state == State::kWaiting || state == State::kRunning) {
            if (!m_State.compare_exchange_weak(state, State::kAborted))
                continue;
            if (state == State::kRunning)
                return AbortResult::kRunning;
            m_Gate.Leave(m_Place);
            return AbortResult::kWithdrawn;
        }
        return AbortResult::kTooLate;
    }

private:
    enum class State { kWaiting, kRunning, kDone, kAborted };

    const std::int32_t m_Procid;
    JobGate& m_Gate;
    const JobGate::Place m_Place;
    std::atomic<State> m_State{State::kWaiting};
};
