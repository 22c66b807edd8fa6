// `kelda block`: looks at stored texts and binary texts, and turns one form into another.
#pragma once

namespace CLI {
class App;
}

// Adds the command; when it is chosen, `status` receives the program's exit status.
void AddBlockCommand(CLI::App& app, int& status);
