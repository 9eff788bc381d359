#include <kilnloomfactory/loom/LoomParser.h>

#include <kilnloomfactory/loom/LoomSyntaxError.h>
#include <kilnloomfactory/loom/LoomToken.h>
#include <kilnloomfactory/loom/LoomTokenizer.h>

#include <array>
#include <charconv>
#include <set>
#include <vector>

namespace kilnloomfactory::loom {
namespace {

// What an argument means, whatever it is called in a flavour.
enum class ArgumentRole { kIdentifier, kText, kSpacing, kWidth, kHorizontal, kVertical };

constexpr int kMaxPixels = 10000;

std::vector<ArgumentRole> RolesOf(LoomElementKind kind) {
  using R = ArgumentRole;
  switch (kind) {
    case LoomElementKind::kDialog: return {R::kIdentifier, R::kText, R::kSpacing};
    case LoomElementKind::kColumn:
    case LoomElementKind::kRow: return {R::kIdentifier, R::kSpacing, R::kHorizontal, R::kVertical};
    case LoomElementKind::kPopup:
    case LoomElementKind::kButton: return {R::kIdentifier, R::kText, R::kWidth, R::kHorizontal, R::kVertical};
    case LoomElementKind::kPopupItem: return {R::kIdentifier, R::kText};
    case LoomElementKind::kOkCancelRow: return {R::kIdentifier, R::kHorizontal, R::kVertical};
    case LoomElementKind::kStaticText: return {R::kIdentifier, R::kText, R::kHorizontal, R::kVertical};
  }
  return {};
}

// The name of an argument role for an element in a flavour. The kiln flavour
// calls a popup's text its label and a width its least width.
std::string_view ArgumentName(ArgumentRole role, LoomElementKind kind, LoomFlavour flavour) {
  const bool kiln = flavour == LoomFlavour::kKiln;
  switch (role) {
    case ArgumentRole::kIdentifier: return "identifier";
    case ArgumentRole::kText: return kiln && kind == LoomElementKind::kPopup ? "label" : "name";
    case ArgumentRole::kSpacing: return "spacing";
    case ArgumentRole::kWidth: return kiln ? "minWidth" : "width";
    case ArgumentRole::kHorizontal: return "horizontal";
    case ArgumentRole::kVertical: return "vertical";
  }
  return {};
}

bool HoldsControls(LoomElementKind kind) {
  return kind == LoomElementKind::kDialog || kind == LoomElementKind::kColumn ||
         kind == LoomElementKind::kRow;
}

bool MayHold(LoomElementKind parent, LoomElementKind child) {
  if (parent == LoomElementKind::kPopup) return child == LoomElementKind::kPopupItem;
  return HoldsControls(parent) && child != LoomElementKind::kDialog &&
         child != LoomElementKind::kPopupItem;
}

struct AlignmentName {
  std::string_view name;
  LoomAlignment alignment;
};

constexpr std::array<AlignmentName, 6> kAlignments{{
    {"align_fill", LoomAlignment::kFill},
    {"align_left", LoomAlignment::kLeft},
    {"align_right", LoomAlignment::kRight},
    {"align_center", LoomAlignment::kCenter},
    {"align_top", LoomAlignment::kTop},
    {"align_bottom", LoomAlignment::kBottom},
}};

class Parser {
 public:
  Parser(std::vector<LoomToken> tokens, LoomFlavour flavour)
      : mTokens(std::move(tokens)), mFlavour(flavour) {}

  LoomLayout Run() {
    LoomLayout layout;
    layout.flavour = mFlavour;
    ExpectKeyword("layout");
    layout.name = Expect(LoomTokenKind::kIdentifier, "the layout's name").text;
    Expect(LoomTokenKind::kOpenBrace, "'{' to open the layout");
    ExpectKeyword("view");
    layout.root = ParseElement(1);
    if (layout.root->kind != LoomElementKind::kDialog) {
      Fail(*layout.root, "the view of a layout must be a " + ElementName(mFlavour, LoomElementKind::kDialog));
    }
    Expect(LoomTokenKind::kCloseBrace, "'}' to close the layout (a layout has one view)");
    Expect(LoomTokenKind::kEnd, "nothing after the layout");
    return layout;
  }

