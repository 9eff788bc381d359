#include <Pane/WrapPaneAroundBinaryReference.h>

#include <Pane/BinaryReferencePane.h>

#include <kilncore/config/KilnException.h>

namespace Pane {

namespace {

// Whether `geometry` describes rows that lie within `size` bytes. A geometry
// that states no rows fits any block.
bool FitsInBytes(const PaneGeometry& geometry, size_t size) noexcept {
  if (geometry.width < 0 || geometry.height < 0 || geometry.rowBytes < 0) return false;
  const uint64_t needed = static_cast<uint64_t>(geometry.rowBytes) * static_cast<uint64_t>(geometry.height);
  return needed <= size;
}

int32_t WrapPaneReal(const std::shared_ptr<processcoordination::BinaryReference>& reference,
                     const kilncore::utility::Guid& identifier, const PaneGeometry& geometry,
                     kilncore::classref::InterfaceRef<RL::IPane>& outFrame) {
  if (!reference || !FitsInBytes(geometry, reference->GetSize())) {
    return kilncore::config::kGeneralFailure;
  }
  // Every GetAddress is balanced by one ReleaseAddress: here on failure,
  // otherwise by the pane when its last holder goes.
  void* address = reference->GetAddress();
  if (address == nullptr && reference->GetSize() != 0) {
    reference->ReleaseAddress();
    return kilncore::config::kGeneralFailure;
  }
  try {
    outFrame = std::make_shared<BinaryReferencePane>(reference, address, identifier, geometry);
  } catch (...) {
    reference->ReleaseAddress();
    throw;
  }
  return 0;
}

}  // namespace

kilncore::utility::Seam<WrapPaneAroundBinaryReferenceSignature>& WrapPaneAroundBinaryReferenceSeam() {
  static auto* const seam = new kilncore::utility::Seam<WrapPaneAroundBinaryReferenceSignature>(&WrapPaneReal);
  return *seam;
}

int32_t WrapPaneAroundBinaryReference(const std::shared_ptr<processcoordination::BinaryReference>& reference,
                                      const kilncore::utility::Guid& identifier,
                                      kilncore::classref::InterfaceRef<RL::IPane>& outFrame) {
  return WrapPaneAroundBinaryReferenceSeam()(reference, identifier, PaneGeometry(), outFrame);
}

int32_t WrapPaneAroundBinaryReference(const std::shared_ptr<processcoordination::BinaryReference>& reference,
                                      const kilncore::utility::Guid& identifier, const PaneGeometry& geometry,
                                      kilncore::classref::InterfaceRef<RL::IPane>& outFrame) {
  return WrapPaneAroundBinaryReferenceSeam()(reference, identifier, geometry, outFrame);
}

}  // namespace Pane
