#pragma once

#include "SessionContent.h"

#include <server/project/FontReference.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tetherserver {

// A project that is a flat list of items, all at its top level, with what it
// lacks: the shape of a Sprocket scene file and of a Darkslide catalogue.
class CompositionProject : public SessionProject {
 public:
  struct Entry {
    tether::ItemInfo info;
    std::shared_ptr<const SessionItem> item;
  };

  CompositionProject(std::vector<Entry> entries, tether::MissingAssets missing);

  // What a document at `document` lacks: the `files` it names (relative to
  // its folder, or absolute) that don't exist, and its fonts that this
  // machine doesn't have.
  static tether::MissingAssets Missing(const std::filesystem::path& document, const std::vector<std::string>& files,
                                       const std::vector<FontReference>& fonts);
  // One line for people: "2 file(s) missing: a.png, b.png; 1 font(s)
  // missing: Family Style", or empty when nothing is missing.
  static std::string MissingText(const tether::MissingAssets& missing);

  tether::MissingAssets GetMissingAssets() const override { return mMissing; }
  std::optional<std::vector<tether::ItemInfo>> GetContainedItems(const kilncore::utility::Guid& id) const override;
  std::shared_ptr<const SessionItem> GetItem(const kilncore::utility::Guid& id) const override;
  // These projects have no XML form of their items.
  std::optional<std::string> ItemsAsXML(const std::vector<kilncore::utility::Guid>&) const override {
    return std::nullopt;
  }

 private:
  std::vector<Entry> mEntries;
  tether::MissingAssets mMissing;
};

}  // namespace tetherserver
