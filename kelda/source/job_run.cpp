#include "job_run.h"

#include "engine_job.h"
#include "exit_status.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <optional>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kShortestRefresh{50};  // what moves is drawn no more often
constexpr milliseconds kLongestRefresh{1000}; // the elapsed time moves even when nothing else does
constexpr milliseconds kAbortPatience{3000};  // for an engine that doesn't answer
constexpr milliseconds kLostPatience{6000};   // libkelda kills what doesn't leave within 5 s
constexpr milliseconds kLastWords{500};       // for a reader that takes nothing, once the end is decided

AString FromUtf8(const std::string& text) {
    AString units;
    units.Assign(kEncodingUtf8, text.data(), static_cast<int>(text.size()));
    return units;
}

class JobRun {
public:
    JobRun(const RunRequest& request, Output& out, Output& err, SignalWatch& signals, JobReport& report)
        : m_Request(request), m_Out(out), m_Err(err), m_Signals(signals), m_Report(report),
          m_Job(request.circuit, request.project, request.data, request.cosim) {}

    int Run() {
        while (!m_Status) {
            Wait();
            if (m_Signals.Take())
                Interrupt();
            for (job::Event& event : m_Job.Events().Take())
                if (!m_Status)
                    std::visit([this](auto& what) { Handle(what); }, event);
            if (!m_Status && Clock::now() >= m_Deadline)
                Overdue();
            RefreshIfDue();
            m_Err.Flush();
            m_Out.Flush();
            if (!m_Status && !m_Abort && (m_Out.Error() != 0 || m_ReaderGone))
                Abort(AbortReason::kOutput);
        }
        return Finish();
    }

private:
    enum class AbortReason { kInterrupted, kOutput, kCosim };

    void Wait() {
        Clock::time_point now = Clock::now();
        Clock::time_point next = std::min(m_Deadline, now + kLongestRefresh);
        if (Refreshes())
            next = std::min(next, NextRefresh());
        auto left = std::chrono::ceil<milliseconds>(next - now);
        pollfd waits[] = {{m_Signals.Descriptor(), POLLIN, 0},
                          {m_Job.Events().Descriptor(), POLLIN, 0},
                          {m_Request.usesOut && !m_Abort ? m_Out.Descriptor() : -1, 0, 0}};
        poll(waits, std::size(waits), static_cast<int>(std::max(left, milliseconds(0)).count()));
        // A pipe or a terminal that nobody reads any more.
        m_ReaderGone = (waits[2].revents & (POLLERR | POLLHUP)) != 0;
    }

    Clock::time_point NextRefresh() const {
        return m_Refreshed + (m_Progress != m_ShownProgress ? kShortestRefresh : kLongestRefresh);
    }

    bool Refreshes() const { return m_Started && !m_Abort && !m_Status; }

    void RefreshIfDue() {
        if (Refreshes() && Clock::now() >= NextRefresh())
            Refresh();
    }

    void Refresh() {
        m_Refreshed = Clock::now();
        m_ShownProgress = m_Progress;
        m_Report.Refresh(m_Progress);
    }

    void Interrupt() {
        if (m_Abort)
            m_Status = StatusOfAbort(); // asked again: no more waiting
        else
            Abort(AbortReason::kInterrupted);
    }

    void Abort(AbortReason reason) {
        m_Abort = reason;
        m_Out.SetPatience(kLastWords);
        m_Err.SetPatience(kLastWords);
        m_Deadline = Clock::now() + kAbortPatience;
        if (m_Started)
            m_Job.Abort();
        else
            m_Status = StatusOfAbort();
    }

    int StatusOfAbort() const { return m_Abort == AbortReason::kInterrupted ? kInterrupted : kWorkFailed; }

    void Overdue() {
        if (m_Abort)
            m_Status = StatusOfAbort();
        else
            LoseEngine({.reason = m_NotStarted});
    }

    void Handle(const job::Started& started) {
        m_Started = true;
        m_Report.Started({started.handle, m_Request.circuit, m_Request.project});
        Refresh();
    }

    void Handle(job::NotStarted& failure) {
        if (!failure.engineGone)
            return LoseEngine({.reason = failure.reason});
        m_NotStarted = std::move(failure.reason);
        m_Deadline = Clock::now() + kLostPatience;
    }

