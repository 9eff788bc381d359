#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace kilnmediatypes {

// An ICC colour profile as raw bytes. A default-built profile is empty: no
// profile is attached.
class ColorProfile {
 public:
  ColorProfile() = default;
  explicit ColorProfile(std::vector<uint8_t> iccData) : mICCData(std::move(iccData)) {}

  bool IsEmpty() const noexcept { return mICCData.empty(); }
  const std::vector<uint8_t>& GetICCData() const noexcept { return mICCData; }

  friend bool operator==(const ColorProfile&, const ColorProfile&) = default;

 private:
  std::vector<uint8_t> mICCData;
};

}  // namespace kilnmediatypes
