#include <kilnloomfactory/UI_LoomViewBase.h>

#include <kilnloomfactory/LoomControlBuilder.h>
#include <kilnloomfactory/LoomEngine.h>
#include <kilnloomfactory/loom/LoomParser.h>

#include <kilncore/config/KilnException.h>
#include <kilncore/string/UTFConversion.h>

#include <cctype>

namespace kilnloomfactory {
namespace {

using kilncore::config::kGeneralFailure;
using kilncore::config::kiln_exception;

constexpr std::string_view kLayoutResourceType = "LOOM";

}  // namespace

UI_LoomViewBase::UI_LoomViewBase(std::string layoutName,
                                 std::shared_ptr<kilnui::drawbot::SupplierInterface> supplier,
                                 boost::intrusive_ptr<kilnui::ui::UI_Node> parent, int /*reservedA*/,
                                 int /*reservedB*/)
    : mLayoutName(std::move(layoutName)),
      mSupplier(std::move(supplier)),
      mParent(std::move(parent)),
      mFlavour(LoomEngine::GetFlavour()),
      mResources(LoomEngine::GetResourceManager()) {}

UI_LoomViewBase::~UI_LoomViewBase() = default;

void UI_LoomViewBase::DestructOnMainThread() { mView = nullptr; }

void UI_LoomViewBase::Destruction() {
  SignalClosed();
  DestructOnMainThread();
}

void UI_LoomViewBase::SetupPostCloseCallback(std::function<void()> callback) {
  SetPostCloseCallback(std::move(callback));
}

void UI_LoomViewBase::ParseLoomScript(std::stringstream& script, bool deferShowing) {
  Build(script.str());
  try {
    SetUpControls();
  } catch (...) {
    DestructOnMainThread();
    throw;
  }
  if (deferShowing) return;
  if (!mSupplier) {
    DestructOnMainThread();
    throw kiln_exception("layout '" + mLayoutName + "': nothing to show it with", kGeneralFailure);
  }
  // The supplier holds the dialog only while it shows it; keep it for the
  // post-close signal.
  const auto view = mView;
  try {
    mSupplier->RunModal(*view, mParent.get());
  } catch (...) {
    DestructOnMainThread();
    throw;
  }
  Destruction();
}

void UI_LoomViewBase::Build(const std::string& text) {
  mView = nullptr;
  mLayoutText = text;
  loom::LoomLayout layout = loom::ParseLoom(text, mFlavour);
  if (layout.name != mLayoutName) {
    throw kiln_exception("layout '" + layout.name + "' given where '" + mLayoutName + "' was wanted",
                         kGeneralFailure);
  }
  mView = BuildLoomDialog(layout);
}

std::shared_ptr<kilnui::drawbot::SupplierInterface> UI_LoomViewBase::GetDrawSupplier() const { return mSupplier; }

boost::intrusive_ptr<kilnui::loomcontracts::UI_LoomDialogBase> UI_LoomViewBase::GetView() const { return mView; }

boost::intrusive_ptr<kilnui::ui::UI_Node> UI_LoomViewBase::GetUINodePtr(const std::string& identifier,
                                                                        bool required) const {
  kilnui::ui::UI_Node* node = mView ? mView->FindNode(identifier) : nullptr;
  if (!node && required) {
    throw kiln_exception("layout '" + mLayoutName + "' has no control '" + identifier + "'", kGeneralFailure);
  }
  return node;
}

bool UI_LoomViewBase::GetLayoutStream(std::stringstream& out) const {
  if (!mLayoutText) return false;
  out << *mLayoutText;
  return true;
}

bool UI_LoomViewBase::GetScriptStream(const kilncore::WideString& name, std::stringstream& out) {
  const auto text = mResources->FindResource(GetResourceModule(), kLayoutResourceType, InterpretFileName(name));
  if (!text) return false;
  out << *text;
  return true;
}

std::string UI_LoomViewBase::InterpretFileName(const kilncore::WideString& name) const {
  std::string resource = kilncore::string::UTF16to8(name);
  for (char& c : resource) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return resource + GetFileExtension();
}

std::string UI_LoomViewBase::GetFileExtension() const { return std::string(loom::ResourceExtension(mFlavour)); }

kilnui::loomcontracts::ModuleHandle UI_LoomViewBase::GetResourceModule() const { return nullptr; }

void UI_LoomViewBase::SetContentResourceManager(
    std::shared_ptr<const kilnui::loomcontracts::UI_LoomResourceManager> manager) {
  mResources = manager ? std::move(manager) : LoomEngine::GetResourceManager();
}

}  // namespace kilnloomfactory
