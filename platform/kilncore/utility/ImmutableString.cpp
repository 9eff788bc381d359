#include <kilncore/utility/ImmutableString.h>

#include <kilncore/string/UTFConversion.h>

#include <mutex>
#include <unordered_map>

namespace kilncore::utility {

struct ImmutableString::Entry {
  Entry(std::string_view utf8, size_t textHash) : text(utf8), hash(textHash) {}
  const std::string text;
  const size_t hash;
};

namespace {

// The table of live texts. An entry removes itself when its last reference
// goes; a lookup that finds an entry in the middle of going replaces it with a
// fresh one, and the going entry then leaves the new one alone.
class InternTable {
 public:
  static InternTable& Instance() {
    // Never destroyed: ImmutableStrings in static storage may outlive any
    // ordinary static.
    static InternTable* const table = new InternTable;
    return *table;
  }

  std::shared_ptr<const ImmutableString::Entry> Intern(std::string_view text) {
    const size_t hash = std::hash<std::string_view>{}(text);
    std::lock_guard lock(mMutex);
    if (const auto found = mEntries.find(text); found != mEntries.end()) {
      if (auto live = found->second.weak.lock()) return live;
      mEntries.erase(found);
    }
    auto* entry = new ImmutableString::Entry(text, hash);
    std::shared_ptr<const ImmutableString::Entry> shared(
        entry, [](const ImmutableString::Entry* going) { Instance().Release(going); });
    mEntries.emplace(std::string_view(entry->text), Slot{entry, shared});
    return shared;
  }

 private:
  struct Slot {
    const ImmutableString::Entry* raw;
    std::weak_ptr<const ImmutableString::Entry> weak;
  };

  void Release(const ImmutableString::Entry* going) {
    {
      std::lock_guard lock(mMutex);
      const auto found = mEntries.find(std::string_view(going->text));
      if (found != mEntries.end() && found->second.raw == going) mEntries.erase(found);
    }
    delete going;
  }

  std::mutex mMutex;
  std::unordered_map<std::string_view, Slot> mEntries;
};

const std::string& EmptyText() {
  static const std::string* const empty = new std::string;
  return *empty;
}

}  // namespace

ImmutableString::ImmutableString(std::string_view utf8) {
  if (!utf8.empty()) mEntry = InternTable::Instance().Intern(utf8);
}

ImmutableString::ImmutableString(WideStringView text)
    : ImmutableString(std::string_view(kilncore::string::UTF16to8(text))) {}

size_t ImmutableString::size() const noexcept { return mEntry ? mEntry->text.size() : 0; }

const std::string& ImmutableString::AsUTF8() const noexcept {
  return mEntry ? mEntry->text : EmptyText();
}

WideString ImmutableString::AsWide() const { return kilncore::string::UTF8to16(AsUTF8()); }

size_t ImmutableString::Hash() const noexcept {
  return mEntry ? mEntry->hash : std::hash<std::string_view>{}(std::string_view());
}

std::strong_ordering operator<=>(const ImmutableString& a, const ImmutableString& b) noexcept {
  if (a.mEntry == b.mEntry) return std::strong_ordering::equal;
  return a.view().compare(b.view()) <=> 0;
}

}  // namespace kilncore::utility
