#include <kilncore/serialization/JSONParse.h>

#include <rapidjson/encodings.h>
#include <rapidjson/reader.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kilncore::serialization {
namespace {

// A RapidJSON input stream over a string view, which needs no terminator.
template <typename Encoding>
class ViewStream {
 public:
  using Ch = typename Encoding::Ch;

  explicit ViewStream(std::basic_string_view<Ch> text) : mText(text) {}

  Ch Peek() const { return mPosition < mText.size() ? mText[mPosition] : Ch('\0'); }
  Ch Take() { return mPosition < mText.size() ? mText[mPosition++] : Ch('\0'); }
  size_t Tell() const { return mPosition; }
  bool AtEnd() const { return mPosition == mText.size(); }

  // Writing is never asked of an input stream.
  Ch* PutBegin() { return nullptr; }
  void Put(Ch) {}
  void Flush() {}
  size_t PutEnd(Ch*) { return 0; }

 private:
  std::basic_string_view<Ch> mText;
  size_t mPosition = 0;
};

// Builds the std::any tree from the reader's events, with an explicit stack so
// that depth costs heap, not call stack.
class TreeBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, TreeBuilder> {
 public:
  bool Null() { return Add(MakeJSONNull()); }
  bool Bool(bool value) { return Add(std::make_shared<std::any>(value)); }
  bool Int(int value) { return Int64(value); }
  bool Uint(unsigned value) { return Uint64(value); }
  bool Int64(int64_t value) {
    return value < 0 ? Add(std::make_shared<std::any>(value))
                     : Uint64(static_cast<uint64_t>(value));
  }
  bool Uint64(uint64_t value) { return Add(std::make_shared<std::any>(value)); }
  bool Double(double value) { return Add(std::make_shared<std::any>(value)); }
  bool String(const char* text, rapidjson::SizeType length, bool) {
    return Add(std::make_shared<std::any>(std::string(text, length)));
  }
  bool Key(const char* text, rapidjson::SizeType length, bool) {
    mStack.back().key.assign(text, length);
    return true;
  }
  bool StartObject() { return Open(MakeJSONObject()); }
  bool EndObject(rapidjson::SizeType) { return Close(); }
  bool StartArray() { return Open(MakeJSONArray()); }
  bool EndArray(rapidjson::SizeType) { return Close(); }

  JSONValuePtr TakeRoot() { return std::move(mRoot); }

 private:
  // A container being filled. The frame owns it until it closes: with a
  // duplicate key the parent keeps its first value and drops this one, and the
  // values that follow must still land somewhere alive.
  struct Frame {
    JSONValuePtr owner;
    JSONObject* object;
    JSONArray* array;
    std::string key;
  };

  bool Add(JSONValuePtr value) {
    if (mStack.empty()) {
      mRoot = std::move(value);
      return true;
    }
    Frame& top = mStack.back();
    if (top.object) {
      top.object->emplace(std::move(top.key), std::move(value));  // first key wins
    } else {
      top.array->push_back(std::move(value));
    }
    return true;
  }

  bool Open(JSONValuePtr container) {
    if (mStack.size() >= kMaxJSONNestingDepth) return false;
    Frame frame{container, std::any_cast<JSONObject>(container.get()),
                std::any_cast<JSONArray>(container.get()), {}};
    Add(std::move(container));
    mStack.push_back(std::move(frame));
    return true;
  }

  bool Close() {
    mStack.pop_back();
    return true;
  }

  JSONValuePtr mRoot;
  std::vector<Frame> mStack;
};

template <typename SourceEncoding>
JSONValuePtr Parse(std::basic_string_view<typename SourceEncoding::Ch> text) {
  constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
  ViewStream<SourceEncoding> stream(text);
  TreeBuilder builder;
  rapidjson::GenericReader<SourceEncoding, rapidjson::UTF8<>> reader;
  const rapidjson::ParseResult result = reader.template Parse<kFlags>(stream, builder);
  // The reader takes a NUL for the end of the text; anything after it means
  // the text wasn't one value.
  if (result.IsError() || !stream.AtEnd()) return nullptr;
  return builder.TakeRoot();
}

}  // namespace

JSONValuePtr JSONParse(WideStringView text) { return Parse<rapidjson::UTF16<char16_t>>(text); }

JSONValuePtr JSONParse(std::string_view utf8Text) { return Parse<rapidjson::UTF8<>>(utf8Text); }

}  // namespace kilncore::serialization
