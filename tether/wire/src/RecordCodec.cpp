#include <tether/wire/RecordCodec.h>

#include <tether/wire/TreeAccess.h>
#include <tether/wire/WireError.h>

#include <kilncore/string/UTFConversion.h>

#include <cmath>

namespace tether::wire {
namespace {

using kilncore::utility::Guid;

// Builds one object member by member.
class ObjectWriter {
 public:
  template <class T>
  ObjectWriter& Set(const char* key, T value) {
    mObject[key] = MakeAny(std::move(value));
    return *this;
  }
  ObjectWriter& Put(const char* key, AnyValue value) {
    mObject[key] = std::move(value);
    return *this;
  }
  AnyValue Done() { return MakeAny(std::move(mObject)); }

 private:
  AnyObject mObject;
};

template <class T, class F>
AnyValue ArrayOf(const std::vector<T>& items, F convert) {
  AnyArray array;
  array.reserve(items.size());
  for (const auto& item : items) {
    array.push_back(convert(item));
  }
  return MakeAny(std::move(array));
}

template <class F>
auto ReadArray(const AnyValue& tree, F convert) {
  using T = decltype(convert(AnyValue{}));
  std::vector<T> items;
  const AnyArray& array = AsArray(tree);
  items.reserve(array.size());
  for (const auto& item : array) {
    items.push_back(convert(item));
  }
  return items;
}

AnyValue StringMapToTree(const std::map<std::string, std::string>& map) {
  AnyObject object;
  for (const auto& [key, value] : map) {
    object[key] = MakeAny(value);
  }
  return MakeAny(std::move(object));
}

std::map<std::string, std::string> StringMapFromTree(const AnyValue& tree) {
  std::map<std::string, std::string> map;
  for (const auto& [key, value] : AsObject(tree)) {
    map[key] = AsString(value);
  }
  return map;
}

AnyValue PixelFormatToTree(const PixelFormat& format) {
  return MakeAny(AnyArray{MakeAny(format.fourcc), MakeAny(format.properties)});
}

PixelFormat PixelFormatFromTree(const AnyValue& tree) {
  const AnyArray& pair = AsArray(tree);
  if (pair.size() != 2) {
    throw WireError("pixel format isn't a pair");
  }
  return PixelFormat{AsUint32(pair[0]), AsUint32(pair[1])};
}

AnyValue CapsuleValueToTree(const CapsuleParamValue& value) {
  return std::visit(
      [](const auto& v) -> AnyValue {
        using V = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<V, std::monostate>) {
          return std::make_shared<std::any>();
        } else if constexpr (std::is_same_v<V, std::vector<double>>) {
          return ArrayOf(v, [](double d) { return MakeAny(d); });
        } else {
          return MakeAny(v);
        }
      },
      value);
}

CapsuleParamValue CapsuleValueFromTree(const AnyValue& tree) {
  if (!tree || !tree->has_value()) {
    return std::monostate{};
  }
  if (auto p = std::any_cast<bool>(tree.get())) return *p;
  if (auto p = std::any_cast<std::string>(tree.get())) return *p;
  if (auto p = std::any_cast<double>(tree.get())) return *p;
  if (std::any_cast<AnyArray>(tree.get())) {
    return ReadArray(tree, [](const AnyValue& item) { return AsDouble(item); });
  }
  return AsInt64(tree);
}

AnyValue CaptionStreamToTree(const CaptionStreamEntry& entry) {
  return ObjectWriter().Set("id", entry.streamID).Set("selected", entry.selected).Set("label", entry.label).Done();
}

CaptionStreamEntry CaptionStreamFromTree(const AnyValue& tree) {
  const AnyObject& o = AsObject(tree);
  return CaptionStreamEntry{AsUint64(Field(o, "id")), AsBool(Field(o, "selected")), AsString(Field(o, "label"))};
}

// The members that a production request and an asset request share: the
// data server, its credentials and properties, and the production.
template <class Request>
ObjectWriter WriteDataServerFields(const Request& r) {
  ObjectWriter writer;
  writer.Set("serverAddress", r.serverAddress)
      .Set("credentialA", r.credentialA)
      .Set("credentialB", r.credentialB)
      .Set("authTokenType", r.authTokenType)
      .Put("serverProperties", StringMapToTree(r.serverProperties))
      .Set("production", r.production);
  return writer;
}

template <class Request>
void ReadDataServerFields(const AnyObject& o, Request& r) {
  r.serverAddress = AsString(Field(o, "serverAddress"));
  r.credentialA = AsString(Field(o, "credentialA"));
  r.credentialB = AsString(Field(o, "credentialB"));
  r.authTokenType = AsString(Field(o, "authTokenType"));
  r.serverProperties = StringMapFromTree(Field(o, "serverProperties"));
  r.production = AsString(Field(o, "production"));
}

AnyValue ProductionToTree(const FarsideProductionRequestInfo& r) { return WriteDataServerFields(r).Done(); }

FarsideProductionRequestInfo ProductionFromTree(const AnyValue& tree) {
  FarsideProductionRequestInfo r;
  ReadDataServerFields(AsObject(tree), r);
  return r;
}

AnyValue CapsuleParamsToTree(const CapsuleParams& params) {
  return ArrayOf(params.params, [](const CapsuleParam& p) {
    return ObjectWriter()
        .Set("key", p.key)
        .Put("displayName", ToTree(p.displayName))
        .Set("kind", p.kind)
        .Put("default", CapsuleValueToTree(p.defaultValue))
        .Done();
  });
}

CapsuleParams CapsuleParamsFromTree(const AnyValue& tree) {
  CapsuleParams params;
  params.params = ReadArray(tree, [](const AnyValue& item) {
    const AnyObject& o = AsObject(item);
    return CapsuleParam{AsString(Field(o, "key")), WideFromTree(Field(o, "displayName")),
                        AsUint32(Field(o, "kind")), CapsuleValueFromTree(Field(o, "default"))};
  });
  return params;
}

}  // namespace

