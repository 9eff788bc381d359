#include <ProjectXML/ProjectXMLWriter.h>

#include <ProjectXML/ProjectXMLNames.h>

#include <pugixml.hpp>

#include <sstream>

namespace ProjectXML {

namespace {

std::string RatioText(const Ratio& ratio) {
  return std::to_string(ratio.numerator) + "/" + std::to_string(ratio.denominator);
}

const char* FieldOrderText(FieldOrder order) {
  switch (order) {
    case FieldOrder::kUpperFirst: return kFieldUpper;
    case FieldOrder::kLowerFirst: return kFieldLower;
    case FieldOrder::kProgressive: break;
  }
  return kFieldProgressive;
}

void WriteProperties(pugi::xml_node owner, const std::vector<Property>& properties) {
  if (properties.empty()) return;
  pugi::xml_node list = owner.append_child(kElementProperties);
  for (const Property& property : properties) {
    pugi::xml_node node = list.append_child(kElementProperty);
    node.append_attribute(kAttributeKey) = property.key.c_str();
    node.append_attribute(kAttributeType) = property.type == Property::Type::kBool ? kTypeBool : kTypeText;
    if (property.readOnly) node.append_attribute(kAttributeReadOnly) = true;
    node.text() = property.value.c_str();
  }
}

void WriteTracks(pugi::xml_node owner, const char* element, const std::vector<Track>& tracks) {
  for (const Track& track : tracks) {
    pugi::xml_node trackNode = owner.append_child(element);
    for (const Clip& clip : track.clips) {
      pugi::xml_node node = trackNode.append_child(kElementClip);
      node.append_attribute(kAttributeID) = clip.id;
      node.append_attribute(kAttributeName) = clip.name.c_str();
      node.append_attribute(kAttributeMedia) = clip.media.c_str();
      node.append_attribute(kAttributeStart) = static_cast<long long>(clip.start);
      node.append_attribute(kAttributeIn) = static_cast<long long>(clip.in);
      node.append_attribute(kAttributeOut) = static_cast<long long>(clip.out);
      if (!clip.enabled) node.append_attribute(kAttributeEnabled) = false;
      if (clip.still) node.append_attribute(kAttributeStill) = true;
      if (!clip.linkProject.empty()) {
        node.append_attribute(kAttributeLink) = clip.linkProject.c_str();
        node.append_attribute(kAttributeLinkItem) = clip.linkItem.AsUTF8String().c_str();
      }
    }
  }
}

void WriteSequence(pugi::xml_node node, const Sequence& sequence) {
  node.append_attribute(kAttributeWidth) = sequence.width;
  node.append_attribute(kAttributeHeight) = sequence.height;
  node.append_attribute(kAttributeRate) = RatioText(sequence.frameRate).c_str();
  node.append_attribute(kAttributeFieldOrder) = FieldOrderText(sequence.fieldOrder);
  node.append_attribute(kAttributePixelAspect) = RatioText(sequence.pixelAspect).c_str();
  node.append_attribute(kAttributeAudioRate) = sequence.audioRate;
  node.append_attribute(kAttributeAudioChannels) = sequence.audioChannels;
  node.append_attribute(kAttributeMaximumRenderQuality) = sequence.maximumRenderQuality;
  WriteTracks(node, kElementVideoTrack, sequence.videoTracks);
  WriteTracks(node, kElementAudioTrack, sequence.audioTracks);
  for (const CaptionTrack& track : sequence.captionTracks) {
    pugi::xml_node trackNode = node.append_child(kElementCaptionTrack);
    trackNode.append_attribute(kAttributeName) = track.name.c_str();
    for (const Caption& caption : track.captions) {
      pugi::xml_node captionNode = trackNode.append_child(kElementCaption);
      captionNode.append_attribute(kAttributeStart) = static_cast<long long>(caption.start);
      captionNode.append_attribute(kAttributeEnd) = static_cast<long long>(caption.end);
      captionNode.text() = caption.text.c_str();
    }
  }
  for (const Marker& marker : sequence.markers) {
    pugi::xml_node markerNode = node.append_child(kElementMarker);
    markerNode.append_attribute(kAttributeFrame) = static_cast<long long>(marker.frame);
    markerNode.append_attribute(kAttributeName) = marker.name.c_str();
  }
}

void WriteItem(pugi::xml_node owner, const Item& item) {
  const char* element = item.kind == Item::Kind::kBin        ? kElementBin
                        : item.kind == Item::Kind::kSequence ? kElementSequence
                                                             : kElementMasterClip;
  pugi::xml_node node = owner.append_child(element);
  node.append_attribute(kAttributeName) = item.name.c_str();
  node.append_attribute(kAttributeID) = item.id.AsUTF8String().c_str();
  node.append_attribute(kAttributeNode) = std::to_string(item.nodeID).c_str();
  if (item.kind == Item::Kind::kMasterClip) node.append_attribute(kAttributeMedia) = item.media.c_str();
  WriteProperties(node, item.properties);
  if (item.kind == Item::Kind::kSequence && item.sequence) WriteSequence(node, *item.sequence);
  for (const Item& child : item.children) WriteItem(node, child);
}

}  // namespace

std::string ProjectXMLWriter::Write(const ProjectDocument& document) {
  pugi::xml_document xml;
  pugi::xml_node declaration = xml.append_child(pugi::node_declaration);
  declaration.append_attribute("version") = "1.0";
  declaration.append_attribute("encoding") = "UTF-8";
  pugi::xml_node root = xml.append_child(kElementRoot);
  root.append_attribute(kAttributeVersion) = static_cast<long long>(kVersion);
  root.append_attribute(kAttributeFlavour) = document.flavour == Flavour::kUnified ? kFlavourUnified : kFlavourLegacy;
  WriteProperties(root, document.properties);
  for (const Item& item : document.items) WriteItem(root, item);
  std::ostringstream out;
  xml.save(out, "  ", pugi::format_indent, pugi::encoding_utf8);
  return out.str();
}

}  // namespace ProjectXML
