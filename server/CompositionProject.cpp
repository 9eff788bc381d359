#include "CompositionProject.h"

#include <kilncore/string/UTFConversion.h>

namespace tetherserver {

CompositionProject::CompositionProject(std::vector<Entry> entries, tether::MissingAssets missing)
    : mEntries(std::move(entries)), mMissing(std::move(missing)) {}

tether::MissingAssets CompositionProject::Missing(const std::filesystem::path& document,
                                                 const std::vector<std::string>& files,
                                                 const std::vector<FontReference>& fonts) {
  tether::MissingAssets missing;
  for (const std::string& file : files) {
    const std::filesystem::path named(file);
    const std::filesystem::path path = named.is_absolute() ? named : document.parent_path() / named;
    std::error_code error;
    if (!std::filesystem::exists(path, error)) missing.files.push_back(kilncore::string::UTF8to16(path.string()));
  }
  for (const FontReference& font : fonts) {
    if (!font.available) {
      missing.fonts.push_back(tether::MissingFont{font.family, font.style, font.fullName, font.file, font.technology});
    }
  }
  return missing;
}

std::string CompositionProject::MissingText(const tether::MissingAssets& missing) {
  std::string files;
  for (const auto& file : missing.files) files += (files.empty() ? "" : ", ") + kilncore::string::UTF16to8(file);
  std::string fonts;
  for (const auto& font : missing.fonts) {
    fonts += (fonts.empty() ? "" : ", ") + font.identityA + (font.identityB.empty() ? "" : " " + font.identityB);
  }
  std::string text;
  if (!missing.files.empty()) text = std::to_string(missing.files.size()) + " file(s) missing: " + files;
  if (!missing.fonts.empty()) {
    text += (text.empty() ? "" : "; ") + std::to_string(missing.fonts.size()) + " font(s) missing: " + fonts;
  }
  return text;
}

std::optional<std::vector<tether::ItemInfo>> CompositionProject::GetContainedItems(
    const kilncore::utility::Guid& id) const {
  if (!id.IsNil()) return std::nullopt;  // no folders: only the top level
  std::vector<tether::ItemInfo> items;
  for (const Entry& entry : mEntries) items.push_back(entry.info);
  return items;
}

std::shared_ptr<const SessionItem> CompositionProject::GetItem(const kilncore::utility::Guid& id) const {
  for (const Entry& entry : mEntries) {
    if (entry.info.id == id) return entry.item;
  }
  return nullptr;
}

}  // namespace tetherserver