AnyValue ToTree(const Guid& guid) { return MakeAny(guid.AsUTF8String()); }

Guid GuidFromTree(const AnyValue& tree) {
  const std::string& text = AsString(tree);
  Guid guid(text);
  // The nil form parses to nil; anything else that gives nil didn't parse.
  if (guid.IsNil() && text != Guid().AsUTF8String()) {
    throw WireError("malformed identifier");
  }
  return guid;
}

AnyValue ToTree(const kilncore::WideString& text) { return MakeAny(kilncore::string::UTF16to8(text)); }

kilncore::WideString WideFromTree(const AnyValue& tree) { return kilncore::string::UTF8to16(AsString(tree)); }

AnyValue RatioToTree(const RatioTime& time) {
  return MakeAny(AnyArray{MakeAny(time.numerator()), MakeAny(time.denominator())});
}

RatioTime RatioFromTree(const AnyValue& tree) {
  const AnyArray& pair = AsArray(tree);
  if (pair.size() != 2) {
    throw WireError("time isn't a pair");
  }
  int64_t numerator = AsInt64(pair[0]);
  int64_t denominator = AsInt64(pair[1]);
  // Normalising negates a negative denominator, which overflows at the minimum.
  if (denominator <= 0) {
    throw WireError("time with a denominator that isn't positive");
  }
  return RatioTime(numerator, denominator);
}

AnyValue ToTree(const File& file) {
  return ObjectWriter().Put("path", ToTree(file.FullPath())).Set("flag", file.GetFlag()).Done();
}

File FileFromTree(const AnyValue& tree) {
  const AnyObject& o = AsObject(tree);
  return File(WideFromTree(Field(o, "path")), AsBool(Field(o, "flag")));
}

AnyValue ToTree(const FarsideAssetRequestInfo& r) {
  return WriteDataServerFields(r).Set("version", r.version).Set("asset", r.asset).Done();
}

FarsideAssetRequestInfo AssetRequestFromTree(const AnyValue& tree) {
  const AnyObject& o = AsObject(tree);
  FarsideAssetRequestInfo r;
  ReadDataServerFields(o, r);
  r.version = AsString(Field(o, "version"));
  r.asset = AsString(Field(o, "asset"));
  return r;
}

