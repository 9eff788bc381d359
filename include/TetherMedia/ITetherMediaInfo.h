#pragma once

#include <TetherMedia/Export.h>

#include <KL/IProjectItem.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>
#include <kilncore/utility/Guid.h>
#include <kilnmediatypes/TickTime.h>
#include <tether/SourceInfo.h>

#include <vector>

namespace TetherMedia {

// What the host can ask of a linked item beyond an ordinary media item: the
// times and description that the owning application gives, the switches of its
// renders, and whether it links to other items. Ask any item for it by query
// ("TetherMedia::ITetherMediaInfo"); items of other importers refuse it.
//
// Operations are in the order of the interface's slots; an implementation must
// keep that order. None of them throws for an item that isn't connected: each
// answers a fallback instead.
//
// Exported with the module's API: a host converts references to it by name,
// which needs the interface's type information from the module.
class TETHERMEDIA_API ITetherMediaInfo : public kilncore::classref::Unknown {
 public:
  ~ITetherMediaInfo() override;

  // The item's length, 0 ticks while the item isn't connected.
  virtual kilnmediatypes::TickTime GetTickCount() = 0;
  // The work area that the owning application keeps for the item, 0 ticks each
  // while the item isn't connected.
  virtual kilnmediatypes::TickTime GetWorkInPoint() = 0;
  virtual kilnmediatypes::TickTime GetWorkOutPoint() = 0;
  // Whether frames may come from the owning application's preview files.
  virtual bool GetUsePreviewFiles() = 0;
  virtual void SetUsePreviewFiles(bool use) = 0;
  // Whether frames may come from proxies of the item's media.
  virtual bool GetUseProxies() = 0;
  virtual void SetUseProxies(bool use) = 0;
  // The description of the item as its server gives it; a default-built one
  // while the item isn't connected.
  virtual tether::SourceInfo GetSourceInfo() = 0;
  // The identifiers of the items that this one links to.
  virtual std::vector<kilncore::utility::Guid> GetLinkedItemList() = 0;
  // The identifier of the state of the machine's resources (fonts) that the
  // item's frames were made with; nil if unknown. May wait for the server.
  virtual kilncore::utility::Guid GetRuntimeGuid() = 0;
  virtual bool GetMaximumRenderQuality() = 0;
  // True if the item depends on the project item `id`. May wait for the server.
  // Same signature as KL::ICircularDependencyOwner::ContainsDependance, so that
  // one override answers both.
  virtual bool ContainsDependance(kilncore::utility::Guid id) const = 0;
  // True if the item links to the item `id` of its own project. May wait.
  virtual bool IsSourceLinkedTo(kilncore::utility::Guid id) = 0;
  // True if the item links to the host's project item `item`. May wait.
  virtual bool IsProjectItemLinked(kilncore::classref::InterfaceRef<KL::IProjectItem> item) = 0;
  // True if the item itself contains a link to another item. May wait.
  virtual bool HasNestedLink() = 0;
  // The work area for which the item's XMP packet is asked; the invalid time
  // for either end means the whole item.
  virtual void SetXMPRenderWorkArea(const kilnmediatypes::TickTime& in,
                                    const kilnmediatypes::TickTime& out) = 0;
  // Makes the audio stream that is created next conform to the host's format.
  virtual void ForceConform(bool force) = 0;

 protected:
  ITetherMediaInfo() = default;
};

}  // namespace TetherMedia
