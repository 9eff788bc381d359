#pragma once

#include <KL/IVideoStream.h>

#include <kilncore/classref/InterfaceRef.h>

#include <string_view>

namespace KL {

// The stream that MediaFactory::CreateGeneratedVideoStream makes: it holds its
// source and answers for KL::IVideoStream.
class GeneratedVideoStream final : public IVideoStream {
 public:
  explicit GeneratedVideoStream(kilncore::classref::InterfaceRef<IVideoSource> source);
  ~GeneratedVideoStream() override;

  kilncore::classref::InterfaceRef<IVideoSource> GetVideoSource() const override;

 protected:
  void* QueryMap(const std::string_view& name) override;

 private:
  const kilncore::classref::InterfaceRef<IVideoSource> mSource;
};

}  // namespace KL
