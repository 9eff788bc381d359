#pragma once

#include <kilncore/classref/Unknown.h>

#include <cstddef>
#include <cstdint>

namespace KL {

// What a project load reports: how many items it has loaded and whether it
// has finished.
class IProjectLoadStatus : public kilncore::classref::Unknown {
 public:
  ~IProjectLoadStatus() override;
  virtual void ItemLoaded() = 0;
  virtual void LoadFinished(int32_t result) = 0;
  virtual size_t GetLoadedItemCount() const = 0;
  virtual bool IsFinished() const = 0;
  virtual int32_t GetResult() const = 0;

 protected:
  IProjectLoadStatus() = default;
};

// How a project is to be loaded, and where the load reports to.
class IProjectLoadSupport : public kilncore::classref::Unknown {
 public:
  ~IProjectLoadSupport() override;
  virtual int32_t GetLoadMode() const = 0;
  virtual IProjectLoadStatus* GetStatus() const = 0;

 protected:
  IProjectLoadSupport() = default;
};

}  // namespace KL
