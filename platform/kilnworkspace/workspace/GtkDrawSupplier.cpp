#include <kilnworkspace/workspace/GtkDrawSupplier.h>

#include <kilnui/controls/UI_Button.h>
#include <kilnui/controls/UI_Group.h>
#include <kilnui/controls/UI_Popup.h>
#include <kilnui/controls/UI_StaticText.h>
#include <kilnui/ui/UI_Dialog.h>

#include <kilncore/config/Localizer.h>

#include <gtk/gtk.h>

namespace kilnworkspace::workspace {
namespace {

using kilncore::config::Localizer;
using kilnui::ui::UI_Alignment;
using kilnui::ui::UI_Node;

constexpr int kDialogBorder = 16;

GtkAlign ToGtkAlign(UI_Alignment alignment) {
  switch (alignment) {
    case UI_Alignment::kLeft:
    case UI_Alignment::kTop: return GTK_ALIGN_START;
    case UI_Alignment::kRight:
    case UI_Alignment::kBottom: return GTK_ALIGN_END;
    case UI_Alignment::kCenter: return GTK_ALIGN_CENTER;
    case UI_Alignment::kFill:
    case UI_Alignment::kDefault: break;
  }
  return GTK_ALIGN_FILL;
}

// Builds the GTK widgets of a dialog's tree and connects them to the controls.
// The controls outlive the widgets: the window is destroyed before RunModal
// returns, while the dialog still holds its tree.
class WidgetBuilder {
 public:
  explicit WidgetBuilder(GtkWindow* window) : mWindow(window) {}

  GtkWidget* Build(UI_Node& node) {
    GtkWidget* widget = MakeWidget(node);
    gtk_widget_set_halign(widget, ToGtkAlign(node.GetHorizontalAlignment()));
    gtk_widget_set_valign(widget, ToGtkAlign(node.GetVerticalAlignment()));
    return widget;
  }

  GtkWidget* GetFirstFocus() const { return mFirstFocus; }

 private:
  GtkWidget* MakeWidget(UI_Node& node) {
    if (auto* popup = dynamic_cast<kilnui::controls::UI_Popup*>(&node)) return MakePopup(*popup);
    if (auto* button = dynamic_cast<kilnui::controls::UI_Button*>(&node)) return MakeButton(*button);
    if (auto* text = dynamic_cast<kilnui::controls::UI_StaticText*>(&node)) {
      return gtk_label_new(Localizer::Get().Localize(text->GetText()).c_str());
    }
    const auto* group = dynamic_cast<kilnui::controls::UI_Group*>(&node);
    GtkWidget* box = gtk_box_new(group && group->IsHorizontal() ? GTK_ORIENTATION_HORIZONTAL : GTK_ORIENTATION_VERTICAL,
                                 node.GetSpacing());
    for (const auto& child : node.GetChildren()) gtk_box_pack_start(GTK_BOX(box), Build(*child), FALSE, FALSE, 0);
    return box;
  }

  GtkWidget* MakePopup(kilnui::controls::UI_Popup& popup) {
    GtkWidget* row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    GtkWidget* label = gtk_label_new(Localizer::Get().Localize(popup.GetText()).c_str());
    GtkWidget* combo = gtk_combo_box_text_new();
    for (const auto& item : popup.GetItems()) {
      gtk_combo_box_text_append_text(GTK_COMBO_BOX_TEXT(combo), Localizer::Get().Localize(item).c_str());
    }
    gtk_combo_box_set_active(GTK_COMBO_BOX(combo), popup.GetValue());
    if (popup.GetMinWidth() > 0) gtk_widget_set_size_request(combo, popup.GetMinWidth(), -1);
    gtk_widget_set_name(combo, popup.GetIdentifier().c_str());
    gtk_label_set_mnemonic_widget(GTK_LABEL(label), combo);
    // Connected after the value is set: only the user's choices are changes.
    g_signal_connect(combo, "changed", G_CALLBACK(&WidgetBuilder::OnComboChanged), &popup);
    gtk_box_pack_start(GTK_BOX(row), label, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(row), combo, TRUE, TRUE, 0);
    if (!mFirstFocus) mFirstFocus = combo;
    return row;
  }

  GtkWidget* MakeButton(kilnui::controls::UI_Button& button) {
    GtkWidget* widget = gtk_button_new_with_label(Localizer::Get().Localize(button.GetText()).c_str());
    gtk_widget_set_name(widget, button.GetIdentifier().c_str());
    if (button.GetMinWidth() > 0) gtk_widget_set_size_request(widget, button.GetMinWidth(), -1);
    g_signal_connect(widget, "clicked", G_CALLBACK(&WidgetBuilder::OnButtonClicked), &button);
    if (button.IsDefault()) {
      gtk_widget_set_can_default(widget, TRUE);
      gtk_window_set_default(mWindow, widget);
    }
    return widget;
  }

  static void OnComboChanged(GtkComboBox* combo, gpointer data) {
    const int index = gtk_combo_box_get_active(combo);
    if (index >= 0) static_cast<kilnui::controls::UI_Popup*>(data)->Choose(index);
  }

  static void OnButtonClicked(GtkButton*, gpointer data) { static_cast<kilnui::controls::UI_Button*>(data)->Press(); }

  GtkWindow* mWindow;
  GtkWidget* mFirstFocus = nullptr;
};

}  // namespace

std::shared_ptr<GtkDrawSupplier> GtkDrawSupplier::Open() {
  if (!gtk_init_check(nullptr, nullptr)) return nullptr;
  return std::shared_ptr<GtkDrawSupplier>(new GtkDrawSupplier);
}

void GtkDrawSupplier::RunModal(kilnui::ui::UI_Dialog& dialog, kilnui::ui::UI_Node* /*parent*/) {
  dialog.Reopen();
  GtkWidget* window = gtk_dialog_new();
  gtk_window_set_title(GTK_WINDOW(window), Localizer::Get().Localize(dialog.GetText()).c_str());
  gtk_window_set_modal(GTK_WINDOW(window), TRUE);
  gtk_window_set_resizable(GTK_WINDOW(window), FALSE);
  gtk_window_set_position(GTK_WINDOW(window), GTK_WIN_POS_CENTER);
  GtkWidget* content = gtk_dialog_get_content_area(GTK_DIALOG(window));
  gtk_container_set_border_width(GTK_CONTAINER(content), kDialogBorder);
  gtk_box_set_spacing(GTK_BOX(content), dialog.GetSpacing());
  WidgetBuilder builder(GTK_WINDOW(window));
  for (const auto& child : dialog.GetChildren()) gtk_box_pack_start(GTK_BOX(content), builder.Build(*child), FALSE, FALSE, 0);

  // The dialog ends from its own buttons; the window then leaves its loop.
  constexpr int kEndedResponse = 1;
  dialog.SetEndedCallback([window] { gtk_dialog_response(GTK_DIALOG(window), kEndedResponse); });
  gtk_widget_show_all(window);
  if (builder.GetFirstFocus()) gtk_widget_grab_focus(builder.GetFirstFocus());
  gtk_dialog_run(GTK_DIALOG(window));
  dialog.SetEndedCallback(nullptr);
  // Closed by the close box or Escape: neither OK nor Cancel.
  if (!dialog.IsEnded()) dialog.Close();
  gtk_widget_destroy(window);
  while (gtk_events_pending()) gtk_main_iteration();
}

}  // namespace kilnworkspace::workspace
