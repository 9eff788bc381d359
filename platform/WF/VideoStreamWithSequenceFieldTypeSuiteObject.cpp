#include <WF/VideoStreamWithSequenceFieldTypeSuiteObject.h>

#include <kilncore/classref/QueryMapEntries.h>

#include <utility>

namespace WF {

VideoStreamWithSequenceFieldTypeSuiteObject::VideoStreamWithSequenceFieldTypeSuiteObject()
    : mFieldType(kilnmediatypes::kFieldType_Progressive) {}

VideoStreamWithSequenceFieldTypeSuiteObject::~VideoStreamWithSequenceFieldTypeSuiteObject() = default;

void VideoStreamWithSequenceFieldTypeSuiteObject::SetVideoStream(
    kilncore::classref::InterfaceRef<KL::IVideoStream> stream) {
  std::lock_guard lock(mMutex);
  mStream = std::move(stream);
}

kilncore::classref::InterfaceRef<KL::IVideoStream> VideoStreamWithSequenceFieldTypeSuiteObject::GetVideoStream()
    const {
  std::lock_guard lock(mMutex);
  return mStream;
}

void VideoStreamWithSequenceFieldTypeSuiteObject::SetSequenceFieldType(kilnmediatypes::FieldType fieldType) {
  std::lock_guard lock(mMutex);
  mFieldType = fieldType;
}

kilnmediatypes::FieldType VideoStreamWithSequenceFieldTypeSuiteObject::GetSequenceFieldType() const {
  std::lock_guard lock(mMutex);
  return mFieldType;
}

void* VideoStreamWithSequenceFieldTypeSuiteObject::QueryMap(const std::string_view& name) {
  return kilncore::classref::AnswerQuery<VideoStreamWithSequenceFieldTypeSuiteObject>(this, name);
}

}  // namespace WF
