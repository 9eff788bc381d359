#pragma once

#include <KL/IProjectLoad.h>

#include <kilncore/classref/InterfaceRef.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace WF {

// The importer layer's record of one project load: items counted as they are
// loaded, and the load's result once it has finished. Thread-safe.
class ProjectLoadStatus final : public KL::IProjectLoadStatus {
 public:
  static kilncore::classref::InterfaceRef<KL::IProjectLoadStatus> Create();

  ProjectLoadStatus();
  ~ProjectLoadStatus() override;

  void ItemLoaded() override;
  void LoadFinished(int32_t result) override;
  size_t GetLoadedItemCount() const override;
  bool IsFinished() const override;
  int32_t GetResult() const override;

 protected:
  void* QueryMap(const std::string_view& name) override;

 private:
  std::atomic<size_t> mLoaded{0};
  std::atomic<bool> mFinished{false};
  std::atomic<int32_t> mResult{0};
};

}  // namespace WF
