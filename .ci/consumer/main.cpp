// consumer CIRCUIT FOLDER: uses the installed headers and libraries, and through them the engine that is
// registered, to run a job. Ends with 0 when the job did.
#include <client/kelda_client.h>
#include <registry/registry.h>
#include <stringutils/astring.h>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <future>

namespace {

class Progress : public kelda::ProgressInterface {
public:
    HRESULT AnalysisDone(std::int32_t code) override {
        done.set_value(code);
        return S_OK;
    }
    std::promise<std::int32_t> done;
};

int Run(const char* circuit, const char* folder) {
    registry::Store store;
    auto server = store.OpenKey(registry::HKEY_CLASSES_ROOT, u"Keldasimengine.KeldaEngine\\CLSID",
                                registry::KEY_QUERY_VALUE);
    std::printf("registered class: %s\n", server ? server->GetText(u"")->ToNarrow(1).CStr() : "none");
    std::printf("engine: %s\n", kelda::FindServer().c_str());

    auto engine = kelda::ActivateEngine();
    auto progress = platform::InterfacePtr<Progress>::Adopt(new Progress);
    std::int32_t job = 0;
    platform::UniqueBstr file{AString(circuit)};
    platform::UniqueBstr project{AString(folder)};
    HRESULT started = engine->StartAnalysis(progress.Get(), nullptr, file.Get(), project.Get(), &job);
    if (started != S_OK) {
        std::printf("the job wasn't started: %x\n", static_cast<unsigned>(started));
        return 1;
    }
    std::int32_t code = progress->done.get_future().get();
    std::printf("the job ended with %d\n", code);
    return code == 0 && server ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3)
        return 2;
    try {
        return Run(argv[1], argv[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "consumer: %s\n", error.what());
        return 1;
    }
}
