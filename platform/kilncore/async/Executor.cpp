#include <kilncore/async/Executor.h>

#include <kilncore/async/InlineExecutor.h>

namespace kilncore::async {

ExecutorPtr GetDefaultExecutor() {
  // States keep their own reference, so a state that outlives this static at
  // exit still has a valid executor.
  static const ExecutorPtr executor = std::make_shared<InlineExecutor>();
  return executor;
}

}  // namespace kilncore::async
