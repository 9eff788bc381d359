#pragma once

#include <tether/ConnectionStatus.h>
#include <tether/File.h>

#include <kilncore/string/WideString.h>

#include <functional>
#include <memory>

namespace tether {

class Source;

// The server of an application that opens plain files rather than projects.
class FileServer {
 public:
  // The status, the file's source, and the server's two notes on the file
  // (its kind and a message for the user) with a detail code.
  using OpenFileCallback =
      std::function<void(ConnectionStatus, const std::shared_ptr<Source>&, const kilncore::WideString& kind,
                         const kilncore::WideString& message, int detail)>;

  virtual ~FileServer() = default;

  // Opens `file`. `callback` is called once, later, on a thread of the library.
  virtual void OpenFile(OpenFileCallback callback, const File& file) = 0;
};

}  // namespace tether