 private:
  const LoomToken& Peek() const { return mTokens[mPos]; }
  const LoomToken& Next() {
    const LoomToken& token = mTokens[mPos];
    if (token.kind != LoomTokenKind::kEnd) ++mPos;
    return token;
  }

  [[noreturn]] static void Fail(const LoomToken& at, const std::string& reason) {
    throw LoomSyntaxError(at.line, at.column, reason);
  }
  [[noreturn]] static void Fail(const LoomNode& at, const std::string& reason) {
    throw LoomSyntaxError(at.line, at.column, reason);
  }

  static std::string Found(const LoomToken& token) {
    std::string found = DescribeTokenKind(token.kind);
    if (token.kind == LoomTokenKind::kIdentifier || token.kind == LoomTokenKind::kNumber) {
      found += " '" + token.text + "'";
    } else if (token.kind == LoomTokenKind::kConstant) {
      found += " '@" + token.text + "'";
    }
    return found;
  }

  const LoomToken& Expect(LoomTokenKind kind, const std::string& what) {
    if (Peek().kind != kind) Fail(Peek(), "expected " + what + ", found " + Found(Peek()));
    return Next();
  }

  void ExpectKeyword(std::string_view keyword) {
    const LoomToken& token = Peek();
    if (token.kind != LoomTokenKind::kIdentifier || token.text != keyword) {
      Fail(token, "expected '" + std::string(keyword) + "', found " + Found(token));
    }
    Next();
  }

  std::unique_ptr<LoomNode> ParseElement(int depth) {
    const LoomToken& name = Expect(LoomTokenKind::kIdentifier, "an element");
    if (depth > kMaxLoomDepth) Fail(name, "elements nest too deeply");
    auto node = std::make_unique<LoomNode>();
    node->elementName = name.text;
    node->line = name.line;
    node->column = name.column;
    if (name.text == "view") Fail(name, "only the layout's first element is a view");
    const auto kind = FindElementKind(mFlavour, name.text);
    if (!kind) Fail(name, UnknownElement(name.text));
    node->kind = *kind;
    ParseArguments(*node);
    if (Peek().kind == LoomTokenKind::kOpenBrace) ParseChildren(*node, depth);
    return node;
  }

  std::string UnknownElement(const std::string& name) const {
    std::string reason = "unknown element '" + name + "'";
    const LoomFlavour other = mFlavour == LoomFlavour::kKiln ? LoomFlavour::kShed : LoomFlavour::kKiln;
    if (FindElementKind(other, name)) {
      reason += " (a " + std::string(FlavourName(other)) + " element; this layout is read as " +
                std::string(FlavourName(mFlavour)) + ")";
    }
    return reason;
  }

  void ParseChildren(LoomNode& node, int depth) {
    const LoomToken& open = Next();
    if (node.kind != LoomElementKind::kPopup && !HoldsControls(node.kind)) {
      Fail(open, "'" + node.elementName + "' holds no elements");
    }
    while (Peek().kind != LoomTokenKind::kCloseBrace) {
      if (Peek().kind == LoomTokenKind::kEnd) Fail(Peek(), "'{' of '" + node.elementName + "' not closed");
      auto child = ParseElement(depth + 1);
      if (!MayHold(node.kind, child->kind)) {
        Fail(*child, "'" + node.elementName + "' can't hold '" + child->elementName + "'");
      }
      node.children.push_back(std::move(child));
    }
    Next();
  }

  void ParseArguments(LoomNode& node) {
    Expect(LoomTokenKind::kOpenParen, "'(' after '" + node.elementName + "'");
    std::set<std::string> given;
    if (Peek().kind != LoomTokenKind::kCloseParen) {
      for (;;) {
        ParseArgument(node, given);
        if (Peek().kind != LoomTokenKind::kComma) break;
        Next();
      }
    }
    Expect(LoomTokenKind::kCloseParen, "',' or ')' in the arguments of '" + node.elementName + "'");
  }