AnyValue ToTree(const SourceInfo& s) {
  auto guids = [](const std::vector<Guid>& ids) { return ArrayOf(ids, [](const Guid& g) { return ToTree(g); }); };
  return ObjectWriter()
      .Put("file", ToTree(s.file))
      .Put("assetRequest", ToTree(s.assetRequest))
      .Put("productionRequest", ProductionToTree(s.productionRequest))
      .Put("name", ToTree(s.name))
      .Put("producerDescription", ToTree(s.producerDescription))
      .Put("sourceID", ToTree(s.sourceID))
      .Put("startTime", RatioToTree(s.startTime))
      .Put("pixelAspectRatio", MakeAny(AnyArray{MakeAny(s.pixelAspectRatio.numerator),
                                                MakeAny(s.pixelAspectRatio.denominator)}))
      .Set("formatVersion", s.formatVersion)
      .Set("originX", s.originX)
      .Set("originY", s.originY)
      .Set("width", s.width)
      .Set("height", s.height)
      .Set("frameRate", s.frameRate)
      .Put("nativePixelFormats", ArrayOf(s.nativePixelFormats, PixelFormatToTree))
      .Set("alphaKind", s.alphaKind)
      .Set("fieldType", s.fieldType)
      .Put("audioChannelLayout", ArrayOf(s.audioChannelLayout, [](AudioChannelLabel l) { return MakeAny(l); }))
      .Set("audioSampleRate", s.audioSampleRate)
      .Put("contentState", ToTree(s.contentState))
      .Set("hasVideo", s.hasVideo)
      .Set("hasAudio", s.hasAudio)
      .Put("duration", RatioToTree(s.duration))
      .Put("workInPoint", RatioToTree(s.workInPoint))
      .Put("workOutPoint", RatioToTree(s.workOutPoint))
      .Set("matteColor", AnyArray{MakeAny(double{s.matteColorR}), MakeAny(double{s.matteColorG}),
                                  MakeAny(double{s.matteColorB})})
      .Put("tickCount", RatioToTree(s.tickCount))
      .Set("isRenderable", s.isRenderable)
      .Set("isDropFrame", s.isDropFrame)
      .Put("previewInPoint", RatioToTree(s.previewInPoint))
      .Put("previewOutPoint", RatioToTree(s.previewOutPoint))
      .Set("hasFrozenUnstretchableRegions", s.hasFrozenUnstretchableRegions)
      .Set("isSequence", s.isSequence)
      .Set("appSpecificRenderOptions", s.appSpecificRenderOptions)
      .Put("capsuleParams", CapsuleParamsToTree(s.capsuleParams))
      .Set("colorSpace", s.colorSpace.definition)
      .Set("isColorManaged", s.isColorManaged)
      .Put("assetDisplayName", ToTree(s.assetDisplayName))
      .Set("maxRenderQualityPercent", s.maxRenderQualityPercent)
      .Set("hasCaptions", s.hasCaptions)
      .Set("isTemplate", s.isTemplate)
      .Put("linkedSources", guids(s.linkedSources))
      .Put("dependencyPaths", ArrayOf(s.dependencyPaths, [](const kilncore::WideString& p) { return ToTree(p); }))
      .Put("markers", ArrayOf(s.markers, [](const std::string& m) { return MakeAny(m); }))
      .Set("revision", s.revision)
      .Set("extraJSON", s.extraJSON)
      .Done();
}

