#pragma once

#include <kilncore/messaging/MessageImpl.h>

#include <string>
#include <vector>

namespace MessagingTest {

// A message with a payload, to check that copies are deep.
class TextMessage : public kilncore::messaging::MessageImpl<TextMessage> {
 public:
  explicit TextMessage(std::string text, std::vector<int> values = {})
      : mText(std::move(text)), mValues(std::move(values)) {}

  std::string mText;
  std::vector<int> mValues;
};

class EmptyMessage : public kilncore::messaging::MessageImpl<EmptyMessage> {};

}  // namespace MessagingTest
