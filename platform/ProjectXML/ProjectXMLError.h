#pragma once

#include <stdexcept>
#include <string>

namespace ProjectXML {

// A project text that can't be read: the text says what is wrong and where
// (the element's path and its line), in one line for the user.
class ProjectXMLError : public std::runtime_error {
 public:
  explicit ProjectXMLError(const std::string& message);
  ~ProjectXMLError() override;
};

}  // namespace ProjectXML
