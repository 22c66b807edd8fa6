// tarvok, the engine host: registers itself, serves one client, or hands its command line to the simulation
// kernel.

#include <engine/message_manager_slot.h>
#include <engine/server.h>

#include <startup/command_line.h>
#include <startup/registration.h>

#include <mvcore/mvcore.h>
#include <stringutils/astring.h>

#include <malloc.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int kWrongUse = 2;

constexpr char kHowToStart[] =
    "tarvok is started by a client, such as `kelda run CIRCUIT`, which gives it a channel to serve.\n"
    "By hand it takes a circuit:   tarvok CIRCUIT [-o DIR] [--quiet] [--help]\n"
    "or a verb:                    tarvok -RegServer | -UnregServer\n";

std::vector<std::string> Utf8Tokens(const AString& line) {
    std::vector<std::string> tokens;
    for (const AString& token : TokeniseCommandLine(line))
        tokens.emplace_back(token.ToNarrow(1));
    return tokens;
}

int Serve(const std::vector<std::string>& tokens) {
    ClientSockets sockets;
    std::string error;
    if (TakeClientSockets(tokens, sockets, error))
        return ServeClient(std::move(sockets));
    if (!error.empty())
        std::fprintf(stderr, "tarvok: %s\n", error.c_str());
    std::fputs(kHowToStart, stderr);
    return kWrongUse;
}

// How the libraries find the message manager of the thread that they work on.
const CMvOrvaneApplication g_Application(GetMessageManager);

int Run(int argc, char** argv) {
    InitMvcoreDLL(&g_Application);
    AString line = BuildCommandLine(argc, argv);
    ServerRoad road = ChooseRoad(line);
    switch (road) {
    case ServerRoad::kRegister:
    case ServerRoad::kUnregister:
        return RunRegistration(road);
    case ServerRoad::kServe:
        return Serve(Utf8Tokens(line));
    case ServerRoad::kCommandLine:
        return RunCommandLine(Utf8Tokens(line));
    }
    return kWrongUse;
}

} // namespace

int main(int argc, char** argv) {
    // Narrow text follows the user's locale; numbers keep their point.
    std::setlocale(LC_CTYPE, "");
    // Each job has a thread of its own, and only one works at a time: an arena a thread would keep what the
    // one before left in pieces.
    mallopt(M_ARENA_MAX, 1);
    // The texts of one block after the other take the same memory; given back to the system in between, every page of it would
    // have to be had anew.
    mallopt(M_MMAP_THRESHOLD, 4 << 20);
    mallopt(M_TRIM_THRESHOLD, 16 << 20);
    int status = Run(argc, argv);
    std::fflush(nullptr);
    // Without the destructors of the process: a job's thread may still be in the kernel.
    _exit(status);
}
