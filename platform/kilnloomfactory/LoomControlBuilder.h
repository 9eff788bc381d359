#pragma once

#include <kilnloomfactory/loom/LoomNode.h>

#include <kilnui/loomcontracts/UI_LoomDialogBase.h>

#include <boost/intrusive_ptr.hpp>

namespace kilnloomfactory {

// Makes the controls of a layout: a dialog with its tree, every node with the
// identifier, text and placement the layout gave it.
boost::intrusive_ptr<kilnui::loomcontracts::UI_LoomDialogBase> BuildLoomDialog(const loom::LoomLayout& layout);

}  // namespace kilnloomfactory
