#pragma once

#include <KL/SerializeableValue.h>

#include <ProjectXML/ProjectDocument.h>

#include <kilncore/utility/ImmutableString.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace KL {

// The values behind KL::IProperties of a project or an item: typed values by
// key, some of them read-only. Thread-safe.
class PropertySet {
 public:
  PropertySet() = default;
  explicit PropertySet(const std::vector<ProjectXML::Property>& properties);

  // False if there is no value; throws exSerializeableTypeMismatch for a value
  // of another type than `out`'s.
  bool Read(const kilncore::utility::ImmutableString& key, SerializeableValueBase& out) const;
  // False, and nothing written, for a read-only key.
  bool Write(const kilncore::utility::ImmutableString& key, const SerializeableValueBase& value);
  bool IsReadOnly(const kilncore::utility::ImmutableString& key) const;
  // The values as a project file holds them, in key order.
  std::vector<ProjectXML::Property> ToRecords() const;

 private:
  struct Entry {
    int tag = kSerializeableTypeText;
    std::string text;
    bool readOnly = false;
  };

  mutable std::mutex mMutex;
  std::map<kilncore::utility::ImmutableString, Entry> mEntries;
};

}  // namespace KL
