#pragma once

#include <kilncore/config/KilnException.h>

namespace kilncore::async {

// The failures of the host's futures, each with its fixed text and code.

class BrokenPromiseException : public config::kiln_exception {
 public:
  static constexpr uint32_t kCode = 0xF3610001u;
  BrokenPromiseException() : kiln_exception("Future: Broken Promise", kCode) {}
};

class FutureNotReadyException : public config::kiln_exception {
 public:
  static constexpr uint32_t kCode = 0xF3610002u;
  FutureNotReadyException() : kiln_exception("Future: Not Ready", kCode) {}
};

class FutureIsCancelledException : public config::kiln_exception {
 public:
  static constexpr uint32_t kCode = 0xF3610004u;
  FutureIsCancelledException() : kiln_exception("Future Is Cancelled", kCode) {}
};

class ProgramTerminationHasStartedException : public config::kiln_exception {
 public:
  static constexpr uint32_t kCode = 0xF3610008u;
  ProgramTerminationHasStartedException()
      : kiln_exception("Program Termination Has Started", kCode) {}
};

}  // namespace kilncore::async
