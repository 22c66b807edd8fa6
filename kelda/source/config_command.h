// `kelda config`: the settings in the registry store.
#pragma once

namespace CLI {
class App;
}

void AddConfigCommand(CLI::App& app, int& status);
