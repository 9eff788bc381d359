#pragma once

#include <cstdint>

namespace ProjectXML {

// The element and attribute names of the host project dialect, shared by its
// reader and its writer.
inline constexpr int64_t kVersion = 1;

inline constexpr char kElementRoot[] = "tolmenProject";
inline constexpr char kElementProperties[] = "properties";
inline constexpr char kElementProperty[] = "property";
inline constexpr char kElementBin[] = "bin";
inline constexpr char kElementSequence[] = "sequence";
inline constexpr char kElementMasterClip[] = "masterClip";
inline constexpr char kElementVideoTrack[] = "videoTrack";
inline constexpr char kElementAudioTrack[] = "audioTrack";
inline constexpr char kElementClip[] = "clip";
inline constexpr char kElementCaptionTrack[] = "captionTrack";
inline constexpr char kElementCaption[] = "caption";
inline constexpr char kElementMarker[] = "marker";

inline constexpr char kAttributeVersion[] = "version";
inline constexpr char kAttributeFlavour[] = "flavour";
inline constexpr char kAttributeKey[] = "key";
inline constexpr char kAttributeType[] = "type";
inline constexpr char kAttributeReadOnly[] = "readOnly";
inline constexpr char kAttributeName[] = "name";
inline constexpr char kAttributeID[] = "id";
inline constexpr char kAttributeNode[] = "node";
inline constexpr char kAttributeMedia[] = "media";
inline constexpr char kAttributeWidth[] = "width";
inline constexpr char kAttributeHeight[] = "height";
inline constexpr char kAttributeRate[] = "rate";
inline constexpr char kAttributeFieldOrder[] = "fieldOrder";
inline constexpr char kAttributePixelAspect[] = "pixelAspect";
inline constexpr char kAttributeAudioRate[] = "audioRate";
inline constexpr char kAttributeAudioChannels[] = "audioChannels";
inline constexpr char kAttributeMaximumRenderQuality[] = "maximumRenderQuality";
inline constexpr char kAttributeStart[] = "start";
inline constexpr char kAttributeEnd[] = "end";
inline constexpr char kAttributeIn[] = "in";
inline constexpr char kAttributeOut[] = "out";
inline constexpr char kAttributeEnabled[] = "enabled";
inline constexpr char kAttributeStill[] = "still";
inline constexpr char kAttributeLink[] = "link";
inline constexpr char kAttributeLinkItem[] = "linkItem";
inline constexpr char kAttributeFrame[] = "frame";

inline constexpr char kTypeText[] = "text";
inline constexpr char kTypeBool[] = "bool";
inline constexpr char kFieldProgressive[] = "progressive";
inline constexpr char kFieldUpper[] = "upper";
inline constexpr char kFieldLower[] = "lower";
inline constexpr char kFlavourLegacy[] = "legacy";
inline constexpr char kFlavourUnified[] = "unified";

}  // namespace ProjectXML
