#pragma once

#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>

namespace KL {

// What the host knows of a media item that another item replaces, handed to
// the new item when it is asked for hash information on the old one's behalf.
struct ReplacedMediaInfoData {
  kilncore::WideString originalPath;
  kilncore::utility::Guid originalDocumentID;

  friend bool operator==(const ReplacedMediaInfoData&, const ReplacedMediaInfoData&) = default;
};

}  // namespace KL
