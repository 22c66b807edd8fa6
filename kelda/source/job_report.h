// What becomes of a job before the eyes of whoever runs it: text for a person, lines for a program.
//
// Order of calls: Started, then any of Message, Result and Refresh, then one of Done, Lost and Aborted.
// Without Started the job can still be Lost or Aborted. Nothing is on its way before the streams have been
// flushed.
#pragma once

#include "message_text.h"
#include "output.h"

#include <client/kelda_client.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

struct StartedJob {
    std::int32_t handle;
    std::string circuit; // absolute
    std::string project; // absolute
};

class JobReport {
public:
    virtual ~JobReport() = default;

    virtual void Started(const StartedJob& job) = 0;
    virtual void Message(const MessageText& message) = 0;
    virtual void Result(const std::string& path) = 0;

    // Called a few times a second: what moves is brought up to date. `progress` runs from 0 to 1.
    virtual void Refresh(double progress) = 0;

    virtual void Done(std::int32_t code) = 0;
    virtual void Lost(const kelda::LostEngine& engine) = 0;
    virtual void Aborted(const std::string& reason) = 0;

protected:
    // Since the report was made.
    double Seconds() const { return std::chrono::duration<double>(Clock::now() - m_Begin).count(); }

private:
    using Clock = std::chrono::steady_clock;
    const Clock::time_point m_Begin = Clock::now();
};

enum class Detail { kQuiet, kNormal, kVerbose };

// Messages and a progress bar on `err`, the list of result files on `out`.
std::unique_ptr<JobReport> MakeTextReport(Output& out, Output& err, Detail detail);

// One JSON object a line on `out`.
std::unique_ptr<JobReport> MakeJsonReport(Output& out);
