#pragma once

#include <WF/IMediaModule.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>
#include <kilncore/utility/Guid.h>

#include <vector>

namespace WF {

// The class identifier under which the host registers its importer factory,
// "ABBB22E3-1D4D-4c87-8BFF-3162577F0528".
inline constexpr kilncore::utility::Guid kImporterFactoryClassID{
    0xABBB22E3u, 0x1D4Du, 0x4C87u, {0x8B, 0xFF, 0x31, 0x62, 0x57, 0x7F, 0x05, 0x28}};

// The host's registry of importers. Modules add themselves when they start;
// the importer layer asks the modules it holds, in the order they were added.
class IImporterFactory : public kilncore::classref::Unknown {
 public:
  ~IImporterFactory() override;

  // Adds `module` to the importers of the host. A null module is ignored.
  virtual void AddMediaModule(kilncore::classref::InterfaceRef<IMediaModule> module) = 0;

  // The modules added so far, in order, one entry per AddMediaModule call.
  virtual std::vector<kilncore::classref::InterfaceRef<IMediaModule>> GetMediaModules() const = 0;

 protected:
  IImporterFactory() = default;
};

}  // namespace WF
