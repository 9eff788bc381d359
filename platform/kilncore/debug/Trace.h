#pragma once

#include <kilncore/string/WideString.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kilncore::debug {

// Trace output by channel and level.
//
// A channel is a name ("TetherMedia"); a level is a verbosity, higher meaning
// more detail (0 failures, 5 imports, 6 object lives, 10 every frame). A
// channel set to level N passes trace of levels 0..N; a channel that was never
// set is off, unless a default for all channels was set with "*".
//
// Settings come from the environment variable KILN_TRACE, read at first use,
// and from SetTraceLevel. KILN_TRACE is a comma-separated list of
// channel=level pairs, for example
//   KILN_TRACE="TetherMedia=10,TetherMediaInfo=6"
// where "*=5" sets the default of all channels; a malformed pair is skipped.
//
// Every change of the settings increments TraceChangeCount(), so that a trace
// site may cache its TraceEnabled answer and ask again only when the count
// has moved (TraceSite does exactly this).
//
// Output goes to stderr as "[channel:level] text" lines, or to the sink set by
// SetTraceSink (see TraceCapture for tests). All functions are thread-safe.

// Writes `text` on `channel` at `level`, if that channel is enabled at that
// level. `text` is UTF-8; the wide form is converted.
void Trace(int level, std::string_view channel, std::string_view text);
void Trace(int level, std::string_view channel, WideStringView text);
void Trace(int level, std::string_view channel, const char* text);

// True if trace of `level` on `channel` would be written. With
// `registerChannel` true the channel is remembered as in use (see
// KnownTraceChannels); the answer doesn't depend on it.
bool TraceEnabled(std::string_view channel, int level, bool registerChannel = true);

// A count that changes whenever the trace settings change. It is never 0, so
// a cache that starts at 0 is out of date.
uint64_t TraceChangeCount();

// Sets the level of `channel` ("*" for the default of all channels). A negative
// level switches it off.
void SetTraceLevel(std::string_view channel, int level);

// Parses settings in the form of KILN_TRACE and applies them on top of the
// current ones. Returns the number of pairs applied.
size_t ApplyTraceSettings(std::string_view settings);

// Forgets every setting, then applies KILN_TRACE again.
void ReloadTraceSettingsFromEnvironment();

// Forgets every setting: all channels are off.
void ClearTraceSettings();

// The channels that trace sites have asked about (with registerChannel true)
// or that have a level set, sorted.
std::vector<std::string> KnownTraceChannels();

// Receives each line that is written. Called outside any lock of the trace
// settings, possibly from many threads at once.
using TraceSink = std::function<void(int level, std::string_view channel, std::string_view text)>;

// Replaces the output; an empty sink restores stderr. Returns the previous
// sink (empty for stderr).
TraceSink SetTraceSink(TraceSink sink);

}  // namespace kilncore::debug
