#include <kilncore/debug/Trace.h>

#include <kilncore/string/UTFConversion.h>

#include <atomic>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <shared_mutex>

namespace kilncore::debug {
namespace {

constexpr std::string_view kEnvironmentVariable = "KILN_TRACE";
constexpr std::string_view kAllChannels = "*";

std::string_view Trim(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  const size_t last = text.find_last_not_of(" \t");
  return text.substr(first, last - first + 1);
}

std::optional<int> ParseLevel(std::string_view text) {
  int level = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), level);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return level;
}

class TraceSettings {
 public:
  static TraceSettings& Instance() {
    // Never destroyed: trace may be written from destructors of statics.
    static TraceSettings* const settings = new TraceSettings;
    return *settings;
  }

  bool Enabled(std::string_view channel, int level, bool registerChannel) {
    if (registerChannel && !IsKnown(channel)) Remember(channel);
    std::shared_lock lock(mMutex);
    const auto found = mLevels.find(channel);
    const std::optional<int> limit = found != mLevels.end() ? std::optional(found->second) : mDefault;
    return limit && level >= 0 && level <= *limit;
  }

  void SetLevel(std::string_view channel, int level) {
    {
      std::unique_lock lock(mMutex);
      SetLevelLocked(channel, level);
    }
    Changed();
  }

  size_t Apply(std::string_view settings) {
    size_t applied = 0;
    {
      std::unique_lock lock(mMutex);
      while (!settings.empty()) {
        const size_t comma = settings.find(',');
        const std::string_view pair = settings.substr(0, comma);
        settings = comma == std::string_view::npos ? std::string_view() : settings.substr(comma + 1);
        const size_t equals = pair.find('=');
        if (equals == std::string_view::npos) continue;
        const std::string_view channel = Trim(pair.substr(0, equals));
        const std::optional<int> level = ParseLevel(Trim(pair.substr(equals + 1)));
        if (channel.empty() || !level) continue;
        SetLevelLocked(channel, *level);
        ++applied;
      }
    }
    Changed();
    return applied;
  }

  void Clear() {
    {
      std::unique_lock lock(mMutex);
      mLevels.clear();
      mDefault.reset();
    }
    Changed();
  }

  void Reload() {
    Clear();
    if (const char* value = std::getenv(std::string(kEnvironmentVariable).c_str())) Apply(value);
  }

  std::vector<std::string> Known() {
    std::shared_lock lock(mMutex);
    std::set<std::string, std::less<>> names(mKnown.begin(), mKnown.end());
    for (const auto& [name, level] : mLevels) names.insert(name);
    return std::vector<std::string>(names.begin(), names.end());
  }

  uint64_t ChangeCount() const { return mChangeCount.load(std::memory_order_acquire); }

  TraceSink SetSink(TraceSink sink) {
    auto shared = sink ? std::make_shared<const TraceSink>(std::move(sink)) : nullptr;
    std::unique_lock lock(mMutex);
    std::swap(shared, mSink);
    return shared ? *shared : TraceSink();
  }

  void Write(int level, std::string_view channel, std::string_view text) {
    std::shared_ptr<const TraceSink> sink;
    {
      std::shared_lock lock(mMutex);
      sink = mSink;
    }
    if (sink) {
      (*sink)(level, channel, text);
      return;
    }
    // One call per line, so that lines of different threads don't interleave.
    std::string line;
    line.reserve(channel.size() + text.size() + 16);
    line.append("[").append(channel).append(":").append(std::to_string(level)).append("] ");
    line.append(text).append("\n");
    std::fwrite(line.data(), 1, line.size(), stderr);
  }

 private:
  TraceSettings() {
    if (const char* value = std::getenv(std::string(kEnvironmentVariable).c_str())) Apply(value);
  }

  void SetLevelLocked(std::string_view channel, int level) {
    const std::optional<int> value = level < 0 ? std::nullopt : std::optional(level);
    if (channel == kAllChannels) {
      mDefault = value;
    } else if (value) {
      mLevels.insert_or_assign(std::string(channel), *value);
    } else {
      mLevels.erase(std::string(channel));
    }
  }

  bool IsKnown(std::string_view channel) {
    std::shared_lock lock(mMutex);
    return mKnown.find(channel) != mKnown.end();
  }

  void Remember(std::string_view channel) {
    std::unique_lock lock(mMutex);
    mKnown.emplace(channel);
  }

  void Changed() { mChangeCount.fetch_add(1, std::memory_order_acq_rel); }

  std::shared_mutex mMutex;
  std::map<std::string, int, std::less<>> mLevels;
  std::optional<int> mDefault;
  std::set<std::string, std::less<>> mKnown;
  std::shared_ptr<const TraceSink> mSink;
  std::atomic<uint64_t> mChangeCount{1};
};

}  // namespace

void Trace(int level, std::string_view channel, std::string_view text) {
  TraceSettings& settings = TraceSettings::Instance();
  if (settings.Enabled(channel, level, false)) settings.Write(level, channel, text);
}

void Trace(int level, std::string_view channel, WideStringView text) {
  if (TraceEnabled(channel, level, false)) {
    TraceSettings::Instance().Write(level, channel, string::UTF16to8(text));
  }
}

void Trace(int level, std::string_view channel, const char* text) {
  Trace(level, channel, std::string_view(text ? text : ""));
}

bool TraceEnabled(std::string_view channel, int level, bool registerChannel) {
  return TraceSettings::Instance().Enabled(channel, level, registerChannel);
}

uint64_t TraceChangeCount() { return TraceSettings::Instance().ChangeCount(); }

void SetTraceLevel(std::string_view channel, int level) {
  TraceSettings::Instance().SetLevel(channel, level);
}

size_t ApplyTraceSettings(std::string_view settings) {
  return TraceSettings::Instance().Apply(settings);
}

void ReloadTraceSettingsFromEnvironment() { TraceSettings::Instance().Reload(); }

void ClearTraceSettings() { TraceSettings::Instance().Clear(); }

std::vector<std::string> KnownTraceChannels() { return TraceSettings::Instance().Known(); }

TraceSink SetTraceSink(TraceSink sink) { return TraceSettings::Instance().SetSink(std::move(sink)); }

}  // namespace kilncore::debug
