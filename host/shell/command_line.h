/**
 * @file
 * The words of a command.
 */
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace host::shell
{

/** A command that makes no sense: told with a hint, and nothing has happened. */
class CommandError : public std::runtime_error
{
public:
    explicit CommandError(const std::string &message, std::string hint = "")
        : std::runtime_error(message), m_hint(std::move(hint))
    {
    }
    const std::string &hint() const { return m_hint; }

private:
    std::string m_hint;
};

using Words = std::vector<std::string>;

/** A line, taken apart. */
struct CommandLine {
    Words words;                /**< The command with its arguments; empty: nothing is asked. */
    std::vector<Words> filters; /**< What stands behind each `|`. */
    /** Where the last word begins; at the end of the line: a new word would begin there. */
    std::size_t last_word = 0;
    bool is_quoted = false; /**< The line ends within quotes. */
    bool has_comment = false;
};

/**
 * Words are separated by blanks. Between double quotes blanks count, and a backslash stands before
 * a quote, a backslash, or an n for a new line; between single quotes all stands for itself;
 * elsewhere a backslash takes the meaning from the character behind it. `#` in front of a word
 * begins a comment.
 */
CommandLine read_line(std::string_view line);

/** The word as read_line takes it. */
std::string quoted(const std::string &word);

/** Numbers as `1-4,7`, one by one; nothing if the word is no such text. @throws CommandError  Too
 *  many, or the wrong way round. */
std::vector<std::string> numbers_in(const std::string &word);

} // namespace host::shell
