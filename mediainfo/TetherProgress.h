#pragma once

#include <TetherMedia/Export.h>

#include <kilncore/messaging/MessageImpl.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>

#include <memory>
#include <string>
#include <vector>

namespace TetherMedia {

// A server's report of how far a long task has come (opening a project,
// loading fonts, ...), posted on the module's progress station for the host's
// user interface. The key and its arguments are the server's own and pass
// through unchanged; the path and source identifier tell which item the report
// is about.
//
// Its message identifier is the hash of its class name, computed on first use
// (MessageImpl); Clone gives a deep copy in one allocation.
class TETHERMEDIA_API TetherProgress : public kilncore::messaging::MessageImpl<TetherProgress> {
 public:
  TetherProgress(std::string progressType, std::vector<kilncore::WideString> progressArguments,
                 kilncore::WideString filePath, kilncore::utility::Guid sourceID, double progress);
  TetherProgress(const TetherProgress&) = default;
  TetherProgress& operator=(const TetherProgress&) = default;
  ~TetherProgress() override;

  const std::string& GetProgressType() const noexcept { return mProgressType; }
  const std::vector<kilncore::WideString>& GetProgressArguments() const noexcept {
    return mProgressArguments;
  }
  const kilncore::WideString& GetFilePath() const noexcept { return mFilePath; }
  const kilncore::utility::Guid& GetSourceID() const noexcept { return mSourceID; }
  double GetProgress() const noexcept { return mProgress; }

 private:
  std::string mProgressType;
  std::vector<kilncore::WideString> mProgressArguments;
  kilncore::WideString mFilePath;
  kilncore::utility::Guid mSourceID;
  double mProgress;
};

}  // namespace TetherMedia
