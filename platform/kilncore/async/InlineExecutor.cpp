#include <kilncore/async/InlineExecutor.h>

namespace kilncore::async {

void InlineExecutor::Execute(std::function<void()> task) {
  if (task) task();
}

}  // namespace kilncore::async
