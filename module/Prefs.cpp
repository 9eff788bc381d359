#include <TetherMedia/Prefs.h>

#include <module/PrefsBlob.h>
#include <module/RenderOptionsReaders.h>

#include <kilncore/string/UTFConversion.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TetherMedia {

const kilncore::WideString kNullGuidString = u"00000000-0000-0000-0000-000000000000";

namespace {

// The blob stores UTF-16 little-endian whatever the machine, so units are
// assembled byte by byte (which also needs no alignment).
kilncore::WideString ReadUnits(const uint8_t* bytes, size_t count) {
  kilncore::WideString text(count, u'\0');
  for (size_t i = 0; i < count; ++i) {
    text[i] = static_cast<char16_t>(bytes[2 * i] | (bytes[2 * i + 1] << 8));
  }
  return text;
}

void AppendUnits(std::vector<uint8_t>& bytes, const kilncore::WideString& text) {
  for (char16_t unit : text) {
    bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<uint8_t>(unit >> 8));
  }
}

size_t SourceIDByteCount() { return kNullGuidString.size() * sizeof(char16_t); }

}  // namespace

RL::BinaryData BuildPrefsWithApplicationSpecificRenderOptions(
    const kilncore::WideString& sourceIDString, const kilncore::WideString& renderOptions) {
  std::vector<uint8_t> bytes;
  bytes.reserve((sourceIDString.size() + renderOptions.size()) * sizeof(char16_t));
  AppendUnits(bytes, sourceIDString);
  AppendUnits(bytes, renderOptions);
  return RL::BinaryData(bytes);
}

RL::BinaryData SourceIDToPrefs(const kilncore::utility::Guid& sourceID) {
  return BuildPrefsWithApplicationSpecificRenderOptions(sourceID.AsString(), {});
}

RL::BinaryData SourceInfoToPrefs(const tether::SourceInfo& info) {
  const kilncore::WideString renderOptions =
      kilncore::string::UTF8to16(info.appSpecificRenderOptions);
  return BuildPrefsWithApplicationSpecificRenderOptions(info.sourceID.AsString(), renderOptions);
}

kilncore::utility::Guid PrefsToSourceID(const RL::BinaryData& prefs) {
  return kilncore::utility::Guid(PrefsToSourceIDAsString(prefs));
}

kilncore::WideString PrefsToSourceIDAsString(const RL::BinaryData& prefs) {
  return ReadUnits(prefs.GetData(), kNullGuidString.size());
}

kilncore::WideString PrefsToApplicationSpecificRenderOptions(const RL::BinaryData& prefs) {
  const uint8_t* bytes = prefs.GetData();
  if (bytes == nullptr) return {};
  const uint64_t count = (static_cast<uint64_t>(prefs.GetSize()) - SourceIDByteCount()) >> 1;
  if (count == 0) return {};
  return ReadUnits(bytes + SourceIDByteCount(), count);
}

void ApplicationSpecificRenderOptionsToMarlRenderOptions(const kilncore::WideString& renderOptions,
                                                         tether::MarlRenderOptions& options) {
  if (renderOptions.empty()) return;
  options = ParseMarlRenderOptions(renderOptions);
}

}  // namespace TetherMedia
