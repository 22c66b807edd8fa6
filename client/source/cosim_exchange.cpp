#include <client/cosim_exchange.h>

#include <trancosimlib/cosim_text.h>

namespace kelda {

HRESULT CosimExchange::Deliver(IKeldaEngine& engine, const COSIMSRCDATA& block) {
    std::string fault = block.Fault();
    {
        std::lock_guard lock(m_Mutex);
        if (m_End)
            return S_FALSE;
        if (!fault.empty()) {
            m_Reason = "the block can't be delivered: " + fault;
            return E_INVALIDARG;
        }
    }
    const platform::UniqueBstr form = MakeCosimText(block);
    return form.Get() ? engine.SendCosimSourceData(form.Get()) : E_OUTOFMEMORY;
}

CosimEvent CosimExchange::Wait(COSIMPORTDATA& ports) {
    std::unique_lock lock(m_Mutex);
    m_Changed.wait(lock, [this] { return Ready(); });
    return Take(ports);
}

CosimEvent CosimExchange::Wait(COSIMPORTDATA& ports, std::chrono::milliseconds limit) {
    std::unique_lock lock(m_Mutex);
    // A deadline on the system clock is what the thread sanitizer's runtime can follow.
    if (!m_Changed.wait_until(lock, std::chrono::system_clock::now() + limit, [this] { return Ready(); }))
        return CosimEvent::kTimedOut;
    return Take(ports);
}

CosimEvent CosimExchange::Take(COSIMPORTDATA& ports) {
    if (m_Blocks.empty() || m_End == CosimEvent::kCancelled)
        return *m_End;
    const bool closing = !m_Blocks.front().m_HasData;
    if (!closing)
        ports = std::move(m_Blocks.front());
    m_Blocks.pop_front();
    return closing ? CosimEvent::kClosed : CosimEvent::kPorts;
}

std::int32_t CosimExchange::ReturnCode() const {
    std::lock_guard lock(m_Mutex);
    return m_ReturnCode;
}

std::string CosimExchange::Reason() const {
    std::lock_guard lock(m_Mutex);
    return m_Reason;
}

HRESULT CosimExchange::PutPortData(BSTR port_data) {
    COSIMPORTDATA block;
    if (!ReadCosimText(port_data, block))
        return E_INVALIDARG;
    // The lock is held to the last: whom the signal wakes may destroy the exchange.
    std::lock_guard lock(m_Mutex);
    m_Blocks.push_back(std::move(block));
    m_Changed.notify_all();
    return S_OK;
}

void CosimExchange::Done(std::int32_t return_code) {
    std::lock_guard lock(m_Mutex);
    if (m_End)
        return;
    m_End = CosimEvent::kDone;
    m_ReturnCode = return_code;
    m_Changed.notify_all();
}

void CosimExchange::Lost(const LostEngine& lost) {
    std::lock_guard lock(m_Mutex);
    if (m_End)
        return;
    m_End = CosimEvent::kLost;
    m_Reason = lost.reason;
    m_Changed.notify_all();
}

void CosimExchange::Cancel() {
    std::lock_guard lock(m_Mutex);
    m_End = CosimEvent::kCancelled;
    m_Changed.notify_all();
}

HRESULT CosimProgress::AnalysisDone(std::int32_t return_code) {
    m_Exchange->Done(return_code);
    return S_OK;
}

HRESULT CosimProgress::PutCosimPortData(BSTR port_data) {
    return m_Exchange->PutPortData(port_data);
}

} // namespace kelda
