#include <WF/IMediaModule.h>

#include <sstream>
#include <string>

namespace WF {

IMediaModule::~IMediaModule() = default;

int IMediaModule::GetModuleOptions() { return 0; }

int IMediaModule::ImportFileForwarder(kilncore::classref::InterfaceRef<KL::IMediaInfo>& result,
                                      const kilncore::WideString& path, uint32_t fileType,
                                      uint32_t importFlags, RL::BinaryData& prefs,
                                      bool& prefsChanged, bool hasPrefs, bool allowUserInterface,
                                      const kilncore::WideString& projectPath,
                                      int32_t streamIndex, void* parentWindow,
                                      uint64_t importContext, void* reserved) {
  return ImportFile(result, path, fileType, importFlags, prefs, prefsChanged, hasPrefs,
                    allowUserInterface, projectPath, streamIndex, parentWindow, importContext,
                    reserved);
}

int IMediaModule::ImportFile(kilncore::classref::InterfaceRef<KL::IMediaInfo>& /*result*/,
                             const kilncore::WideString& /*path*/, uint32_t /*fileType*/,
                             uint32_t /*importFlags*/, RL::BinaryData& /*prefs*/,
                             bool& /*prefsChanged*/, bool /*hasPrefs*/,
                             bool /*allowUserInterface*/,
                             const kilncore::WideString& /*projectPath*/,
                             int32_t /*streamIndex*/, void* /*parentWindow*/,
                             uint64_t /*importContext*/, void* /*reserved*/) {
  return kImporterUnsupported;
}

int IMediaModule::ImportUnsupported() { return kImporterUnsupported; }

int IMediaModule::ImportFileWithContext(void* /*callerContext*/,
                                        kilncore::classref::InterfaceRef<KL::IMediaInfo>& result,
                                        const kilncore::WideString& path, uint32_t fileType,
                                        uint32_t importFlags, RL::BinaryData& prefs,
                                        bool& prefsChanged, bool hasPrefs,
                                        bool allowUserInterface,
                                        const kilncore::WideString& projectPath,
                                        int32_t streamIndex, void* parentWindow,
                                        uint64_t importContext, void* reserved) {
  return ImportFile(result, path, fileType, importFlags, prefs, prefsChanged, hasPrefs,
                    allowUserInterface, projectPath, streamIndex, parentWindow, importContext,
                    reserved);
}

bool IMediaModule::RecognizesImporterKey(const kilncore::WideString& key) {
  const uint32_t number = ReadImporterKeyNumber(key);
  if (number == 0) return false;
  const uint32_t code = GetModuleCode();
  return number == code || ByteSwapModuleCode(number) == code;
}

kilncore::WideString IMediaModule::EchoMediaName(int32_t /*ignored*/,
                                                 const kilncore::WideString& name) {
  return name;
}

uint32_t ReadImporterKeyNumber(const kilncore::WideString& key) {
  // The standard library has no numeric parsing for char16_t streams, so the
  // units go through a wchar_t stream one by one. Only ASCII digits, signs and
  // white space matter to the result, and those convert unit for unit.
  std::wstring wide;
  wide.reserve(key.size());
  for (char16_t unit : key) wide.push_back(static_cast<wchar_t>(unit));
  std::wistringstream stream(wide);
  uint32_t number = 0;
  stream >> number;
  if (stream.fail()) return 0;
  return number;
}

}  // namespace WF
