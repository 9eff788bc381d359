#include <Pane/BinaryReferencePane.h>

#include <kilncore/classref/QueryMapEntries.h>

#include <utility>

namespace Pane {

BinaryReferencePane::BinaryReferencePane(std::shared_ptr<processcoordination::BinaryReference> reference,
                                         void* address, const kilncore::utility::Guid& identifier,
                                         const PaneGeometry& geometry)
    : mReference(std::move(reference)),
      mAddress(address),
      mSize(mReference->GetSize()),
      mIdentifier(identifier),
      mGeometry(geometry) {}

BinaryReferencePane::~BinaryReferencePane() {
  // The use of the address ends before the reference is let go, so that a
  // reference that unmaps on its last release never sees a reader left.
  mReference->ReleaseAddress();
}

void* BinaryReferencePane::QueryMap(const std::string_view& name) {
  return kilncore::classref::AnswerQuery<BinaryReferencePane, RL::IPane>(this, name);
}

}  // namespace Pane
