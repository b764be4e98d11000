#include "shell/command_line.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>

namespace host::shell
{
namespace
{

constexpr std::size_t kMaxNumbers = 65536;

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

class LineReader
{
public:
    explicit LineReader(std::string_view text) : m_text(text) {}

    CommandLine read()
    {
        m_line.last_word = m_text.size();
        while (!at_end()) {
            const char c = m_text[m_at];
            if (is_blank(c)) {
                ++m_at;
            } else if (c == '#') {
                m_line.has_comment = true;
                break;
            } else if (c == '|') {
                ++m_at;
                m_line.filters.emplace_back();
            } else {
                read_word();
            }
        }
        return std::move(m_line);
    }

private:
    bool at_end() const { return m_at == m_text.size(); }

    void read_word()
    {
        const std::size_t begin = m_at;
        std::string word;
        while (!at_end() && !is_blank(m_text[m_at]) && m_text[m_at] != '|') {
            const char c = m_text[m_at++];
            if (c == '{' && m_text[begin] == '/') {
                read_keys(word);
            } else if (c == '"' || c == '\'') {
                read_quoted(c, word);
            } else if (c == '\\' && !at_end()) {
                word += m_text[m_at++];
            } else {
                word += c;
            }
        }
        m_line.last_word = at_end() ? begin : m_text.size();
        (m_line.filters.empty() ? m_line.words : m_line.filters.back()).push_back(word);
    }

    /** Keys of a path as reports write it: blanks and quotes in them are the path's own. */
    void read_keys(std::string &word)
    {
        word += '{';
        bool is_quoted = false;
        while (!at_end()) {
            const char c = m_text[m_at++];
            word += c;
            if (c == '\\' && is_quoted && !at_end()) {
                word += m_text[m_at++];
            } else if (c == '"') {
                is_quoted = !is_quoted;
            } else if (c == '}' && !is_quoted) {
                return;
            }
        }
    }

    void read_quoted(char quote, std::string &word)
    {
        m_line.is_quoted = true;
        while (!at_end() && m_line.is_quoted) {
            const char c = m_text[m_at++];
            if (c == quote) {
                m_line.is_quoted = false;
            } else if (c == '\\' && quote == '"' && !at_end()) {
                const char escaped = m_text[m_at++];
                word += escaped == 'n' ? '\n' : escaped;
            } else {
                word += c;
            }
        }
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    CommandLine m_line;
};

std::optional<std::uint64_t> number_in(std::string_view text)
{
    std::uint64_t number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool is_number = failure == std::errc() && end == text.data() + text.size();
    return is_number ? std::optional(number) : std::nullopt;
}

} // namespace

CommandLine read_line(std::string_view line)
{
    return LineReader(line).read();
}

std::string quoted(const std::string &word)
{
    const bool is_plain =
        !word.empty() && word.find_first_of(" \t\r\n\"'\\|#") == std::string::npos;
    if (is_plain) {
        return word;
    }
    std::string text = "\"";
    for (const char c : word) {
        text += c == '"' || c == '\\' ? "\\" : "";
        text += c == '\n' ? std::string("\\n") : std::string(1, c);
    }
    return text + '"';
}

std::vector<std::string> numbers_in(const std::string &word)
{
    std::vector<std::string> numbers;
    for (std::size_t begin = 0; begin <= word.size();) {
        const auto end = std::min(word.find(',', begin), word.size());
        const std::string part = word.substr(begin, end - begin);
        const auto dash = part.find('-');
        const auto first = number_in(std::string_view(part).substr(0, dash));
        const auto last =
            dash == std::string::npos ? first : number_in(std::string_view(part).substr(dash + 1));
        if (!first || !last) {
            return {};
        }
        if (*last < *first || *last - *first >= kMaxNumbers - numbers.size()) {
            throw CommandError(word + " is no range of numbers",
                               "the smaller number stands first, and at most " +
                                   std::to_string(kMaxNumbers) + " are taken at a time");
        }
        for (auto number = *first;; ++number) {
            numbers.push_back(std::to_string(number));
            if (number == *last) {
                break;
            }
        }
        begin = end + 1;
    }
    return numbers;
}

} // namespace host::shell
