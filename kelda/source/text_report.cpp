#include "job_report.h"

#include "printable.h"
#include "progress_bar.h"

#include <fmt/format.h>

#include <cstdlib>
#include <vector>

namespace {

std::string Duration(double seconds) {
    constexpr double kMinute = 60;
    return seconds < kMinute ? fmt::format("{:.1f} s", seconds) : ClockText(seconds);
}

class TextReport final : public JobReport {
public:
    TextReport(Output& out, Output& err, Detail detail)
        : m_Out(out), m_Err(err), m_Detail(detail), m_Colours(err.IsStyled() && !NoColour()), m_Bar(err) {}

    void Started(const StartedJob& job) override {
        if (m_Detail == Detail::kVerbose)
            Line(fmt::format("job {}: {}, results to {}", job.handle, Printable(job.circuit),
                             Printable(job.project)));
    }

    void Message(const MessageText& message) override {
        std::string text = Printable(message.text);
        switch (message.severity) {
        case kSeverityWarning:
            Line(Label("warning: ", "\x1b[1;35m") + text);
            break;
        case kSeverityError:
        case kSeverityFatal:
            Line(Label("error: ", "\x1b[1;31m") + text);
            break;
        default:
            if (m_Detail != Detail::kQuiet)
                Line(text);
        }
    }

    void Result(const std::string& path) override {
        m_Results.push_back(path);
        if (m_Detail == Detail::kVerbose)
            Line("result file: " + Printable(path));
    }

    void Refresh(double progress) override {
        if (m_Detail == Detail::kQuiet)
            return;
        if (m_Err.IsStyled())
            m_Bar.Draw(progress, Seconds());
        else if (m_Detail == Detail::kVerbose && static_cast<int>(progress * 10) > m_Tenths)
            Line(fmt::format("{} %", (m_Tenths = static_cast<int>(progress * 10)) * 10));
    }

    void Done(std::int32_t code) override {
        if (code != 0)
            Own(fmt::format("the job failed with code {}", CodeText(code)));
        else if (m_Detail != Detail::kQuiet)
            Line("done in " + Duration(Seconds()));
        ListResults();
    }

    void Lost(const kelda::LostEngine& engine) override {
        Own(engine.process == 0 ? engine.reason : engine.reason + "; the job was lost");
        ListResults();
    }

    void Aborted(const std::string& reason) override {
        Own(fmt::format("{}; the job was aborted after {}", reason, Duration(Seconds())));
        ListResults();
    }

private:
    static bool NoColour() {
        const char* wish = std::getenv("NO_COLOR");
        return wish && *wish;
    }

    // A kernel's codes are small numbers, those of the system are known by their digits in hexadecimal.
    static std::string CodeText(std::int32_t code) {
        return code >= 0 ? std::to_string(code) : fmt::format("0x{:08X}", static_cast<std::uint32_t>(code));
    }

    std::string Label(const char* label, const char* colour) const {
        return m_Colours ? std::string(colour) + label + "\x1b[0m" : label;
    }

    void Line(const std::string& text) {
        m_Bar.Clear();
        m_Err.Write(m_Detail == Detail::kVerbose ? fmt::format("[{:9.3f} s] {}\n", Seconds(), text)
                                                 : text + "\n");
    }

    void Own(const std::string& text) { Line("kelda: " + text); }

    // What was finished is there, however the job ended.
    void ListResults() {
        m_Bar.Clear();
        m_Err.Flush();
        if (m_Detail == Detail::kQuiet)
            return;
        for (const std::string& path : m_Results)
            m_Out.Write((m_Out.IsTerminal() ? Printable(path) : path) + "\n");
    }

    Output& m_Out;
    Output& m_Err;
    const Detail m_Detail;
    const bool m_Colours;
    ProgressBar m_Bar;
    int m_Tenths = 0;
    std::vector<std::string> m_Results;
};

} // namespace

std::unique_ptr<JobReport> MakeTextReport(Output& out, Output& err, Detail detail) {
    return std::make_unique<TextReport>(out, err, detail);
}
