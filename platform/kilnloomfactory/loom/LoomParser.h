#pragma once

#include <kilnloomfactory/loom/LoomFlavour.h>
#include <kilnloomfactory/loom/LoomNode.h>

#include <string_view>

namespace kilnloomfactory::loom {

// Reads the text of a layout in `flavour` into a checked tree.
//
// The grammar:
//
//   layout   := "layout" NAME "{" "view" element "}"
//   element  := NAME "(" [argument {"," argument}] ")" ["{" {element} "}"]
//   argument := NAME ":" value
//   value    := 'text' | "text" | NUMBER | constant
//
// where a constant is a bare name in the kiln flavour (align_fill) and a name
// after '@' in the shed flavour (@align_fill). The view must be a dialog;
// containers hold controls, popups hold popup items, other controls hold
// nothing. Every argument must be one its element takes, of the right type,
// given once; identifiers are unique in the layout.
//
// Throws LoomSyntaxError, with the line and column of the offending token, for
// anything else: this includes elements of the other flavour.
LoomLayout ParseLoom(std::string_view text, LoomFlavour flavour);

// How deeply elements may nest; deeper layouts are refused.
inline constexpr int kMaxLoomDepth = 32;

}  // namespace kilnloomfactory::loom
