#pragma once

#include <KL/SerializeableValue.h>

#include <kilncore/classref/Unknown.h>
#include <kilncore/utility/ImmutableString.h>

#include <cstdint>

namespace KL {

// The typed properties of a project or a project item, by key.
class IProperties : public kilncore::classref::Unknown {
 public:
  ~IProperties() override;

  // Reads the value of `key` into `out`; false, and `out` untouched, if there
  // is none. A value of another type than `out`'s raises
  // exSerializeableTypeMismatch.
  virtual bool ReadProperty(const kilncore::utility::ImmutableString& key, SerializeableValueBase& out) = 0;
  // Makes pending changes visible to readers; 0.
  virtual int32_t FlushProperties() = 0;
  // Writes `value` under `key`, replacing any value. `notify` is the host's
  // hint for its undo history, kept for callers that state it; the reference
  // library records no history. Writes to a read-only key are ignored: callers
  // ask IsPropertyReadOnly first and warn the property station.
  virtual void WriteProperty(const kilncore::utility::ImmutableString& key, const SerializeableValueBase& value,
                             bool notify) = 0;
  virtual bool IsPropertyReadOnly(const kilncore::utility::ImmutableString& key) = 0;
  // The messaging station that hears about these properties.
  virtual kilncore::utility::ImmutableString GetPropertyStationID() = 0;

 protected:
  IProperties() = default;
};

}  // namespace KL
