// What the server's command line asks for.
#pragma once

#include <stringutils/astring.h>

#include <vector>

enum class ServerRoad {
    kRegister,    // write the registration and end
    kUnregister,  // take it back and end
    kServe,       // serve a client
    kCommandLine, // hand the tokens to the kernel
};

// One line of the arguments, the program's name first. An argument that holds white space, or nothing, is put
// in double quotes so that it stays one token; one that brings quotes of its own stays as it is.
AString BuildCommandLine(int argc, const char* const* argv);

// A verb is the text from behind a "-" or "/" to the end of the line, without regard to case: "RegServer",
// "UnregServer", "Embedding", "Automation". The first from the left that is a verb decides. Without one, a
// line of two or more tokens is for the kernel.
ServerRoad ChooseRoad(const AString& line);

// The parts of the line between white space that lies outside double quotes. The quotes stay in the token.
std::vector<AString> TokeniseCommandLine(const AString& line);
