#include <KL/GeneratedVideoStream.h>

#include <KL/MediaFactory.h>

#include <kilncore/classref/QueryMapEntries.h>

#include <memory>
#include <utility>

namespace KL {

GeneratedVideoStream::GeneratedVideoStream(kilncore::classref::InterfaceRef<IVideoSource> source)
    : mSource(std::move(source)) {}

GeneratedVideoStream::~GeneratedVideoStream() = default;

kilncore::classref::InterfaceRef<IVideoSource> GeneratedVideoStream::GetVideoSource() const { return mSource; }

void* GeneratedVideoStream::QueryMap(const std::string_view& name) {
  return kilncore::classref::AnswerQuery<GeneratedVideoStream, IVideoStream>(this, name);
}

namespace MediaFactory {

int32_t CreateGeneratedVideoStream(kilncore::classref::InterfaceRef<IVideoSource> source,
                                   kilncore::classref::InterfaceRef<IVideoStream>& outStream) {
  if (!source) return kNoSource;
  outStream = std::make_shared<GeneratedVideoStream>(std::move(source));
  return 0;
}

}  // namespace MediaFactory
}  // namespace KL
