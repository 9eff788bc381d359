#pragma once

#include <kilncore/classref/Unknown.h>

namespace KL {

// Told when the fonts installed on the machine change.
class IFontSetWatcher : public kilncore::classref::Unknown {
 public:
  ~IFontSetWatcher() override;

  // Returns true if the watcher acted on the change.
  virtual bool OnFontSetChanged() = 0;

 protected:
  IFontSetWatcher() = default;
};

}  // namespace KL
