#pragma once

#include <Pane/PaneGeometry.h>

#include <RL/IPane.h>

#include <kilncore/utility/Guid.h>
#include <processcoordination/BinaryReference.h>

#include <memory>
#include <string_view>

namespace Pane {

// A frame whose bytes are a server's shared memory, read in place.
//
// The pane takes one use of the reference's address when it is made and keeps
// the reference itself; both are given back when the pane is destroyed, that
// is when its last InterfaceRef goes. Nothing is copied, so the frame costs no
// more than the mapping the server made.
//
// Made through WrapPaneAroundBinaryReference, which checks the reference
// first; the constructor trusts its arguments.
class BinaryReferencePane final : public RL::IPane {
 public:
  // `address` must be the result of one GetAddress of `reference`, and
  // `geometry` must fit in reference->GetSize() bytes.
  BinaryReferencePane(std::shared_ptr<processcoordination::BinaryReference> reference, void* address,
                      const kilncore::utility::Guid& identifier, const PaneGeometry& geometry);
  ~BinaryReferencePane() override;

  BinaryReferencePane(const BinaryReferencePane&) = delete;
  BinaryReferencePane& operator=(const BinaryReferencePane&) = delete;

  kilncore::utility::Guid GetIdentifier() const override { return mIdentifier; }
  int32_t GetWidth() const override { return mGeometry.width; }
  int32_t GetHeight() const override { return mGeometry.height; }
  int32_t GetRowBytes() const override { return mGeometry.rowBytes; }
  kilnmediatypes::PixelFormat GetPixelFormat() const override { return mGeometry.pixelFormat; }
  kilnmediatypes::PixelAspectRatio GetPixelAspectRatio() const override { return mGeometry.pixelAspectRatio; }
  kilnmediatypes::FieldType GetFieldType() const override { return mGeometry.fieldType; }
  const void* GetData() const override { return mAddress; }
  size_t GetDataSize() const override { return mSize; }

 protected:
  void* QueryMap(const std::string_view& name) override;

 private:
  std::shared_ptr<processcoordination::BinaryReference> mReference;
  void* mAddress;
  size_t mSize;
  kilncore::utility::Guid mIdentifier;
  PaneGeometry mGeometry;
};

}  // namespace Pane
