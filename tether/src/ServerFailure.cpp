#include <tether/ServerFailure.h>

#include <kilncore/debug/Trace.h>

#include <mutex>

namespace tether {
namespace {

std::mutex gMutex;
std::optional<ServerFailure> gLast;

}  // namespace

void RecordServerFailure(ServerFailure failure) {
  if (failure.message.empty()) {
    return;
  }
  if (kilncore::debug::TraceEnabled("tether", 0)) {
    kilncore::debug::Trace(0, "tether",
                           failure.operation + " failed (status " + std::to_string(failure.status) +
                               "): " + failure.message);
  }
  std::lock_guard lock(gMutex);
  gLast = std::move(failure);
}

std::optional<ServerFailure> LastServerFailure() {
  std::lock_guard lock(gMutex);
  return gLast;
}

void ClearLastServerFailure() {
  std::lock_guard lock(gMutex);
  gLast.reset();
}

}  // namespace tether
