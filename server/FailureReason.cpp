#include "FailureReason.h"

#include <utility>

namespace tetherserver {
namespace {

// Requests are handled start to end on one thread, so the reason of the
// current one needs no lock.
thread_local std::string tReason;

}  // namespace

void FailureReason::Set(std::string text) { tReason = std::move(text); }

FailureReason::Scope::Scope() { tReason.clear(); }

FailureReason::Scope::~Scope() { tReason.clear(); }

const std::string& FailureReason::Scope::Text() const { return tReason; }

}  // namespace tetherserver
