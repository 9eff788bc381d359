#pragma once

#include <kilncore/classref/Unknown.h>
#include <kilncore/utility/Guid.h>
#include <kilnmediatypes/FieldType.h>
#include <kilnmediatypes/PAR.h>
#include <kilnmediatypes/PixelFormat.h>

#include <cstddef>
#include <cstdint>

namespace RL {

// A rendered frame: a block of pixel bytes and what is known of their layout.
//
// A pane is shared by InterfaceRef and never changes once made, so it may be
// read from any thread. Its bytes stay valid for as long as any reference to
// the pane exists; a frame cache may drop its reference at any time without
// harming other holders.
//
// A pane made around bytes whose layout nobody stated has a width, height and
// row bytes of 0 and kPixelFormat_Invalid; its bytes and byte size are still
// exact.
class IPane : public kilncore::classref::Unknown {
 public:
  ~IPane() override;

  // The identifier that the frame was made under (the key of the host's frame
  // cache); the nil Guid if it was made without one.
  virtual kilncore::utility::Guid GetIdentifier() const = 0;

  virtual int32_t GetWidth() const = 0;
  virtual int32_t GetHeight() const = 0;
  // The distance in bytes from the start of one row to the next.
  virtual int32_t GetRowBytes() const = 0;
  virtual kilnmediatypes::PixelFormat GetPixelFormat() const = 0;
  virtual kilnmediatypes::PixelAspectRatio GetPixelAspectRatio() const = 0;
  virtual kilnmediatypes::FieldType GetFieldType() const = 0;

  // The first pixel byte; null only for a pane of no bytes.
  virtual const void* GetData() const = 0;
  // The number of bytes at GetData(): what the pane costs a cache.
  virtual size_t GetDataSize() const = 0;

 protected:
  IPane() = default;
};

}  // namespace RL
