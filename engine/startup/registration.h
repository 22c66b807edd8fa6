// The server's entries in the registry: how a client finds the class, its program and its type library.
//
// Registering writes to the machine's classes if the process may, else to the user's. Taking it back clears
// both, as far as the process may write them.
#pragma once

#include <startup/command_line.h>

#include <platform/result.h>
#include <registry/registry.h>

#include <string>

// Writes all entries at once, with `program`, a path in UTF-8, as the server's. Throws registry::Error; then
// none stands.
void RegisterServer(registry::Store& store, const std::string& program);

// Takes them back. Throws registry::Error: what the process may not write still holds the entries, and
// nothing else held them, or a file is damaged.
void UnregisterServer(registry::Store& store);

// Calls an entry of the interfaces' proxy library, looked for in `folder` and then where the loader looks. A
// library or entry that can't be found is a failure.
HRESULT CallProxyLibrary(const std::string& folder, const char* entry);

// What the roads kRegister and kUnregister do, for the running program. Gives the process's exit status: 0,
// or the low byte of the result, with the reason on standard error.
int RunRegistration(ServerRoad road);
