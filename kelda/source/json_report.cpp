#include "job_report.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

const char* SeverityName(int severity) {
    switch (severity) {
    case kSeverityWarning:
        return "warning";
    case kSeverityError:
    case kSeverityFatal:
        return "error";
    default:
        return "information";
    }
}

class JsonReport final : public JobReport {
public:
    explicit JsonReport(Output& out) : m_Out(out) {}

    void Started(const StartedJob& job) override {
        Line({{"event", "started"}, {"job", job.handle}, {"circuit", job.circuit}, {"project", job.project}});
    }
    void Message(const MessageText& message) override {
        Line({{"event", "message"},
              {"severity", SeverityName(message.severity)},
              {"text", std::string(message.text.ToNarrow(kEncodingUtf8))}});
    }
    void Result(const std::string& path) override { Line({{"event", "result"}, {"path", path}}); }
    void Refresh(double progress) override {
        if (progress == m_Progress)
            return;
        m_Progress = progress;
        Line({{"event", "progress"}, {"value", progress}});
    }
    void Done(std::int32_t code) override {
        Line({{"event", "done"}, {"code", code}, {"seconds", Seconds()}});
    }
    void Lost(const kelda::LostEngine& engine) override {
        Json line{{"event", "lost"}, {"reason", engine.reason}};
        if (engine.signal != 0)
            line["signal"] = engine.signal;
        else if (engine.process != 0)
            line["status"] = engine.exitStatus;
        line["seconds"] = Seconds();
        Line(line);
    }
    void Aborted(const std::string& reason) override {
        Line({{"event", "aborted"}, {"reason", reason}, {"seconds", Seconds()}});
    }

private:
    void Line(const Json& object) {
        // A path or a reason may hold bytes that are no UTF-8; a reader of JSON can't do with them.
        m_Out.Write(object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n');
    }

    Output& m_Out;
    double m_Progress = -1;
};

} // namespace

std::unique_ptr<JobReport> MakeJsonReport(Output& out) {
    return std::make_unique<JsonReport>(out);
}
