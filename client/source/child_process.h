// Engine processes as children of this one.
#pragma once

#include <client/kelda_client.h>

#include <chrono>
#include <string>

namespace kelda {

// Starts `program` for a client, with the two sockets as descriptors 3 and 4 and none of this process's other
// ones; its standard output goes to standard error, for standard output is the client's own. -1 and `error`
// (an errno) on failure.
pid_t SpawnChild(const std::string& program, int calls, int callbacks, int& error);

// Waits for the end of a child and takes its status. A child that doesn't end within `patience` is killed.
// Blocks the caller.
LostEngine WaitForChild(pid_t process, std::chrono::milliseconds patience);

} // namespace kelda
