#pragma once

#include <tether/CapsuleParamValues.h>
#include <tether/MediaTypes.h>

#include <kilncore/string/WideString.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace tether {

// The owner text that marks render options as Marl's.
inline constexpr char kMarlRenderOptionsApplicationID[] = "Marl";

// How Marl is to render one item, as kept in a clip's preferences.
//
// A plain value: copying it copies the capsule parameter values' pointer, which
// is shared, never modified in place (SetCapsuleParamValues replaces it).
class MarlRenderOptions {
 public:
  // The format version that AsString writes.
  static constexpr int32_t kCurrentVersion = 11;

  MarlRenderOptions() = default;
  MarlRenderOptions(const MarlRenderOptions&) = default;
  MarlRenderOptions& operator=(const MarlRenderOptions&) = default;

  bool renderGuideLayers = false;

  void SetFlatArtisanOptions(std::vector<uint8_t> options) { mFlatArtisanOptions = std::move(options); }
  const std::vector<uint8_t>& GetFlatArtisanOptions() const { return mFlatArtisanOptions; }

  uint32_t artisanQuality = 0;

  // Null and empty values mean the same: no parameter values.
  void SetCapsuleParamValues(std::shared_ptr<CapsuleParamValues> values) {
    mCapsuleParamValues = std::move(values);
  }
  const std::shared_ptr<CapsuleParamValues>& GetCapsuleParamValues() const {
    return mCapsuleParamValues;
  }

  FieldType fieldType = 0;
  uint32_t downSampleX = 1;
  uint32_t downSampleY = 1;
  bool needsToPatchSourceForDownsample = false;
  bool useMarlLib = false;
  double stretchFactor = 1.0;

  // The time stretch offset in ticks of the host's time base.
  void SetStretchOffset(int64_t ticks) { mStretchOffset = ticks; }
  int64_t GetStretchOffset() const { return mStretchOffset; }

  bool enableMenaIndic = false;

  // The options as JSON text (UTF-16): one object, not wrapped, with every key
  // of the format in the order of its versions, "applicationID" set to
  // kMarlRenderOptionsApplicationID and "version" kCurrentVersion. A stretch
  // factor that isn't finite is written as null, since JSON has no such numbers.
  kilncore::WideString AsString() const;

  // Equal in every field; capsule values compare by value, null equal to empty.
  friend bool operator==(const MarlRenderOptions& a, const MarlRenderOptions& b);

 private:
  std::vector<uint8_t> mFlatArtisanOptions;
  std::shared_ptr<CapsuleParamValues> mCapsuleParamValues;
  int64_t mStretchOffset = 0;
};

}  // namespace tether
