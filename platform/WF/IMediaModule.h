#pragma once

#include <RL/BinaryData.h>
#include <WF/ImportableFileType.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>
#include <kilncore/string/WideString.h>

#include <cstdint>
#include <vector>

namespace KL {
class IMediaInfo;
}  // namespace KL

namespace WF {

// The host's result code for an operation that an importer doesn't offer.
inline constexpr int32_t kImporterUnsupported = static_cast<int32_t>(0xA00F000Cu);

// An importer as the host's importer layer sees it: names, a revision, a
// four-character code, the file types it offers, and the import entry.
//
// The order of the virtual operations is part of the host's contract: the
// importer layer reaches them by slot, so new operations are only ever added at
// the end. Operations with a body here are the defaults that a module inherits
// unless it overrides them.
class IMediaModule : public kilncore::classref::Unknown {
 public:
  ~IMediaModule() override;

  // The internal name of the module.
  virtual kilncore::WideString GetModuleName() = 0;
  // The name shown to the user, localised.
  virtual kilncore::WideString GetModuleDisplayName() = 0;
  // Appends the offered file types to `result`, without clearing it.
  virtual void GetImportableFileTypes(std::vector<ImportableFileType>& result) = 0;
  virtual void ModuleNoOp() = 0;
  virtual int GetModuleRevision() = 0;
  // Default 0.
  virtual int GetModuleOptions();
  // Whether `value` is the module's revision.
  virtual bool MatchesModuleRevision(uint32_t value) = 0;
  // Four-character code, first character in the most significant byte.
  virtual uint32_t GetModuleCode() = 0;
  virtual bool ModuleQueryA() = 0;
  virtual bool ModuleQueryB() = 0;
  virtual bool ModuleQueryC() = 0;
  virtual bool ModuleQueryD() = 0;

  // Passes every argument unchanged to ImportFile, virtually.
  virtual int ImportFileForwarder(kilncore::classref::InterfaceRef<KL::IMediaInfo>& result,
                                  const kilncore::WideString& path, uint32_t fileType,
                                  uint32_t importFlags, RL::BinaryData& prefs, bool& prefsChanged,
                                  bool hasPrefs, bool allowUserInterface,
                                  const kilncore::WideString& projectPath, int32_t streamIndex,
                                  void* parentWindow, uint64_t importContext, void* reserved);

  // The import entry: makes a media object for `path` (or a remote asset's
  // name) into `result`, using and updating `prefs`. `hasPrefs` tells whether
  // `prefs` came from an existing clip. The other arguments describe the
  // host's situation and may be ignored. Default: kImporterUnsupported.
  virtual int ImportFile(kilncore::classref::InterfaceRef<KL::IMediaInfo>& result,
                         const kilncore::WideString& path, uint32_t fileType,
                         uint32_t importFlags, RL::BinaryData& prefs, bool& prefsChanged,
                         bool hasPrefs, bool allowUserInterface,
                         const kilncore::WideString& projectPath, int32_t streamIndex,
                         void* parentWindow, uint64_t importContext, void* reserved);

  // Default: kImporterUnsupported.
  virtual int ImportUnsupported();

  // Drops `callerContext` and passes the rest to ImportFile, virtually.
  virtual int ImportFileWithContext(void* callerContext,
                                    kilncore::classref::InterfaceRef<KL::IMediaInfo>& result,
                                    const kilncore::WideString& path, uint32_t fileType,
                                    uint32_t importFlags, RL::BinaryData& prefs,
                                    bool& prefsChanged, bool hasPrefs, bool allowUserInterface,
                                    const kilncore::WideString& projectPath, int32_t streamIndex,
                                    void* parentWindow, uint64_t importContext, void* reserved);

  // Whether `key` names this importer: the unsigned decimal form of
  // GetModuleCode(), in either byte order (a four-character code may reach the
  // host in either). "0", text that isn't a number and the empty key never do.
  virtual bool RecognizesImporterKey(const kilncore::WideString& key);

  // Default: a copy of `name`.
  virtual kilncore::WideString EchoMediaName(int32_t ignored, const kilncore::WideString& name);

  // Asks the module to stop the import of `path` whose clip has `prefs`.
  virtual void CancelImport(const kilncore::WideString& path, const RL::BinaryData& prefs) = 0;

 protected:
  IMediaModule() = default;
};

// Reads `key` as an unsigned 32-bit decimal number the way the host's wide
// input streams do (leading white space skipped, reading stops at the first
// character that isn't a digit). Returns 0 when nothing could be read, which no
// module code ever is.
uint32_t ReadImporterKeyNumber(const kilncore::WideString& key);

// `value` with its four bytes in reverse order.
constexpr uint32_t ByteSwapModuleCode(uint32_t value) {
  return ((value & 0xFFu) << 24) | ((value & 0xFF00u) << 8) | ((value >> 8) & 0xFF00u) |
         (value >> 24);
}

}  // namespace WF