SourceInfo SourceInfoFromTree(const AnyValue& tree) {
  const AnyObject& o = AsObject(tree);
  auto f = [&o](const char* key) -> const AnyValue& { return Field(o, key); };
  SourceInfo s;
  s.file = FileFromTree(f("file"));
  s.assetRequest = AssetRequestFromTree(f("assetRequest"));
  s.productionRequest = ProductionFromTree(f("productionRequest"));
  s.name = WideFromTree(f("name"));
  s.producerDescription = WideFromTree(f("producerDescription"));
  s.sourceID = GuidFromTree(f("sourceID"));
  s.startTime = RatioFromTree(f("startTime"));
  const AnyArray& par = AsArray(f("pixelAspectRatio"));
  if (par.size() != 2) {
    throw WireError("pixel aspect ratio isn't a pair");
  }
  s.pixelAspectRatio = PixelAspectRatio{AsInt32(par[0]), AsInt32(par[1])};
  s.formatVersion = AsUint32(f("formatVersion"));
  s.originX = AsUint32(f("originX"));
  s.originY = AsUint32(f("originY"));
  s.width = AsUint32(f("width"));
  s.height = AsUint32(f("height"));
  s.frameRate = AsInt64(f("frameRate"));
  s.nativePixelFormats = ReadArray(f("nativePixelFormats"), PixelFormatFromTree);
  s.alphaKind = AsInt32(f("alphaKind"));
  s.fieldType = AsInt32(f("fieldType"));
  s.audioChannelLayout = ReadArray(f("audioChannelLayout"), [](const AnyValue& v) { return AsUint32(v); });
  s.audioSampleRate = AsInt64(f("audioSampleRate"));
  s.contentState = GuidFromTree(f("contentState"));
  s.hasVideo = AsBool(f("hasVideo"));
  s.hasAudio = AsBool(f("hasAudio"));
  s.duration = RatioFromTree(f("duration"));
  s.workInPoint = RatioFromTree(f("workInPoint"));
  s.workOutPoint = RatioFromTree(f("workOutPoint"));
  const AnyArray& matte = AsArray(f("matteColor"));
  if (matte.size() != 3) {
    throw WireError("matte colour isn't a triple");
  }
  s.matteColorR = static_cast<float>(AsDouble(matte[0]));
  s.matteColorG = static_cast<float>(AsDouble(matte[1]));
  s.matteColorB = static_cast<float>(AsDouble(matte[2]));
  s.tickCount = RatioFromTree(f("tickCount"));
  s.isRenderable = AsBool(f("isRenderable"));
  s.isDropFrame = AsBool(f("isDropFrame"));
  s.previewInPoint = RatioFromTree(f("previewInPoint"));
  s.previewOutPoint = RatioFromTree(f("previewOutPoint"));
  s.hasFrozenUnstretchableRegions = AsBool(f("hasFrozenUnstretchableRegions"));
  s.isSequence = AsBool(f("isSequence"));
  s.appSpecificRenderOptions = AsString(f("appSpecificRenderOptions"));
  s.capsuleParams = CapsuleParamsFromTree(f("capsuleParams"));
  s.colorSpace.definition = AsString(f("colorSpace"));
  s.isColorManaged = AsBool(f("isColorManaged"));
  s.assetDisplayName = WideFromTree(f("assetDisplayName"));
  s.maxRenderQualityPercent = AsInt32(f("maxRenderQualityPercent"));
  s.hasCaptions = AsBool(f("hasCaptions"));
  s.isTemplate = AsBool(f("isTemplate"));
  s.linkedSources = ReadArray(f("linkedSources"), GuidFromTree);
  s.dependencyPaths = ReadArray(f("dependencyPaths"), WideFromTree);
  s.markers = ReadArray(f("markers"), [](const AnyValue& v) { return AsString(v); });
  s.revision = AsInt64(f("revision"));
  s.extraJSON = AsString(f("extraJSON"));
  return s;
}

AnyValue ToTree(const VideoRenderOptions& v) {
  return ObjectWriter()
      .Set("quality", v.GetRenderQuality())
      .Set("fieldType", v.GetFieldType())
      .Put("pixelFormats", ArrayOf(v.GetPixelFormats(), PixelFormatToTree))
      .Set("bounds", AnyArray{MakeAny(v.GetBounds().width), MakeAny(v.GetBounds().height)})
      .Set("usePreviewFiles", v.GetUsePreviewFiles())
      .Set("useProxies", v.GetUseProxies())
      .Put("appOptions", ToTree(v.GetAppSpecificRenderOptionsJSONString()))
      .Set("captionStreamFormat", v.GetCaptionStreamFormat())
      .Set("colorSpace", v.GetColorSpace().definition)
      .Done();
}

VideoRenderOptions VideoRenderOptionsFromTree(const AnyValue& tree) {
  const AnyObject& o = AsObject(tree);
  VideoRenderOptions v;
  v.SetRenderQuality(AsInt32(Field(o, "quality")));
  v.SetFieldType(AsInt32(Field(o, "fieldType")));
  v.SetPixelFormats(ReadArray(Field(o, "pixelFormats"), PixelFormatFromTree));
  const AnyArray& bounds = AsArray(Field(o, "bounds"));
  if (bounds.size() != 2) {
    throw WireError("bounds aren't a pair");
  }
  v.SetBounds(AsInt32(bounds[0]), AsInt32(bounds[1]));
  v.SetUsePreviewFiles(AsBool(Field(o, "usePreviewFiles")));
  v.SetUseProxies(AsBool(Field(o, "useProxies")));
  v.SetAppSpecificRenderOptionsJSONString(WideFromTree(Field(o, "appOptions")));
  v.SetCaptionStreamFormat(AsUint32(Field(o, "captionStreamFormat")));
  v.SetColorSpace(ColorSpace{AsString(Field(o, "colorSpace"))});
  return v;
}

