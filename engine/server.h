// The two roads of the server process behind its registration verbs.
#pragma once

#include <platform/unique_fd.h>

#include <string>
#include <vector>

// The end of a started client's two sockets in this process.
struct ClientSockets {
    platform::UniqueFd calls;     // the client calls the engine
    platform::UniqueFd callbacks; // the engine calls the client
};

// The sockets that "--channel=CALLS,CALLBACKS" names. False when there is no such token; an error in words
// where the token is there and doesn't name two sockets.
bool TakeClientSockets(const std::vector<std::string>& tokens, ClientSockets& sockets, std::string& error);

// Serves the client until its references are gone, and gives the process's exit code. Ends the process itself
// when a job was aborted in the midst of its work.
int ServeClient(ClientSockets sockets);

// Hands the tokens, UTF-8 with their quotes, to the kernel.
int RunCommandLine(const std::vector<std::string>& tokens);
