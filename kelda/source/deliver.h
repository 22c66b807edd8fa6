// What a command ends with: its result, or why there is none.
#pragma once

#include <string>

// Says `reason` on standard error. The status of work that failed.
int Fail(const std::string& reason);

// Writes `bytes` to the file `name`, which afterwards is whole or as it was before, or, for "-", to standard output. `status`
// if all went well.
int Deliver(const std::string& bytes, const std::string& name, int status);