AnyValue ToTree(const AudioRenderOptions& a) {
  return ObjectWriter()
      .Put("layout", ArrayOf(a.GetAudioChannelLayout(), [](AudioChannelLabel l) { return MakeAny(l); }))
      .Set("sampleRate", a.GetSampleRate())
      .Done();
}

AudioRenderOptions AudioRenderOptionsFromTree(const AnyValue& tree) {
  const AnyObject& o = AsObject(tree);
  AudioRenderOptions a;
  a.SetAudioChannelLayout(ReadArray(Field(o, "layout"), [](const AnyValue& v) { return AsUint32(v); }));
  a.SetSampleRate(AsInt64(Field(o, "sampleRate")));
  return a;
}

AnyValue ToTree(const std::vector<ItemInfo>& items) {
  return ArrayOf(items, [](const ItemInfo& item) {
    return ObjectWriter().Put("name", ToTree(item.name)).Put("id", ToTree(item.id)).Set("type", item.type).Done();
  });
}

std::vector<ItemInfo> ItemsFromTree(const AnyValue& tree) {
  return ReadArray(tree, [](const AnyValue& item) {
    const AnyObject& o = AsObject(item);
    return ItemInfo{WideFromTree(Field(o, "name")), GuidFromTree(Field(o, "id")), AsInt32(Field(o, "type"))};
  });
}

AnyValue ToTree(const MissingAssets& assets) {
  return ObjectWriter()
      .Put("fonts", ArrayOf(assets.fonts,
                            [](const MissingFont& font) {
                              return ObjectWriter()
                                  .Set("identityA", font.identityA)
                                  .Set("identityB", font.identityB)
                                  .Set("detailA", font.detailA)
                                  .Set("detailB", font.detailB)
                                  .Set("value", font.value)
                                  .Done();
                            }))
      .Put("effects", ArrayOf(assets.effects, [](const std::string& e) { return MakeAny(e); }))
      .Put("files", ArrayOf(assets.files, [](const kilncore::WideString& p) { return ToTree(p); }))
      .Done();
}

MissingAssets MissingAssetsFromTree(const AnyValue& tree) {
  const AnyObject& o = AsObject(tree);
  MissingAssets assets;
  assets.fonts = ReadArray(Field(o, "fonts"), [](const AnyValue& item) {
    const AnyObject& f = AsObject(item);
    return MissingFont{AsString(Field(f, "identityA")), AsString(Field(f, "identityB")),
                       AsString(Field(f, "detailA")), AsString(Field(f, "detailB")), AsInt32(Field(f, "value"))};
  });
  assets.effects = ReadArray(Field(o, "effects"), [](const AnyValue& v) { return AsString(v); });
  assets.files = ReadArray(Field(o, "files"), WideFromTree);
  return assets;
}

AnyValue ToTree(const CaptionData& data) {
  return ObjectWriter()
      .Set("version", data.version)
      .Set("data", data.serializedData)
      .Put("streams", ArrayOf(data.streams, CaptionStreamToTree))
      .Done();
}

CaptionData CaptionDataFromTree(const AnyValue& tree) {
  const AnyObject& o = AsObject(tree);
  return CaptionData{AsInt32(Field(o, "version")), AsString(Field(o, "data")),
                     ReadArray(Field(o, "streams"), CaptionStreamFromTree)};
}

AnyValue ToTree(const CaptionSelectionData& selection) {
  return ObjectWriter()
      .Set("version", selection.version)
      .Set("streamIndex", selection.streamIndex)
      .Put("streams", ArrayOf(selection.streams, CaptionStreamToTree))
      .Done();
}

CaptionSelectionData CaptionSelectionFromTree(const AnyValue& tree) {
  const AnyObject& o = AsObject(tree);
  return CaptionSelectionData{AsInt32(Field(o, "version")), AsInt32(Field(o, "streamIndex")),
                              ReadArray(Field(o, "streams"), CaptionStreamFromTree)};
}

}  // namespace tether::wire
