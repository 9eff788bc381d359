#include "SessionContent.h"

namespace tetherserver {

int32_t SessionItem::AnswerRequest(const std::string& name, const tether::AnyValue&, tether::AnyValue&,
                                   std::string& message) const {
  message = "unknown request \"" + name + "\"";
  return kUnknownRequest;
}

}  // namespace tetherserver
