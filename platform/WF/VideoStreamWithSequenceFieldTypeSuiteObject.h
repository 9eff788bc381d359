#pragma once

#include <KL/IVideoStream.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/UnknownBase.h>
#include <kilnmediatypes/FieldType.h>

#include <mutex>
#include <string_view>

namespace WF {

// What the host's smart renderer reaches through a callback instance id (see
// CallbackInstanceIDMap.h): a video stream, and the field type of the sequence
// that the stream is played in, which the renderer sets before it pulls frames.
// Keeps the stream alive. Safe to use from any thread.
class VideoStreamWithSequenceFieldTypeSuiteObject final : public kilncore::classref::UnknownBase {
 public:
  VideoStreamWithSequenceFieldTypeSuiteObject();
  ~VideoStreamWithSequenceFieldTypeSuiteObject() override;

  void SetVideoStream(kilncore::classref::InterfaceRef<KL::IVideoStream> stream);
  // Null until a stream is set.
  kilncore::classref::InterfaceRef<KL::IVideoStream> GetVideoStream() const;

  // Progressive until set.
  void SetSequenceFieldType(kilnmediatypes::FieldType fieldType);
  kilnmediatypes::FieldType GetSequenceFieldType() const;

 protected:
  void* QueryMap(const std::string_view& name) override;

 private:
  mutable std::mutex mMutex;
  kilncore::classref::InterfaceRef<KL::IVideoStream> mStream;
  kilnmediatypes::FieldType mFieldType;
};

}  // namespace WF
