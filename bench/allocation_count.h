// Counts what the program takes from the heap by operator new. In a source of its own, so that no compiler sees through
// the replaced operators into the allocator below them.
#pragma once

#include <cstddef>

std::size_t Allocations();    // so far
std::size_t AllocatedBytes(); // held now, as the allocator rounds them
