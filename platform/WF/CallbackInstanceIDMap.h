#pragma once

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/UnknownBase.h>

#include <cstddef>
#include <cstdint>

namespace WF {

// The importer layer's table of objects that the host's render callbacks reach
// by number rather than by pointer: a per-clip video stream handed to the
// smart renderer, for instance. The callbacks cross into code that cannot hold
// an interface reference, so it is given an id and looks the object up.
//
// The table keeps each object alive until its id is removed. Ids are positive,
// unique for the life of the process (a removed id is never handed out again,
// so a stale callback finds nothing rather than another object), and the
// table is safe to use from any thread.
//
// Example:
//   const int32_t id = WF::CreateUniqueCallbackInstanceID(stream);
//   ... the host's callback calls WF::FindCallbackInstance(id) ...
//   WF::RemoveIDFromInstanceIDMap(id);

// Files `object` under a new id and returns the id. A null object gets an id
// too: what the id reaches is the caller's business.
int32_t CreateUniqueCallbackInstanceID(kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase> object);

// Forgets `id` and drops the table's reference to its object. An id that is
// not in the table (never given, or removed already) is ignored.
void RemoveIDFromInstanceIDMap(int32_t id);

// The object filed under `id`, or null.
kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase> FindCallbackInstance(int32_t id);

// How many ids are filed now, for tools and tests that check nothing leaks.
size_t CountCallbackInstances();

}  // namespace WF
