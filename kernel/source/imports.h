// Stands between a loaded library and the C library.
//
// ngspice calls the C library where an embedded simulator must not: it reads ".spiceinit" from the working
// directory, runs shell commands, writes log files, installs signal handlers, sets the locale, and calls
// `exit`. There is no option against most of these, so the addresses that its import table holds for them are
// replaced after loading.
#pragma once

#include <initializer_list>

namespace ckt {

struct Import {
    const char* name;
    void* replacement;
};

// Replaces imports of the loaded library that `handle` (of dlopen) stands for; a name that it doesn't import
// is passed over. False if the library's tables can't be found or written.
bool replace_imports(void* handle, std::initializer_list<Import> imports);

} // namespace ckt
