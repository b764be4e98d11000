/**
 * @file
 * Values of XML and JSON texts, changed in their place: everything else stays where it is.
 */
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace host
{

/** A value, or a part of one, on its way through a text. */
class ValueText
{
public:
    /** A character at this place of the text, written in so many bytes. */
    void add(std::size_t offset, std::size_t size, std::string character);
    bool empty() const { return m_characters.empty(); }
    void clear() { m_characters.clear(); }
    std::string text() const;

    struct Change {
        std::size_t offset;
        std::size_t size;
        std::string written;
    };
    /**
     * Changes of the text that make this value another one of as many characters.
     * @param is_json  Escapes are those of JSON; otherwise, of XML.
     */
    void rewrite(std::string_view value, bool is_json, std::vector<Change> &changes) const;

private:
    struct Character {
        std::size_t offset;
        std::size_t size;
        std::string text;
    };
    std::vector<Character> m_characters;
};

/** Makes a value another one of as many characters. */
using RewriteValue =
    std::function<std::string(const std::vector<std::string> &names, std::string value)>;

/**
 * Rewrites all values of a text, however malformed it is. Names are those of the nodes from the top
 * down to the value's, without prefixes; the value of an attribute or of metadata is that of a node
 * whose name begins with `@`. Comments of XML become as long ones that say nothing.
 */
std::string rewrite_xml(std::string_view text, const RewriteValue &rewrite);
std::string rewrite_json(std::string_view text, const RewriteValue &rewrite);

/** The text with changes made to it, which are in order. */
std::string with_changes(std::string_view text, const std::vector<ValueText::Change> &changes);

/** The text with letters and digits that say nothing. */
std::string blanked(std::string text);

/** A character of UTF-8. */
std::string utf8_of(unsigned long code);

} // namespace host
