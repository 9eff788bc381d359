// libFuzzer harness for the decoding side of the wire: the bytes a client
// reads from its server's socket, cut into frames, decoded as messages, and
// their bodies read as every record a reply can carry. Any input must end in
// frames, WireError or a clean stop: never a crash, a hang or an out-of-bounds
// read.
#include <tether/wire/FrameReader.h>
#include <tether/wire/Message.h>
#include <tether/wire/RecordCodec.h>
#include <tether/wire/TreeAccess.h>
#include <tether/wire/TreeCodec.h>
#include <tether/wire/WireError.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace {

using namespace tether::wire;

template <class F>
void Try(F read) {
  try {
    read();
  } catch (const WireError&) {
  }
}

void ReadBody(const tether::AnyValue& body) {
  Try([&] { SourceInfoFromTree(body); });
  Try([&] { VideoRenderOptionsFromTree(body); });
  Try([&] { AudioRenderOptionsFromTree(body); });
  Try([&] { ItemsFromTree(body); });
  Try([&] { MissingAssetsFromTree(body); });
  Try([&] { CaptionDataFromTree(body); });
  Try([&] { CaptionSelectionFromTree(body); });
  Try([&] {
    const auto& object = AsObject(body);
    for (const char* key : {"info", "file", "items", "missingAssets", "captions", "reply"}) {
      if (auto member = OptionalField(object, key)) {
        Try([&] { SourceInfoFromTree(member); });
        Try([&] { FileFromTree(member); });
        Try([&] { ItemsFromTree(member); });
        Try([&] { RatioFromTree(member); });
        Try([&] { GuidFromTree(member); });
        Try([&] { EncodeTree(member); });
      }
    }
    // A progress notice, as the client reads it.
    Try([&] {
      AsString(Field(object, "type"));
      AsDouble(Field(object, "value"));
      for (const auto& argument : AsArray(Field(object, "arguments"))) {
        WideFromTree(argument);
      }
    });
    // A file server's notes on an opened file, and the XML and font replies.
    Try([&] {
      WideFromTree(Field(object, "kind"));
      WideFromTree(Field(object, "message"));
      AsInt32(Field(object, "detail"));
    });
    Try([&] { AsString(Field(object, "xml")); });
    Try([&] { AsUint32(Field(object, "value")); });
    AsUint32(Field(object, "buffer"));
    AsUint64(Field(object, "capacity"));
    AsUint64(Field(object, "size"));
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  // The whole input as one body, as the decoder sees a frame's contents.
  Try([&] { ReadBody(DecodeMessage(bytes).body); });
  // The input as a stream, in two pieces, as the socket delivers it.
  FrameReader reader;
  size_t half = size / 2;
  Try([&] {
    reader.Append(bytes.substr(0, half));
    while (auto frame = reader.Next()) {
      Try([&] { ReadBody(DecodeMessage(frame->body).body); });
    }
    reader.Append(bytes.substr(half));
    while (auto frame = reader.Next()) {
      Try([&] { ReadBody(DecodeMessage(frame->body).body); });
    }
  });
  return 0;
}
