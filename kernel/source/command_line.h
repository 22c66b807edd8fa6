// The command line: PROGRAM CIRCUIT [-o DIR] [--quiet] [--help].
#pragma once

#include "messages.h"
#include "progress.h"

namespace ckt {

// `progress` and `messages` are the host's; a null `messages` prints to standard output. Returns 0 done, 1
// the job failed, 2 wrong use.
int run_command_line(int argc, char** argv, const Progress::Sink& progress, const Messages::Sink& messages);

} // namespace ckt
