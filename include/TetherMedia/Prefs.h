#pragma once

#include <TetherMedia/Export.h>
#include <RL/BinaryData.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>
#include <tether/MarlRenderOptions.h>
#include <tether/SourceInfo.h>

namespace TetherMedia {

// The per-clip prefs blob that the host keeps in its project files.
//
// Layout (all text UTF-16 little-endian, no length field, no terminator):
//   bytes 0..71  the source identifier, 36 code units in Guid::AsString form;
//   bytes 72..   the application-specific render options as JSON text, to the
//                end of the blob (possibly none).
// A blob shorter than 72 bytes isn't a prefs blob and must not be passed to the
// readers below: they don't check.

// A blob of `sourceIDString` followed by `renderOptions` (if not empty). The
// identifier's length is taken on trust: callers pass the 36-unit text form.
TETHERMEDIA_API RL::BinaryData BuildPrefsWithApplicationSpecificRenderOptions(
    const kilncore::WideString& sourceIDString, const kilncore::WideString& renderOptions);

// A 72-byte blob of `sourceID` alone, with no render options.
TETHERMEDIA_API RL::BinaryData SourceIDToPrefs(const kilncore::utility::Guid& sourceID);

// A blob of the item's source identifier and its render options (converted
// from the record's UTF-8 text).
TETHERMEDIA_API RL::BinaryData SourceInfoToPrefs(const tether::SourceInfo& info);

// The source identifier of `prefs`; the nil Guid if its text isn't a Guid.
TETHERMEDIA_API kilncore::utility::Guid PrefsToSourceID(const RL::BinaryData& prefs);

// The first 36 code units of `prefs`, as stored.
TETHERMEDIA_API kilncore::WideString PrefsToSourceIDAsString(const RL::BinaryData& prefs);

// The render options text of `prefs`: every whole code unit after the source
// identifier. Empty for an empty blob or one of 72 or 73 bytes; an odd last
// byte is dropped.
TETHERMEDIA_API kilncore::WideString PrefsToApplicationSpecificRenderOptions(
    const RL::BinaryData& prefs);

// Replaces `options` with the parsed `renderOptions`, or leaves it untouched
// when the text is empty.
//
// Throws std::runtime_error("JSON not well-formed") for text that doesn't
// parse, and std::bad_any_cast for a member of the wrong type. Options of
// another application than Marl are no error: `options` becomes the defaults.
TETHERMEDIA_API void ApplicationSpecificRenderOptionsToMarlRenderOptions(
    const kilncore::WideString& renderOptions, tether::MarlRenderOptions& options);

}  // namespace TetherMedia
