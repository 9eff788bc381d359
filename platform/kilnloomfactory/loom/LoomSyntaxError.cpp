#include <kilnloomfactory/loom/LoomSyntaxError.h>

namespace kilnloomfactory::loom {

LoomSyntaxError::LoomSyntaxError(int line, int column, const std::string& reason)
    : kiln_exception("line " + std::to_string(line) + ", column " + std::to_string(column) + ": " +
                         reason,
                     kilncore::config::kGeneralFailure),
      mLine(line),
      mColumn(column),
      mReason(reason) {}

}  // namespace kilnloomfactory::loom
