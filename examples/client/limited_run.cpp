// Runs a circuit with a limit of time: shows what the job says, and aborts it when the time is over.
//
//   limited_run CIRCUIT RESULTS SECONDS

#include "job.h"

#include <messagelibni/orvane_message.h>
#include <mvcore/message_catalogue.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {

// The words of a message, in the user's language where the catalogue has it; else the text that it carries.
std::string Words(BSTR form, MessageCatalogue& catalogue) {
    OrvaneMessage message(0, 0, 0, 0, 0, AString(), AString());
    message.FromText(AString(form, SysStringLen(form)));
    const AString* carried = message.GetArgumentText(0);
    AString words = carried ? *carried : AString(), error;
    if (catalogue.GetLib(message.m_LibId) && message.BuildMessage(error, &catalogue))
        words = message.m_Message;
    return std::string(words.ToNarrow(kEncodingUtf8));
}

class Progress : public JobProgress {
public:
    using JobProgress::JobProgress;

    HRESULT ProgressUpdate(double value) override {
        if (const int tenths = static_cast<int>(10 * value); tenths > m_Tenths)
            std::fprintf(stderr, "%d %%\n", 10 * (m_Tenths = tenths));
        return S_OK;
    }
    HRESULT PostOrvaneMessage(BSTR message) override {
        std::fprintf(stderr, "%s\n", Words(message, m_Catalogue).c_str());
        return S_OK;
    }

private:
    // Of this object, which a callback keeps alive: one that is under way may outlast even main.
    MessageCatalogue m_Catalogue;
    int m_Tenths = 0;
};

// Gives why the job has no results, or nothing.
std::string Run(const char* circuitPath, const char* resultsPath, std::chrono::duration<double> limit) {
    auto ending = std::make_shared<Ending>();
    auto engine = Activate(ending);
    auto progress = platform::InterfacePtr<Progress>::Adopt(new Progress(ending));

    auto circuit = PathText(circuitPath), results = PathText(resultsPath);
    std::int32_t job = 0;
    if (engine->StartAnalysis(progress.Get(), nullptr, circuit.Get(), results.Get(), &job) != S_OK)
        return "the engine doesn't take the job";
    if (ending->Wait(limit))
        return ending->Fault();
    engine->AbortAnalysis(job, 0);
    return "aborted: the time is over";
}

} // namespace

int main(int argc, char** argv) {
    const double seconds = argc == 4 ? std::atof(argv[3]) : 0;
    if (!(seconds > 0)) {
        std::fprintf(stderr, "Usage: limited_run CIRCUIT RESULTS SECONDS\n");
        return 2;
    }
    try {
        const std::string fault = Run(argv[1], argv[2], std::chrono::duration<double>(seconds));
        if (fault.empty())
            return 0;
        std::fprintf(stderr, "limited_run: %s\n", fault.c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "limited_run: %s\n", error.what());
    }
    return 1;
}
