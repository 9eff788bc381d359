#pragma once

#include <kilncore/classref/Unknown.h>
#include <kilncore/string/WideString.h>
#include <kilnmediatypes/TimeDisplay.h>

#include <cstdint>
#include <vector>

namespace KL {

// Lines of text that describe a media item for the host's properties panel.
// Operations are in slot order.
class IMediaAnalysis : public kilncore::classref::Unknown {
 public:
  ~IMediaAnalysis() override;

  // Appends the description to `lines`, with times shown in `display`. The
  // reserved arguments belong to the host.
  virtual int32_t GetAnalysisLines(int32_t reservedA, std::vector<kilncore::WideString>& lines,
                                   int32_t reservedB, kilnmediatypes::TimeDisplay display,
                                   int32_t reservedC, int32_t reservedD) = 0;
  virtual bool AnalysisQueryA() = 0;
  virtual uint32_t AnalysisFlags() = 0;
  virtual void AnalysisNoOp() = 0;

 protected:
  IMediaAnalysis() = default;
};

}  // namespace KL
