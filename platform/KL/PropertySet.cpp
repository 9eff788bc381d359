#include <KL/PropertySet.h>

namespace KL {

using kilncore::utility::ImmutableString;

PropertySet::PropertySet(const std::vector<ProjectXML::Property>& properties) {
  for (const ProjectXML::Property& property : properties) {
    const int tag =
        property.type == ProjectXML::Property::Type::kBool ? kSerializeableTypeBool : kSerializeableTypeText;
    mEntries[ImmutableString(property.key)] = Entry{tag, property.value, property.readOnly};
  }
}

bool PropertySet::Read(const ImmutableString& key, SerializeableValueBase& out) const {
  std::lock_guard lock(mMutex);
  const auto found = mEntries.find(key);
  if (found == mEntries.end()) return false;
  if (found->second.tag != out.GetTypeTag()) throw exSerializeableTypeMismatch(found->second.tag, out.GetTypeTag());
  out.FromText(found->second.text);
  return true;
}

bool PropertySet::Write(const ImmutableString& key, const SerializeableValueBase& value) {
  std::lock_guard lock(mMutex);
  Entry& entry = mEntries[key];
  if (entry.readOnly) return false;
  entry.tag = value.GetTypeTag();
  entry.text = value.ToText();
  return true;
}

bool PropertySet::IsReadOnly(const ImmutableString& key) const {
  std::lock_guard lock(mMutex);
  const auto found = mEntries.find(key);
  return found != mEntries.end() && found->second.readOnly;
}

std::vector<ProjectXML::Property> PropertySet::ToRecords() const {
  std::lock_guard lock(mMutex);
  std::vector<ProjectXML::Property> records;
  for (const auto& [key, entry] : mEntries) {
    records.push_back(ProjectXML::Property{key.AsUTF8(),
                                           entry.tag == kSerializeableTypeBool ? ProjectXML::Property::Type::kBool
                                                                               : ProjectXML::Property::Type::kText,
                                           entry.text, entry.readOnly});
  }
  return records;
}

}  // namespace KL
