#include <kilncore/utility/LazySingleton.h>

#include <utility>

namespace kilncore::utility::detail {

Seam<void(int state, std::function<void()> destroy)>& DestroyOnAppStateSeam() {
  // Never destroyed: singletons are made, and so tied to a state, until the end.
  static auto* const seam = new Seam<void(int, std::function<void()>)>(
      [](int state, std::function<void()> destroy) {
        appstatemanager::RegisterAppStateCallback(state, std::move(destroy));
      });
  return *seam;
}

}  // namespace kilncore::utility::detail
