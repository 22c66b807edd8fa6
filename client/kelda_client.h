// libkelda: finds, starts and drives the engine.
//
//   class Progress : public kelda::ProgressInterface { ... };
//   auto engine = kelda::ActivateEngine();
//   auto progress = platform::InterfacePtr<Progress>::Adopt(new Progress);
//   std::int32_t job = 0;
//   engine->StartAnalysis(progress.Get(), nullptr, file.Get(), folder.Get(), &job);
//
// Every engine object has a process `tarvok` of its own. When that process is gone, because a job was aborted
// in the midst of its work or because it crashed, the next call starts a fresh one; job handles go on
// counting. Dropping the last reference lets the process go.
//
// Threads: any thread may call the engine object. A job's callbacks come one after the other on a thread of
// the library, never on the thread that started the job; a callback may call the engine, to start the next
// job from AnalysisDone for instance. What the engine has to say within a call comes on the thread that makes
// the call. Once AbortAnalysis has returned, no further callback of that job begins; one that is under way isn't
// waited for, and may go on while the program ends: what it uses belongs to its object, which is kept for it, and
// not to what is destroyed with main.
#pragma once

#include <keldasimenginelib/keldasimenginelib.h>
#include <platform/unknown.h>

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>

namespace kelda {

// A call on an engine whose process can't be started.
inline constexpr HRESULT kEngineNotStarted = static_cast<HRESULT>(0x80080005);

// How an engine process ended that its client hadn't sent away.
struct LostEngine {
    pid_t process = 0;
    int signal = 0;     // the signal that killed it, 0 if none did
    int exitStatus = 0; // else its exit status
    std::string reason; // in words
};

struct ActivationOptions {
    // The engine's executable. Empty: FindServer's.
    std::string server;

    // Called once for each engine process that is lost, on the library's thread: a job that it ran brings no
    // AnalysisDone. Called too when a later call can't start a fresh process, on the thread of that call and
    // with process 0.
    std::function<void(const LostEngine&)> onLost;

    // How long a started process may take to answer its first call.
    std::chrono::milliseconds patience{10'000};
};

class ActivationError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Starts an engine that has answered its first call. Throws ActivationError, which says which executable was
// tried and what happened.
platform::InterfacePtr<IKeldaEngine> ActivateEngine(ActivationOptions options = {});

// The engine's executable: the one that the environment variable TARVOK_SERVER names; else the registered
// one, if it is there; else `tarvok` beside the running program. Throws ActivationError where all three fail.
std::string FindServer();

// A progress interface that listens to nothing: the base of one that overrides what it cares for. Lives on
// the heap and starts with one reference, the creator's.
class ProgressInterface : public platform::CountedObject<IKeldaProgressInterface> {
public:
    HRESULT ProgressUpdate(double) override { return S_OK; }
    HRESULT AnalysisDone(std::int32_t) override { return S_OK; }
    HRESULT PostOrvaneMessage(BSTR) override { return S_OK; }
    HRESULT BounceOrvaneMessage(BSTR*) override { return S_OK; }
    HRESULT PutCosimPortData(BSTR) override { return S_OK; }
};

// A solution interface that has no data.
class SolutionInterface : public platform::CountedObject<IKeldaSolutionInterface> {
public:
    HRESULT GetFieldSolverData(BSTR, BSTR, BSTR, BSTR, BSTR, BSTR, BSTR*, std::int32_t*) override {
        return S_OK;
    }
    HRESULT GetNetlistSolverData(BSTR, BSTR, BSTR, BSTR*, std::int32_t*) override { return S_OK; }
};

} // namespace kelda
