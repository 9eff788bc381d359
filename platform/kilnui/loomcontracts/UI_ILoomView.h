#pragma once

#include <kilnui/loomcontracts/UI_LoomDialogBase.h>
#include <kilnui/loomcontracts/UI_LoomResourceManager.h>
#include <kilnui/ui/UI_Node.h>

#include <kilncore/string/WideString.h>
#include <kilncore/utility/RefCountedInterface.h>

#include <boost/intrusive_ptr.hpp>

#include <functional>
#include <memory>
#include <sstream>
#include <string>

namespace kilnui::drawbot {
class SupplierInterface;
}

namespace kilnui::loomcontracts {

// A view whose window is built from a Loom layout. The layout engine
// (kilnloomfactory::UI_LoomViewBase) implements it; a view of a product derives
// from that, overrides SetUpControls to bind its controls, and GetResourceModule
// so that its layouts are read from its own module.
//
// The operations, in the order of the interface's slots:
class UI_ILoomView : public virtual kilncore::utility::RefCountedInterface {
 public:
  // Lets go of the window's controls; runs on the main thread.
  virtual void DestructOnMainThread() = 0;
  // Called once the controls of the layout exist, before the window shows.
  virtual void SetUpControls() = 0;
  // Ends the view's window: the post-close signal, then DestructOnMainThread.
  virtual void Destruction() = 0;
  // Runs `callback` each time the window has closed.
  virtual void SetupPostCloseCallback(std::function<void()> callback) = 0;
  // Builds the window from the layout text in `script`, calls SetUpControls,
  // and, unless `deferShowing`, shows it modally until it closes. Throws
  // kilncore::config::kiln_exception (a LoomSyntaxError for a layout that can't
  // be read) when the window can't be built.
  virtual void ParseLoomScript(std::stringstream& script, bool deferShowing) = 0;
  virtual std::shared_ptr<drawbot::SupplierInterface> GetDrawSupplier() const = 0;
  // The window built from the layout; null before ParseLoomScript and after
  // DestructOnMainThread.
  virtual boost::intrusive_ptr<UI_LoomDialogBase> GetView() const = 0;
  // The node with `identifier`; null if none, unless `required`, which throws.
  virtual boost::intrusive_ptr<ui::UI_Node> GetUINodePtr(const std::string& identifier,
                                                         bool required) const = 0;
  // Writes the text of the layout last read; false if none has been.
  virtual bool GetLayoutStream(std::stringstream& out) const = 0;
  // Writes the text of the layout `name` from the view's resources; false if
  // there is no such resource.
  virtual bool GetScriptStream(const kilncore::WideString& name, std::stringstream& out) = 0;
  // The resource name under which the layout `name` is stored.
  virtual std::string InterpretFileName(const kilncore::WideString& name) const = 0;
  // What resource names end in for the engine's flavour: "" or ".SHED".
  virtual std::string GetFileExtension() const = 0;
  // The module whose resources hold the view's layouts.
  virtual ModuleHandle GetResourceModule() const = 0;
  // Reads resources through `manager` from now on.
  virtual void SetContentResourceManager(std::shared_ptr<const UI_LoomResourceManager> manager) = 0;

 protected:
  ~UI_ILoomView() override = default;
};

}  // namespace kilnui::loomcontracts
