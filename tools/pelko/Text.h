#ifndef PELKO_TOOL_TEXT_H
#define PELKO_TOOL_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

// Chat text on its way to a terminal. It may hold anything a peer has sent: escape sequences, characters that
// reverse the reading direction, bytes that are no UTF-8.

namespace pelkotool {

struct Character {
    char32_t code = 0;
    std::size_t length = 0;  ///< in bytes; 0 where the bytes are no UTF-8
};

/// The character at the start of a text that is not empty.
Character firstCharacter(std::string_view text);

/// Whether the character changes the reading direction of others.
bool overridesDirection(char32_t code);

/// A to Z as a to z, in bytes of any text; all else as it is, whatever the locale.
std::string inSmallLetters(std::string text);

/// The text with everything visible that would steer a terminal, as UTF-8 on one line: control bytes and
/// bytes that are no UTF-8 as "\x1B", C1 controls and characters that override the reading direction as
/// "\u202E".
std::string visibleText(std::string_view text);

bool isUtf8(std::string_view text);

/// How many terminal columns a visible text takes.
std::size_t displayWidth(std::string_view visible);

/// The visible text, cut to at most so many columns; a cut text ends with an ellipsis.
std::string shortened(std::string_view visible, std::size_t width);

}  // namespace pelkotool

#endif  // PELKO_TOOL_TEXT_H
