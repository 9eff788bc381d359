#include <kilnloomfactory/loom/LoomTokenizer.h>

#include <kilnloomfactory/loom/LoomSyntaxError.h>

#include <cctype>
#include <cstdio>

namespace kilnloomfactory::loom {

const char* DescribeTokenKind(LoomTokenKind kind) {
  switch (kind) {
    case LoomTokenKind::kIdentifier: return "a name";
    case LoomTokenKind::kString: return "a quoted text";
    case LoomTokenKind::kNumber: return "a number";
    case LoomTokenKind::kConstant: return "a constant";
    case LoomTokenKind::kOpenParen: return "'('";
    case LoomTokenKind::kCloseParen: return "')'";
    case LoomTokenKind::kOpenBrace: return "'{'";
    case LoomTokenKind::kCloseBrace: return "'}'";
    case LoomTokenKind::kComma: return "','";
    case LoomTokenKind::kColon: return "':'";
    case LoomTokenKind::kEnd: return "the end of the layout";
  }
  return "a token";
}

namespace {

bool IsNameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool IsNameChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }
bool IsDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

class Tokenizer {
 public:
  explicit Tokenizer(std::string_view text) : mText(text) {}

  std::vector<LoomToken> Run() {
    std::vector<LoomToken> tokens;
    for (;;) {
      SkipSpaceAndComments();
      LoomToken token{LoomTokenKind::kEnd, {}, mLine, mColumn};
      if (AtEnd()) {
        tokens.push_back(token);
        return tokens;
      }
      ReadToken(token);
      tokens.push_back(std::move(token));
    }
  }

 private:
  bool AtEnd() const { return mPos >= mText.size(); }
  char Peek(size_t ahead = 0) const {
    return mPos + ahead < mText.size() ? mText[mPos + ahead] : '\0';
  }

  char Advance() {
    const char c = mText[mPos++];
    if (c == '\n') {
      ++mLine;
      mColumn = 1;
    } else if (c != '\r') {
      ++mColumn;
    }
    return c;
  }

  [[noreturn]] void Fail(int line, int column, const std::string& reason) const {
    throw LoomSyntaxError(line, column, reason);
  }

  void SkipSpaceAndComments() {
    while (!AtEnd()) {
      const char c = Peek();
      if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
        Advance();
      } else if (c == '/' && Peek(1) == '/') {
        while (!AtEnd() && Peek() != '\n') Advance();
      } else if (c == '/' && Peek(1) == '*') {
        SkipBlockComment();
      } else {
        return;
      }
    }
  }

  void SkipBlockComment() {
    const int line = mLine, column = mColumn;
    Advance();
    Advance();
    while (!AtEnd()) {
      if (Peek() == '*' && Peek(1) == '/') {
        Advance();
        Advance();
        return;
      }
      Advance();
    }
    Fail(line, column, "comment not closed");
  }

  void ReadToken(LoomToken& token) {
    const char c = Peek();
    if (IsNameStart(c)) return ReadName(token, LoomTokenKind::kIdentifier);
    if (IsDigit(c) || (c == '-' && IsDigit(Peek(1)))) return ReadNumber(token);
    if (c == '\'' || c == '"') return ReadString(token);
    if (c == '@') {
      Advance();
      if (!IsNameStart(Peek())) Fail(token.line, token.column, "'@' must be followed by a constant's name");
      return ReadName(token, LoomTokenKind::kConstant);
    }
    token.kind = PunctuationKind(c, token);
    Advance();
  }

  LoomTokenKind PunctuationKind(char c, const LoomToken& token) const {
    switch (c) {
      case '(': return LoomTokenKind::kOpenParen;
      case ')': return LoomTokenKind::kCloseParen;
      case '{': return LoomTokenKind::kOpenBrace;
      case '}': return LoomTokenKind::kCloseBrace;
      case ',': return LoomTokenKind::kComma;
      case ':': return LoomTokenKind::kColon;
      default: break;
    }
    const unsigned char byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F) Fail(token.line, token.column, std::string("unexpected character '") + c + "'");
    char code[8];
    std::snprintf(code, sizeof(code), "0x%02X", byte);
    Fail(token.line, token.column, std::string("unexpected byte ") + code);
  }

  void ReadName(LoomToken& token, LoomTokenKind kind) {
    token.kind = kind;
    while (!AtEnd() && IsNameChar(Peek())) token.text.push_back(Advance());
  }

  void ReadNumber(LoomToken& token) {
    token.kind = LoomTokenKind::kNumber;
    if (Peek() == '-') token.text.push_back(Advance());
    while (IsDigit(Peek())) token.text.push_back(Advance());
    if (Peek() == '.' && IsDigit(Peek(1))) {
      token.text.push_back(Advance());
      while (IsDigit(Peek())) token.text.push_back(Advance());
    }
    if (IsNameChar(Peek())) Fail(mLine, mColumn, "a number must not run into a name");
  }

  void ReadString(LoomToken& token) {
    token.kind = LoomTokenKind::kString;
    const char quote = Advance();
    for (;;) {
      if (AtEnd() || Peek() == '\n' || Peek() == '\r') Fail(token.line, token.column, "text not closed on its line");
      const char c = Advance();
      if (c == quote) return;
      if (c != '\\') {
        token.text.push_back(c);
        continue;
      }
      if (AtEnd() || Peek() == '\n' || Peek() == '\r') Fail(token.line, token.column, "text not closed on its line");
      const char escaped = Advance();
      token.text.push_back(escaped == 'n' ? '\n' : escaped == 't' ? '\t' : escaped);
    }
  }

  std::string_view mText;
  size_t mPos = 0;
  int mLine = 1;
  int mColumn = 1;
};

}  // namespace

std::vector<LoomToken> TokenizeLoom(std::string_view text) { return Tokenizer(text).Run(); }

}  // namespace kilnloomfactory::loom
