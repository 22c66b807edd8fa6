// A client that a test kills: starts an engine, and a job if commands are given, delivers one block of two samples, and then waits.
//   doomed_client SERVER FOLDER [COMMANDS]

#include <client/kelda_client.h>

#include <stringutils/astring.h>

#include <unistd.h>

#include <fstream>
#include <string>

namespace {

// Never answer, so that the job's thread is within a callback when the client dies.
struct Silent final : kelda::ProgressInterface {
    HRESULT ProgressUpdate(double) override {
        for (;;)
            pause();
    }
};

struct SilentData final : kelda::SolutionInterface {
    HRESULT GetFieldSolverData(BSTR, BSTR, BSTR, BSTR, BSTR, BSTR, BSTR*, std::int32_t*) override {
        for (;;)
            pause();
    }
};

} // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        return 2;
    auto engine = kelda::ActivateEngine({.server = argv[1], .onLost = {}});
    auto progress = platform::InterfacePtr<Silent>::Adopt(new Silent);
    auto data = platform::InterfacePtr<SilentData>::Adopt(new SilentData);
    if (argc > 3) {
        std::int32_t job = 0;
        engine->StartAnalysis(progress.Get(), data.Get(), platform::UniqueBstr(AString(argv[3])).Get(),
                              platform::UniqueBstr(AString(argv[2])).Get(), &job);
        engine->SendCosimSourceData(platform::UniqueBstr(u"1 1 2 5 6").Get());
    } else {
        std::ofstream(std::string(argv[2]) + "/started").close();
    }
    for (;;)
        pause();
}
