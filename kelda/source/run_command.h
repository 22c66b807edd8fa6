// `kelda run`: one job, from a circuit to its result files.
#pragma once

namespace CLI {
class App;
}

// Adds the command; when it is chosen, `status` receives the program's exit status.
void AddRunCommand(CLI::App& app, int& status);
