#pragma once

#include <kilnloomfactory/loom/LoomToken.h>

#include <string_view>
#include <vector>

namespace kilnloomfactory::loom {

// Splits the text of a layout into tokens.
//
// Spaces, tabs, CR and LF separate tokens; a line ends at LF, so CR LF and LF
// files count lines alike. "//" starts a comment to the end of the line, and
// "/* ... */" a comment that may span lines. Strings are quoted with ' or " and
// end on the same line; inside them a backslash escapes the next character
// (\n and \t stand for a new line and a tab). Throws LoomSyntaxError for a
// character that starts no token, an unterminated string or comment, and a
// '@' not followed by a name.
std::vector<LoomToken> TokenizeLoom(std::string_view text);

}  // namespace kilnloomfactory::loom
