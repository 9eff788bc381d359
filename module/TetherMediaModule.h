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
  // Appends the project types that the running application may link: the
  // Marl projects and templates (not in Marl itself), the host's own Tolmen
  // projects (not in Tolmen itself), Sprocket projects, and in one host the
  // Darkslide catalogues, Easel documents and Final Cut Pro XML. Where the
  // application would link its own type, the debug setting
  // "AllowTetherToOwnProjectType" lets it. Doesn't clear `result`.
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

  // Makes the linked item for `path` into `result`, blocking until it is
  // connected. A new clip (`hasPrefs` false) first lets the user choose the
  // item through the select-source callback; its prefs then name that item.
  // The name of a remote asset is opened on the Farside service when its
  // client is available. Only `result`, `path`, `prefs` and `hasPrefs` are used.
  //
  // Codes: 0xA00F000E with nothing to import (empty prefs, or an asset name
  // without a version), 0xA00F000F when nobody is logged in to the service,
  // the select-source callback's own negative code, or the code of creation
  // (0xA00F0003 missing file, 0xA00F0001 no owning application, 0xA00703E9
  // the server gave no item, 0xA00F000C remote client unavailable).
  int ImportFile(kilncore::classref::InterfaceRef<KL::IMediaInfo>& result,
                 const kilncore::WideString& path, uint32_t fileType, uint32_t importFlags,
                 RL::BinaryData& prefs, bool& prefsChanged, bool hasPrefs, bool allowUserInterface,
                 const kilncore::WideString& projectPath, int32_t streamIndex, void* parentWindow,
                 uint64_t importContext, void* reserved) override;

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

 private:
  // The import of a remote asset named by `path`.
  int ImportFarsideAsset(kilncore::classref::InterfaceRef<KL::IMediaInfo>& result,
                         const kilncore::WideString& path, RL::BinaryData& prefs);
};

}  // namespace TetherMedia
