#pragma once

#include <Pane/PaneGeometry.h>

#include <RL/IPane.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/utility/Guid.h>
#include <kilncore/utility/Seam.h>
#include <processcoordination/BinaryReference.h>

#include <cstdint>
#include <memory>

namespace Pane {

// Makes a frame around the bytes of `reference`, without copying them: the
// frame's GetData() is the reference's address, and its GetDataSize() the
// reference's size. `identifier` becomes the frame's GetIdentifier().
//
// The frame holds `reference` (and one use of its address) until the last
// holder of the frame lets it go, then gives both back. A frame cache that
// drops the frame doesn't end it while anyone else holds it.
//
// Returns 0 and sets `outFrame` on success. Returns
// kilncore::config::kGeneralFailure, leaving `outFrame` as it was, if
// `reference` is null, if its bytes can't be reached (a null address for a
// non-empty block; that use of the address is given back at once), or if
// `geometry` states rows that don't fit in its bytes.
//
// The form without a geometry wraps bytes whose layout isn't stated here: a
// server's frame is just bytes until the caller says more.
//
// Example:
//   InterfaceRef<RL::IPane> frame;
//   if (WrapPaneAroundBinaryReference(reference, identifier, frame) >= 0) {
//     SharedPaneCache::Instance().InsertIntoCache(frame, identifier, 10);
//   }
int32_t WrapPaneAroundBinaryReference(const std::shared_ptr<processcoordination::BinaryReference>& reference,
                                      const kilncore::utility::Guid& identifier,
                                      kilncore::classref::InterfaceRef<RL::IPane>& outFrame);

int32_t WrapPaneAroundBinaryReference(const std::shared_ptr<processcoordination::BinaryReference>& reference,
                                      const kilncore::utility::Guid& identifier, const PaneGeometry& geometry,
                                      kilncore::classref::InterfaceRef<RL::IPane>& outFrame);

using WrapPaneAroundBinaryReferenceSignature =
    int32_t(const std::shared_ptr<processcoordination::BinaryReference>&, const kilncore::utility::Guid&,
            const PaneGeometry&, kilncore::classref::InterfaceRef<RL::IPane>&);
// Seam of both forms (see kilncore/utility/Seam.h); the form without a geometry
// reaches it with a default PaneGeometry.
kilncore::utility::Seam<WrapPaneAroundBinaryReferenceSignature>& WrapPaneAroundBinaryReferenceSeam();

}  // namespace Pane
