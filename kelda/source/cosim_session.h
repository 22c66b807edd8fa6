// The system simulator of `kelda run --cosim-in`: plays samples from a file to the job's sources and writes down its
// ports.
#pragma once

#include "cosim_files.h"

#include <client/cosim_exchange.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace job {

class CosimSession {
public:
    // Reads `samples` and opens `ports`, where it isn't empty, so that a fault in either is found before anything is started.
    // `blockSize` is above 0. Throws std::runtime_error.
    CosimSession(const std::string& samples, const std::string& ports, std::int32_t blockSize);

    // To be told of the job and its engine.
    const std::shared_ptr<kelda::CosimExchange>& Exchange() const { return m_Exchange; }

    // Any thread. The kernel has said what it expects; nothing is delivered before. Gives what the user should know of how the
    // samples meet it, or nothing.
    std::string Announced(const CosimShape& shape);

    // Any thread. The job has ended with a code or is lost, or whatever it does is of no interest any more.
    void Ended(std::int32_t code);
    void Lost(const kelda::LostEngine& engine);
    void Cancel();

    // The simulator's thread: returns when the job has ended, is lost or was cancelled, with what went wrong on this side, in
    // words. A fault that comes before the job's end leaves the job standing still.
    struct Outcome {
        std::optional<std::int32_t> code; // of a job that has ended
        std::string fault;
    };
    Outcome Run(IKeldaEngine& engine);

private:
    Outcome Play(IKeldaEngine& engine, const CosimShape& shape);
    void Write(const COSIMPORTDATA& block, const CosimShape& shape, std::int64_t firstStep);
    Outcome WaitForEnd();
    void Over();

    const SampleFile m_Samples;
    const std::unique_ptr<PortFile> m_Ports;
    const std::int32_t m_BlockSize;
    const std::shared_ptr<kelda::CosimExchange> m_Exchange = std::make_shared<kelda::CosimExchange>();

    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::optional<CosimShape> m_Shape;
    bool m_Over = false;
};

} // namespace job