    void Handle(const job::Progress& progress) {
        m_Progress = std::isnan(progress.value) ? 0 : progress.value;
    }

    void Handle(const job::Message& message) {
        constexpr std::u16string_view kResult = u"result file: ";
        MessageText text;
        // Whatever can't be read is shown as it came: no message is lost.
        if (!ReadMessageText(message.form, UserMessages(), text))
            text.text = AString(message.form);
        if (text.severity == kSeverityInformation && std::u16string_view(text.text).starts_with(kResult))
            m_Report.Result(std::string(text.text.Mid(kResult.size()).ToNarrow(kEncodingUtf8)));
        else
            m_Report.Message(text);
        job::CosimShape shape;
        if (!m_Abort && ReadCosimShape(std::string(text.text.ToNarrow(kEncodingUtf8)), shape))
            HandleCosim(shape);
    }

    void Handle(const job::NoData& fault) { m_Report.Message({kSeverityError, FromUtf8(fault.reason)}); }

    void HandleCosim(const job::CosimShape& shape) {
        if (!m_Request.cosim)
            return AbortCosim(
                "the circuit's sources are driven from outside: --cosim-in has to name a file with their "
                "samples");
        const std::string remark = m_Request.cosim->Announced(shape);
        if (!remark.empty())
            m_Report.Message({kSeverityInformation, FromUtf8(remark)});
    }

    void Handle(const job::CosimFault& fault) {
        if (!m_Abort)
            AbortCosim(fault.reason);
    }

    void AbortCosim(const std::string& fault) {
        m_CosimFault = fault;
        Abort(AbortReason::kCosim);
    }

    void Handle(const job::Done& done) {
        if (m_Abort)
            return;
        if (m_Progress != m_ShownProgress)
            Refresh();
        if (!done.fault.empty())
            m_Report.Message({kSeverityError, FromUtf8(done.fault)});
        m_Status = done.code == 0 && done.fault.empty() ? kDone : kWorkFailed;
        m_Report.Done(done.code);
    }

    void Handle(const job::Lost& lost) {
        // A signal that was sent to this process and its engine alike is an interruption, whoever felt it
        // first.
        if (!m_Abort && m_Signals.Take())
            Abort(AbortReason::kInterrupted);
        if (m_Abort)
            m_Status = StatusOfAbort();
        else
            LoseEngine(lost.engine);
    }

    void Handle(const job::Aborted&) { m_Status = StatusOfAbort(); }

    void LoseEngine(const kelda::LostEngine& engine) {
        m_Status = kEngineLost;
        m_Report.Lost(engine);
    }

    int Finish() {
        if (m_Abort)
            m_Report.Aborted(ReasonOfAbort());
        m_Err.Flush();
        if (!m_Out.Flush() && *m_Status == kDone)
            m_Status = m_Out.Error() != 0 ? kWorkFailed : kInterrupted;
        if (m_Out.Error() != 0 && m_Out.Error() != EPIPE)
            m_Err.Write("kelda: " + OutputFailure() + "\n");
        m_Err.Flush();
        return *m_Status;
    }

    std::string ReasonOfAbort() const {
        if (m_Abort == AbortReason::kInterrupted)
            return "interrupted";
        if (m_Abort == AbortReason::kCosim)
            return m_CosimFault;
        return m_Out.Error() != 0 && m_Out.Error() != EPIPE ? OutputFailure()
                                                            : "nobody reads standard output";
    }

    std::string OutputFailure() const {
        return std::string("can't write to standard output: ") + std::strerror(m_Out.Error());
    }

    const RunRequest& m_Request;
    Output& m_Out;
    Output& m_Err;
    SignalWatch& m_Signals;
    JobReport& m_Report;
    job::EngineJob m_Job;

    std::optional<int> m_Status; // set: it is over
    std::optional<AbortReason> m_Abort;
    bool m_Started = false;
    bool m_ReaderGone = false;
    std::string m_NotStarted;
    std::string m_CosimFault;
    Clock::time_point m_Deadline = Clock::time_point::max();
    Clock::time_point m_Refreshed{};
    double m_Progress = 0;
    double m_ShownProgress = -1;
};

} // namespace

int RunJob(const RunRequest& request, Output& out, Output& err, SignalWatch& signals, JobReport& report) {
    return JobRun(request, out, err, signals, report).Run();
}
