#include "cosim_session.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

namespace job {

CosimSession::CosimSession(const std::string& samples, const std::string& ports, std::int32_t blockSize)
    : m_Samples(samples), m_Ports(ports.empty() ? nullptr : std::make_unique<PortFile>(ports)),
      m_BlockSize(blockSize) {}

std::string CosimSession::Announced(const CosimShape& shape) {
    {
        std::lock_guard lock(m_Mutex);
        m_Shape = shape;
        m_Changed.notify_all();
    }
    if (!m_Samples.Misfit(shape).empty())
        return {}; // told by the simulator's thread
    const auto rows = static_cast<std::int64_t>(m_Samples.Rows());
    if (rows < shape.steps)
        return fmt::format(
            "the samples end with their time {:.9g} s, from there on the sources hold their last values",
            m_Samples.LastTime());
    if (rows > shape.steps)
        return fmt::format("the circuit takes {} of {} samples", shape.steps, rows);
    return {};
}

void CosimSession::Over() {
    std::lock_guard lock(m_Mutex);
    m_Over = true;
    m_Changed.notify_all();
}

void CosimSession::Ended(std::int32_t code) {
    m_Exchange->Done(code);
    Over();
}

void CosimSession::Lost(const kelda::LostEngine& engine) {
    m_Exchange->Lost(engine);
    Over();
}

void CosimSession::Cancel() {
    m_Exchange->Cancel();
    Over();
}

CosimSession::Outcome CosimSession::Run(IKeldaEngine& engine) {
    std::optional<CosimShape> shape;
    {
        std::unique_lock lock(m_Mutex);
        m_Changed.wait(lock, [this] { return m_Over || m_Shape; });
        shape = m_Shape;
    }
    try {
        if (shape)
            return Play(engine, *shape);
        Outcome outcome = WaitForEnd();
        if (outcome.code == 0)
            outcome.fault =
                "the circuit has no co-simulation that samples could drive (no line \"*% cosim source ...\")";
        return outcome;
    } catch (const std::exception& error) {
        return {.code = {}, .fault = error.what()};
    }
}

CosimSession::Outcome CosimSession::Play(IKeldaEngine& engine, const CosimShape& shape) {
    if (std::string misfit = m_Samples.Misfit(shape); !misfit.empty())
        return {.code = {}, .fault = misfit};
    if (m_Ports)
        m_Ports->Headings(shape.ports);
    COSIMPORTDATA ports;
    for (std::int64_t step = 0; step < shape.steps;) {
        const auto count = static_cast<std::int32_t>(std::min<std::int64_t>(m_BlockSize, shape.steps - step));
        COSIMSRCDATA block(shape.sources, count);
        block.m_TimeStep = shape.step;
        for (std::int32_t source = 0; source < shape.sources; ++source)
            for (std::int32_t i = 0; i < count; ++i)
                block.m_Data[static_cast<std::size_t>(source)][static_cast<std::size_t>(i)] =
                    m_Samples.At(source, step + i);
        const HRESULT result = m_Exchange->Deliver(engine, block);
        if (result == E_INVALIDARG)
            return {.code = {}, .fault = m_Exchange->Reason()};
        // Whatever else there is to a block that isn't taken, the end of the exchange tells.
        if (result != S_OK || m_Exchange->Wait(ports) != kelda::CosimEvent::kPorts)
            break;
        if (ports.m_NumPorts != shape.ports || ports.m_NumSteps != count)
            return {.code = {},
                    .fault =
                        fmt::format("{} steps of {} ports came from the engine, {} steps of {} are expected",
                                    ports.m_NumSteps, ports.m_NumPorts, count, shape.ports)};
        Write(ports, shape, step);
        step += count;
    }
    if (m_Ports)
        m_Ports->Flush();
    Outcome outcome = WaitForEnd();
    try {
        if (m_Ports)
            m_Ports->Close();
    } catch (const std::runtime_error& error) {
        outcome.fault = error.what();
    }
    return outcome;
}

void CosimSession::Write(const COSIMPORTDATA& block, const CosimShape& shape, std::int64_t firstStep) {
    if (!m_Ports)
        return;
    for (std::int32_t i = 0; i < block.m_NumSteps; ++i) {
        const std::int64_t step = firstStep + i + 1;
        m_Ports->Number(step == shape.steps ? shape.end : static_cast<double>(step) * shape.step);
        for (std::size_t port = 0; port < block.m_First.size(); ++port) {
            m_Ports->Comma();
            m_Ports->Number(block.m_First[port][static_cast<std::size_t>(i)]);
            m_Ports->Comma();
            m_Ports->Number(block.m_Second[port][static_cast<std::size_t>(i)]);
        }
        m_Ports->EndLine();
    }
    m_Ports->Flush();
}

CosimSession::Outcome CosimSession::WaitForEnd() {
    COSIMPORTDATA closing;
    for (;;)
        switch (m_Exchange->Wait(closing)) {
        case kelda::CosimEvent::kDone:
            return {.code = m_Exchange->ReturnCode(), .fault = {}};
        case kelda::CosimEvent::kLost:
        case kelda::CosimEvent::kCancelled:
            return {};
        case kelda::CosimEvent::kPorts:
        case kelda::CosimEvent::kClosed:
        case kelda::CosimEvent::kTimedOut:
            break;
        }
}

} // namespace job
