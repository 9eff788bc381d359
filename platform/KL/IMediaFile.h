#pragma once

#include <RL/BinaryData.h>

#include <kilncore/classref/Unknown.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>

#include <cstdint>

namespace KL {

// The file side of a media item: its path and its identity for the host's
// caches. Operations are in slot order.
class IMediaFile : public kilncore::classref::Unknown {
 public:
  ~IMediaFile() override;

  virtual kilncore::WideString GetFilePath() const = 0;
  virtual kilncore::WideString GetFilePathAlias() const = 0;
  // The identity of the item: the same from one run of the application to the
  // next for the same item.
  virtual kilncore::utility::Guid GetDocumentID() const = 0;
  // Changes whenever the item's content changes.
  virtual kilncore::utility::Guid GetContentState() const = 0;
  virtual void QuietFileAlias(const kilncore::WideString& path, const RL::BinaryData& prefs) = 0;
  // Lets go of any handle on the file, so that others may write it.
  virtual void QuietFile(const kilncore::WideString& path, const RL::BinaryData& prefs) = 0;
  // Looks for changes of the file; results come as messages on the item's
  // station.
  virtual int32_t RefreshFile(const kilncore::WideString& path) = 0;
  virtual int32_t DeleteFileW(const kilncore::WideString& path, const RL::BinaryData& prefs) = 0;
  virtual bool LegalToProxy() const = 0;
  virtual void DisableGrowingRefreshes(bool disable) = 0;
  virtual void MediaFileNoOp() = 0;

 protected:
  IMediaFile() = default;
};

}  // namespace KL
