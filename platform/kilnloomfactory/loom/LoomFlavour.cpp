#include <kilnloomfactory/loom/LoomFlavour.h>

#include <array>

namespace kilnloomfactory::loom {
namespace {

struct ElementNames {
  LoomElementKind kind;
  std::string_view plain;
  bool prefixedInKiln;
};

constexpr std::array<ElementNames, 8> kElements{{
    {LoomElementKind::kDialog, "dialog", true},
    {LoomElementKind::kColumn, "column", false},
    {LoomElementKind::kRow, "row", false},
    {LoomElementKind::kPopup, "popup", true},
    {LoomElementKind::kPopupItem, "popup_item", true},
    {LoomElementKind::kOkCancelRow, "ok_cancel_row", true},
    {LoomElementKind::kButton, "button", true},
    {LoomElementKind::kStaticText, "static_text", true},
}};

constexpr std::string_view kKilnPrefix = "kiln_";

bool Prefixed(LoomFlavour flavour, const ElementNames& names) {
  return flavour == LoomFlavour::kKiln && names.prefixedInKiln;
}

}  // namespace

std::optional<LoomElementKind> FindElementKind(LoomFlavour flavour, std::string_view name) {
  for (const ElementNames& names : kElements) {
    std::string_view wanted = name;
    if (Prefixed(flavour, names)) {
      if (!wanted.starts_with(kKilnPrefix)) continue;
      wanted.remove_prefix(kKilnPrefix.size());
    }
    if (wanted == names.plain) return names.kind;
  }
  return std::nullopt;
}

std::string ElementName(LoomFlavour flavour, LoomElementKind kind) {
  for (const ElementNames& names : kElements) {
    if (names.kind != kind) continue;
    return Prefixed(flavour, names) ? std::string(kKilnPrefix) + std::string(names.plain)
                                    : std::string(names.plain);
  }
  return {};
}

std::string_view ResourceExtension(LoomFlavour flavour) {
  return flavour == LoomFlavour::kShed ? ".SHED" : "";
}

std::string_view FlavourName(LoomFlavour flavour) {
  return flavour == LoomFlavour::kShed ? "shed" : "kiln";
}

}  // namespace kilnloomfactory::loom
