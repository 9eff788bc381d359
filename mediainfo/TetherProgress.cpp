#include <mediainfo/TetherProgress.h>

#include <utility>

namespace TetherMedia {

TetherProgress::TetherProgress(std::string progressType,
                               std::vector<kilncore::WideString> progressArguments,
                               kilncore::WideString filePath, kilncore::utility::Guid sourceID,
                               double progress)
    : mProgressType(std::move(progressType)),
      mProgressArguments(std::move(progressArguments)),
      mFilePath(std::move(filePath)),
      mSourceID(sourceID),
      mProgress(progress) {}

TetherProgress::~TetherProgress() = default;

}  // namespace TetherMedia
