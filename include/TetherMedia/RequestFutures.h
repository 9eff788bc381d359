#pragma once

#include <TetherMedia/Export.h>
#include <kilncore/async/FuturePromisePair.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>

namespace TetherMedia {

// Futures for requests to servers, each remembered in one table until it ends,
// so that it can be cancelled and so that termination fails whatever is open.
//
// The caller keeps the promise and completes it when the server answers, and
// waits on the future. However the request ends (answer, error, cancellation,
// a dropped promise or a dropped future, termination), it leaves the table.

// A request that the host can cancel by `path` and `sourceID` (CancelRequest).
//
// Returns an empty pair if a request with the same path and source is still
// open. Refusing such a duplicate also ends the open request's cancellability;
// the open request itself goes on and finishes normally.
//
// Once the application has started to terminate, returns a pair whose future
// has already failed with ProgramTerminationHasStartedException (0xF3610008),
// never an empty pair.
TETHERMEDIA_API kilncore::async::FuturePromisePair<void> CreateRequestFuture(
    const kilncore::WideString& path, const kilncore::utility::Guid& sourceID);

// A request with no identity of its own: it can't be cancelled through
// CancelRequest, but is failed at termination like every other.
TETHERMEDIA_API kilncore::async::FuturePromisePair<void> CreateRequestFuture();

// Fails the open request for `path` and `sourceID`, if there is one, with
// "User Canceled" (0xA00F0007). Its continuations run on the calling thread.
// Does nothing once the application has started to terminate.
TETHERMEDIA_API void CancelRequest(const kilncore::WideString& path,
                                   const kilncore::utility::Guid& sourceID);

}  // namespace TetherMedia