  void ParseArgument(LoomNode& node, std::set<std::string>& given) {
    const LoomToken& name = Expect(LoomTokenKind::kIdentifier, "an argument's name");
    const auto role = FindRole(node, name);
    if (!given.insert(name.text).second) Fail(name, "argument '" + name.text + "' given twice");
    Expect(LoomTokenKind::kColon, "':' after '" + name.text + "'");
    const LoomToken& value = Next();
    Store(node, role, name.text, value);
  }

  ArgumentRole FindRole(const LoomNode& node, const LoomToken& name) const {
    for (ArgumentRole role : RolesOf(node.kind)) {
      if (ArgumentName(role, node.kind, mFlavour) == name.text) return role;
    }
    Fail(name, "'" + node.elementName + "' takes no argument '" + name.text + "'");
  }

  void Store(LoomNode& node, ArgumentRole role, const std::string& name, const LoomToken& value) {
    switch (role) {
      case ArgumentRole::kIdentifier:
        node.identifier = Text(name, value);
        if (node.identifier.empty()) Fail(value, "an identifier must not be empty");
        if (!mIdentifiers.insert(node.identifier).second) {
          Fail(value, "identifier '" + node.identifier + "' used twice");
        }
        return;
      case ArgumentRole::kText: node.text = Text(name, value); return;
      case ArgumentRole::kSpacing: node.spacing = Pixels(name, value); return;
      case ArgumentRole::kWidth: node.width = Pixels(name, value); return;
      case ArgumentRole::kHorizontal: node.horizontal = Alignment(name, value); return;
      case ArgumentRole::kVertical: node.vertical = Alignment(name, value); return;
    }
  }

  static std::string Text(const std::string& name, const LoomToken& value) {
    if (value.kind != LoomTokenKind::kString) Fail(value, "'" + name + "' takes a quoted text, found " + Found(value));
    return value.text;
  }

  static int Pixels(const std::string& name, const LoomToken& value) {
    int pixels = -1;
    if (value.kind == LoomTokenKind::kNumber) {
      const char* end = value.text.data() + value.text.size();
      const auto [rest, error] = std::from_chars(value.text.data(), end, pixels);
      if (error != std::errc() || rest != end) pixels = -1;
    }
    if (pixels < 0 || pixels > kMaxPixels) {
      Fail(value, "'" + name + "' takes a whole number of pixels from 0 to " + std::to_string(kMaxPixels) +
                      ", found " + Found(value));
    }
    return pixels;
  }

  LoomAlignment Alignment(const std::string& name, const LoomToken& value) const {
    const LoomTokenKind constantKind =
        mFlavour == LoomFlavour::kShed ? LoomTokenKind::kConstant : LoomTokenKind::kIdentifier;
    if (value.kind == LoomTokenKind::kIdentifier || value.kind == LoomTokenKind::kConstant) {
      for (const AlignmentName& known : kAlignments) {
        if (known.name != value.text) continue;
        if (value.kind != constantKind) Fail(value, BadConstantForm(value));
        return known.alignment;
      }
      Fail(value, "bad constant " + Found(value).substr(Found(value).find('\'')));
    }
    Fail(value, "'" + name + "' takes a constant such as " + ConstantSpelling("align_fill") + ", found " + Found(value));
  }

  std::string ConstantSpelling(std::string_view name) const {
    return (mFlavour == LoomFlavour::kShed ? "@" : "") + std::string(name);
  }

  std::string BadConstantForm(const LoomToken& value) const {
    return "bad constant " + Found(value).substr(Found(value).find('\'')) + ": in a " +
           std::string(FlavourName(mFlavour)) + " layout it is written " + ConstantSpelling(value.text);
  }

  std::vector<LoomToken> mTokens;
  size_t mPos = 0;
  LoomFlavour mFlavour;
  std::set<std::string> mIdentifiers;
};

}  // namespace

LoomLayout ParseLoom(std::string_view text, LoomFlavour flavour) {
  return Parser(TokenizeLoom(text), flavour).Run();
}

}  // namespace kilnloomfactory::loom
