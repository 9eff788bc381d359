#pragma once

#include <WF/IImporterFactory.h>
#include <kilncore/classref/InterfaceRef.h>

#include <mutex>
#include <string_view>
#include <vector>

namespace WF {

// The reference host's importer factory: keeps the modules that were added, in
// order, and nothing else. Thread-safe.
class ReferenceImporterFactory : public IImporterFactory {
 public:
  ReferenceImporterFactory() = default;

  void AddMediaModule(kilncore::classref::InterfaceRef<IMediaModule> module) override;
  std::vector<kilncore::classref::InterfaceRef<IMediaModule>> GetMediaModules() const override;

 protected:
  void* QueryMap(const std::string_view& name) override;

 private:
  mutable std::mutex mMutex;
  std::vector<kilncore::classref::InterfaceRef<IMediaModule>> mModules;
};

// Registers a new, empty ReferenceImporterFactory under kImporterFactoryClassID
// (replacing any earlier registration) and returns it. Every instance request
// for that class then hands out this same factory, as the host's one importer
// factory would. A host calls this once at start-up; a test calls it to start
// from an empty factory.
kilncore::classref::InterfaceRef<IImporterFactory> RegisterReferenceImporterFactory();

}  // namespace WF
