// `kelda net`: networks from the shell.
#pragma once

namespace CLI {
class App;
}

void AddNetCommand(CLI::App& app, int& status);
