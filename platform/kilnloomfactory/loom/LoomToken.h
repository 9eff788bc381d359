#pragma once

#include <string>

namespace kilnloomfactory::loom {

enum class LoomTokenKind {
  kIdentifier,  // layout, view, kiln_popup, align_fill, ...
  kString,      // 'text' or "text", without its quotes and with escapes resolved
  kNumber,      // 20, -4, 1.5
  kConstant,    // @align_fill, without the '@'
  kOpenParen,
  kCloseParen,
  kOpenBrace,
  kCloseBrace,
  kComma,
  kColon,
  kEnd,  // after the last token
};

// One token of a layout, with the 1-based line and column of its first character.
struct LoomToken {
  LoomTokenKind kind = LoomTokenKind::kEnd;
  std::string text;
  int line = 1;
  int column = 1;
};

// "identifier", "'('", ...: how a kind of token is named in error texts.
const char* DescribeTokenKind(LoomTokenKind kind);

}  // namespace kilnloomfactory::loom
