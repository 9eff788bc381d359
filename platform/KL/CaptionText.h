#pragma once

#include <KL/CaptionStream.h>

#include <optional>
#include <string>
#include <string_view>

namespace KL::CaptionText {

// The first line of every caption text.
inline constexpr std::string_view kHeader = "TETHER-CAPTIONS 1";

// Limits that keep a hostile text from taking the host's memory.
inline constexpr size_t kMaxTextBytes = 64u << 20;
inline constexpr size_t kMaxStreams = 4096;
inline constexpr size_t kMaxCues = 1000000;

// Reads the serialised caption text that servers send (docs/captions.md).
// Nothing on a malformed text, with the reason, which names the line, in
// `reason`. Never throws for bad input.
std::optional<CaptionDocument> Parse(std::string_view text, std::string& reason);

// Writes `document` as a caption text that Parse reads back to the same
// document.
std::string Write(const CaptionDocument& document);

}  // namespace KL::CaptionText
