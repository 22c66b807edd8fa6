// The client's side of a co-simulation: carries blocks between a system simulator of the client and a running job.
//
//   auto exchange = std::make_shared<kelda::CosimExchange>();
//   auto engine = kelda::ActivateEngine({.onLost = [exchange](const auto& lost) { exchange->Lost(lost); }});
//   auto progress = platform::InterfacePtr<kelda::CosimProgress>::Adopt(new kelda::CosimProgress(exchange));
//   COSIMSRCDATA sources(1, 10);                     // one source, 10 samples a block
//   sources.m_TimeStep = 1e-9;                       // [s]
//   exchange->Deliver(*engine, sources);             // 1. the first block, before the job's start or behind it
//   engine->StartAnalysis(progress.Get(), ...);      // 2. the job
//   COSIMPORTDATA ports;
//   while (exchange->Wait(ports) == kelda::CosimEvent::kPorts) { // 3. the circuit's answer to the block
//       ... compute `sources` from `ports` ...
//       exchange->Deliver(*engine, sources);         // 4. the next block; the job stands still until it comes
//   }
//
// A simulator that is quick needs no thread of its own: a progress interface may compute the next block within its
// PutCosimPortData and deliver it from there. The block then travels with the callback's answer, in one trip instead of two.
//
// The job consumes one block at a time. A block that is delivered before the one ahead of it has been consumed is kept for
// the job; a further one replaces it, and the client is told so in a message.
//
// Threads: Deliver and Wait belong to the simulator, on any thread but that of the callbacks; an exchange has one
// simulator. All other operations may be called from any thread. Nobody holds a lock while the client's code runs.
//
// An exchange serves one job. It doesn't hold the engine.
#pragma once

#include <client/kelda_client.h>

#include <trancosimlib/cosimportdata.h>
#include <trancosimlib/cosimsrcdata.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace kelda {

// What a simulator has waited for.
enum class CosimEvent {
    kPorts,  // a block of port values has come
    kClosed, // the closing record: the job has failed in the midst of the exchange, and kDone comes next
    kDone, // the job has ended; ReturnCode has its result. Every further Wait gives this again, as do the next two
    kLost,      // the engine is gone; Reason says how
    kCancelled, // by Cancel, whatever else has come
    kTimedOut,  // nothing has come within the time
};

class CosimExchange {
public:
    CosimExchange() = default;
    CosimExchange(const CosimExchange&) = delete;
    CosimExchange& operator=(const CosimExchange&) = delete;

    // The simulator's side.

    // Hands a block to the engine. E_INVALIDARG for a block that no engine takes: Reason says what its fault is, and nothing
    // was sent. S_FALSE when the exchange is over, and nothing was sent either. Else the result of SendCosimSourceData.
    HRESULT Deliver(IKeldaEngine& engine, const COSIMSRCDATA& block);

    // Waits for what comes next, and moves a block of port values into `ports`. Blocks come in their order, before the
    // event that ended the exchange.
    CosimEvent Wait(COSIMPORTDATA& ports);
    // The same, for no longer than `limit`.
    CosimEvent Wait(COSIMPORTDATA& ports, std::chrono::milliseconds limit);

    // After kDone: what AnalysisDone gave.
    std::int32_t ReturnCode() const;
    // After kLost, or after a Deliver that gave E_INVALIDARG: in words.
    std::string Reason() const;

    // The job's side. CosimProgress passes on the first two; whoever has a progress interface of his own calls them from there.

    // From PutCosimPortData. E_INVALIDARG for a text that isn't a block of port values.
    HRESULT PutPortData(BSTR port_data);
    // From AnalysisDone.
    void Done(std::int32_t return_code);
    // From ActivationOptions::onLost.
    void Lost(const LostEngine& lost);

    // Releases a simulator that waits: before AbortAnalysis for instance, after which nothing comes any more.
    void Cancel();

private:
    bool Ready() const { return m_End || !m_Blocks.empty(); }
    CosimEvent Take(COSIMPORTDATA& ports);

    mutable std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::deque<COSIMPORTDATA> m_Blocks; // not yet taken, the oldest first; the closing record is one of them
    std::optional<CosimEvent> m_End;    // kDone or kLost, whichever came first; kCancelled before both
    std::int32_t m_ReturnCode = 0;
    std::string m_Reason;
};

// A progress interface that passes a co-simulation's callbacks on to an exchange: the base of one that also listens to progress and
// messages. An override of these two calls them.
class CosimProgress : public ProgressInterface {
public:
    explicit CosimProgress(std::shared_ptr<CosimExchange> exchange) : m_Exchange(std::move(exchange)) {}

    HRESULT AnalysisDone(std::int32_t return_code) override;
    HRESULT PutCosimPortData(BSTR port_data) override;

private:
    const std::shared_ptr<CosimExchange> m_Exchange;
};

} // namespace kelda
