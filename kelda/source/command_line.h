// The whole command line: what its words ask for is done.
#pragma once

// The exit status. Errors are told on standard error, none is thrown.
int RunCommandLine(int argc, char** argv);
