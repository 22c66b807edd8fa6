// How the program ends, the same for every command.
#pragma once

enum ExitStatus : int {
    kDone = 0,
    kWorkFailed = 1, // the job's code wasn't 0, a file has errors, or the results can't be written out
    kWrongUse = 2,
    kEngineLost = 3, // or couldn't be started
    kInterrupted = 130,
};
