#pragma once

#include <tether/ConnectionStatus.h>
#include <tether/File.h>
#include <tether/MissingAssets.h>

#include <kilncore/utility/Guid.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tether {

class Container;
class Source;

// A project opened on a server.
//
// Operations with a callback are asynchronous: the callback is called once,
// later, on a thread of the library, with the status and the result.
// GetMissingAssets and GetFile are local.
class Project {
 public:
  using SourceCallback = std::function<void(ConnectionStatus, const std::shared_ptr<Source>&)>;
  using ContainerCallback = std::function<void(ConnectionStatus, const std::shared_ptr<Container>&)>;
  using XMLCallback = std::function<void(ConnectionStatus, const std::string& xml)>;
  using BoolCallback = std::function<void(ConnectionStatus, bool)>;
  using FontChangeCallback = std::function<void(ConnectionStatus, unsigned int)>;

  virtual ~Project() = default;

  // The item `id` of the project.
  virtual void GetSource(SourceCallback callback, const kilncore::utility::Guid& id) = 0;
  // The container `id`; the nil Guid is the project's root.
  virtual void GetContainer(ContainerCallback callback, const kilncore::utility::Guid& id) = 0;
  // The items `ids` as a project XML text, UTF-8.
  virtual void GetItemsAsXML(XMLCallback callback, const std::vector<kilncore::utility::Guid>& ids) = 0;
  // Whether the item `id` is used from this project.
  virtual void IsSourceLinked(BoolCallback callback, const kilncore::utility::Guid& id) = 0;
  // Tells the server that the fonts of the system changed. The value differs
  // from the previous one when the project has reacted.
  virtual void RuntimeFontChange(FontChangeCallback callback) = 0;

  virtual MissingAssets GetMissingAssets() = 0;
  virtual File GetFile() = 0;
};

}  // namespace tether
