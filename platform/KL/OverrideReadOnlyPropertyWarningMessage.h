#pragma once

#include <kilncore/messaging/MessageImpl.h>
#include <kilncore/utility/ImmutableString.h>

#include <utility>

namespace KL {

// Tells the owner of a set of properties that someone tried to write one that
// is read-only, and that the write didn't happen. Sent by broadcast to the
// properties' station.
class OverrideReadOnlyPropertyWarningMessage
    : public kilncore::messaging::MessageImpl<OverrideReadOnlyPropertyWarningMessage> {
 public:
  OverrideReadOnlyPropertyWarningMessage() noexcept = default;
  // A warning that names the key that was refused.
  explicit OverrideReadOnlyPropertyWarningMessage(kilncore::utility::ImmutableString key) noexcept
      : mKey(std::move(key)) {}
  OverrideReadOnlyPropertyWarningMessage(const OverrideReadOnlyPropertyWarningMessage&) = default;
  OverrideReadOnlyPropertyWarningMessage& operator=(const OverrideReadOnlyPropertyWarningMessage&) = default;
  ~OverrideReadOnlyPropertyWarningMessage() override;

  // The refused key; empty when the sender didn't name it.
  const kilncore::utility::ImmutableString& GetKey() const noexcept { return mKey; }

 private:
  kilncore::utility::ImmutableString mKey;
};

}  // namespace KL
