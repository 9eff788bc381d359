#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kilnloomfactory::loom {

// The two dialects in which layouts are written. A layout engine speaks one of
// them and reads, of the resources of a layout, the one in its own dialect.
//
// kKiln: controls are named with the prefix "kiln_" (kiln_popup), constants
//   are bare names (align_fill), and the resource has no extension.
// kShed: controls have plain names (popup), constants start with '@'
//   (@align_fill), and the resource name ends in ".SHED".
// Containers (column, row) are named alike in both.
enum class LoomFlavour { kKiln, kShed };

// The kinds of element a layout can hold.
enum class LoomElementKind { kDialog, kColumn, kRow, kPopup, kPopupItem, kOkCancelRow, kButton, kStaticText };

// The element kind that `name` stands for in `flavour`, or nothing if the
// flavour has no such element.
std::optional<LoomElementKind> FindElementKind(LoomFlavour flavour, std::string_view name);

// The name of an element kind in `flavour`: "kiln_popup" or "popup".
std::string ElementName(LoomFlavour flavour, LoomElementKind kind);

// "" for kKiln, ".SHED" for kShed: what the resource name of a layout ends in.
std::string_view ResourceExtension(LoomFlavour flavour);

// "kiln" or "shed".
std::string_view FlavourName(LoomFlavour flavour);

}  // namespace kilnloomfactory::loom
