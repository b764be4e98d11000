/**
 * @file
 * Text from outside, made fit for a terminal.
 */
#pragma once

#include <string>
#include <string_view>

namespace host
{

/**
 * Text of a file, a name, an argument or the plug-in, for people: what steers a terminal or changes
 * the order of its letters (control characters, C1, bidirectional marks), and what is no UTF-8,
 * stands there as `\x1b` or `\u{202e}`. Tabs stay; a newline is escaped, too: the text is one line.
 */
std::string printable(std::string_view text);

/** The same for text of several lines: newlines stay. */
std::string printable_lines(std::string_view text);

/** The same for text that comes in pieces, which may end within a character. */
class PrintableStream
{
public:
    /** @return What can be printed by now. */
    std::string take(std::string_view piece);
    /** @return What is left when no piece follows. */
    std::string end();

private:
    std::string m_rest; /**< The beginning of a character. */
};

} // namespace host
