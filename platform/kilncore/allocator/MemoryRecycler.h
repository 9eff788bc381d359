#pragma once

#include <kilncore/allocator/STLAllocator.h>

namespace kilncore::allocator {

// The host's allocator for node-based containers (ordered maps and sets) that
// gain and lose entries all the time. Here it allocates as STLAllocator does;
// the separate name keeps callers' intent visible should the two ever differ.
template <class T>
using MemoryRecycler = STLAllocator<T>;

}  // namespace kilncore::allocator
