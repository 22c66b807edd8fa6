// kelda, the command-line client.

#include "command_line.h"
#include "output.h"

#include <signal.h>
#include <unistd.h>

#include <clocale>

int main(int argc, char** argv) {
    HoldStandardDescriptors();
    std::setlocale(LC_CTYPE, "");
    // A reader that goes away and a file that may grow no more are seen where they are written to.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
    const int status = RunCommandLine(argc, argv);
    // Without the destructors of the process: a thread of the library may still be seeing an engine off.
    _exit(status);
}
