#pragma once

#include <kilncore/string/WideString.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

namespace kilncore::debug {

// One place in the code that writes trace on a fixed channel and level.
//
// It caches the TraceEnabled answer and asks again only when TraceChangeCount()
// has moved, so a disabled trace site costs one atomic load. Safe for use from
// many threads; a static TraceSite at the place of use is the intended form.
//
// Example:
//   static kilncore::debug::TraceSite site("TetherMedia", 10);
//   if (site.Enabled()) site.Write("Rendering frame at time " + std::to_string(t));
class TraceSite {
 public:
  TraceSite(std::string channel, int level) : mChannel(std::move(channel)), mLevel(level) {}
  TraceSite(const TraceSite&) = delete;
  TraceSite& operator=(const TraceSite&) = delete;

  // True if the channel is enabled at this site's level.
  bool Enabled();

  // Writes `text` (UTF-8, or UTF-16 converted) if Enabled().
  void Write(std::string_view text);
  void Write(WideStringView text);
  void Write(const char* text) { Write(std::string_view(text ? text : "")); }

  const std::string& Channel() const noexcept { return mChannel; }
  int Level() const noexcept { return mLevel; }

 private:
  const std::string mChannel;
  const int mLevel;
  // The change count at which the answer was taken, shifted left by one, with
  // the answer in the lowest bit: one word, so both are read together.
  std::atomic<uint64_t> mCached{0};
};

}  // namespace kilncore::debug
