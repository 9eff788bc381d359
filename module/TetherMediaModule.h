#pragma once

#include <RL/BinaryData.h>
#include <WF/IMediaModule.h>
#include <WF/ImportableFileType.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/string/WideString.h>

#include <cstdint>
#include <string_view>
#include <vector>

namespace TetherMedia {

// The module as the host's importer layer sees it. It keeps no state of its
// own: everything it needs lives at namespace level or in the objects it makes.
//
// Made only by the class creator registered at Initialize
// (CreateTetherMediaModule), as a shared object.
class TetherMediaModule : public WF::IMediaModule {
 public:
  TetherMediaModule() = default;
  ~TetherMediaModule() override;

  // "Tether Media".
  kilncore::WideString GetModuleName() override;
  // The localised display name.
  kilncore::WideString GetModuleDisplayName() override;
  // Offers no file types yet; leaves `result` as it is.
  void GetImportableFileTypes(std::vector<WF::ImportableFileType>& result) override;
  void ModuleNoOp() override;
  // 1.
  int GetModuleRevision() override;
  bool MatchesModuleRevision(uint32_t value) override;
  // "TTHM".
  uint32_t GetModuleCode() override;
  // All false.
  bool ModuleQueryA() override;
  bool ModuleQueryB() override;
  bool ModuleQueryC() override;
  bool ModuleQueryD() override;

  // Besides the module code in either byte order, recognises the names of
  // remote assets while the Farside client is available.
  bool RecognizesImporterKey(const kilncore::WideString& key) override;

  // Cancels the open request for `path` and the source that `prefs` names. A
  // blob too short to name a source cancels nothing.
  void CancelImport(const kilncore::WideString& path, const RL::BinaryData& prefs) override;

  // A shared reference to this module.
  virtual kilncore::classref::InterfaceRef<WF::IMediaModule> GetModuleRef();

 protected:
  // Answers for "TetherMedia::TetherMediaModule" and "WF::IMediaModule".
  void* QueryMap(const std::string_view& name) override;
};

}  // namespace TetherMedia
