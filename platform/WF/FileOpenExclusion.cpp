#include <WF/FileOpenExclusion.h>

#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <thread>

namespace Wharf {
namespace {

struct Holder {
  std::thread::id thread;
  size_t depth = 0;
};

// The paths under exclusion and who holds each. Entries exist only while held,
// so the table stays as small as the number of files being opened.
struct ExclusionTable {
  std::mutex mutex;
  std::condition_variable released;
  std::map<kilncore::WideString, Holder, std::less<>> held;
};

ExclusionTable& Table() {
  static ExclusionTable table;
  return table;
}

void Enter(kilncore::WideStringView path) {
  auto& table = Table();
  const auto self = std::this_thread::get_id();
  std::unique_lock lock(table.mutex);
  table.released.wait(lock, [&] {
    const auto found = table.held.find(path);
    return found == table.held.end() || found->second.thread == self;
  });
  Holder& holder = table.held[kilncore::WideString(path)];
  holder.thread = self;
  ++holder.depth;
}

void Leave(kilncore::WideStringView path) {
  auto& table = Table();
  {
    const std::lock_guard lock(table.mutex);
    const auto found = table.held.find(path);
    if (found == table.held.end() || --found->second.depth > 0) return;
    table.held.erase(found);
  }
  table.released.notify_all();
}

}  // namespace

kilncore::utility::Seam<void(kilncore::WideStringView)>& FileOpenExclusion::EnterSeam() {
  static auto* const seam = new kilncore::utility::Seam<void(kilncore::WideStringView)>(&Enter);
  return *seam;
}

kilncore::utility::Seam<void(kilncore::WideStringView)>& FileOpenExclusion::LeaveSeam() {
  static auto* const seam = new kilncore::utility::Seam<void(kilncore::WideStringView)>(&Leave);
  return *seam;
}

FileOpenExclusion::FileOpenExclusion(kilncore::WideStringView path) : mPath(path) { EnterSeam()(mPath); }

FileOpenExclusion::~FileOpenExclusion() { LeaveSeam()(mPath); }

}  // namespace Wharf
