#pragma once

#include <kilncore/config/KilnException.h>

#include <string>

namespace kilnloomfactory::loom {

// A layout that can't be read: where (1-based line and column of the offending
// character) and why. what() gives "line L, column C: reason".
class LoomSyntaxError : public kilncore::config::kiln_exception {
 public:
  LoomSyntaxError(int line, int column, const std::string& reason);

  int GetLine() const noexcept { return mLine; }
  int GetColumn() const noexcept { return mColumn; }
  const std::string& GetReason() const noexcept { return mReason; }

 private:
  int mLine;
  int mColumn;
  std::string mReason;
};

}  // namespace kilnloomfactory::loom
