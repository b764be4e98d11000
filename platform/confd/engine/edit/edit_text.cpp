#include "engine/edit/edit_text.h"

#include <algorithm>
#include <cctype>

namespace engine
{
namespace
{

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool is_name_character(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_' || c == '.';
}

unsigned line_at(const std::string &text, std::size_t place)
{
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(place);
    return 1 + static_cast<unsigned>(std::count(text.begin(), end, '\n'));
}

std::size_t skip_blanks(const std::string &text, std::size_t place)
{
    while (place < text.size() && is_blank(text[place])) {
        ++place;
    }
    return place;
}

bool has_at(const std::string &text, std::size_t place, std::string_view wanted)
{
    return place <= text.size() && text.compare(place, wanted.size(), wanted) == 0;
}

/** The character before a name and its prefix, if it has one; NUL at the beginning. */
char before_name(const std::string &text, std::size_t name)
{
    std::size_t place = name;
    if (place > 0 && text[place - 1] == ':') {
        --place;
        while (place > 0 && is_name_character(text[place - 1])) {
            --place;
        }
    }
    return place > 0 ? text[place - 1] : '\0';
}

/** @param end  Behind the name of an element. */
bool element_has_value(const std::string &text, std::size_t end, std::string_view value)
{
    const auto close = text.find('>', end);
    if (close == std::string::npos) {
        return false;
    }
    const auto content = skip_blanks(text, close + 1);
    return has_at(text, content, value) &&
           has_at(text, skip_blanks(text, content + value.size()), "<");
}

/** @param end  Behind the name of a member. */
bool member_has_value(const std::string &text, std::size_t end, std::string_view value)
{
    auto content = skip_blanks(text, skip_blanks(text, end + 1) + 1);
    content += has_at(text, content, "\"") ? 1 : 0;
    return has_at(text, content, value);
}

/** Whether the name at that place is an element's or a member's, with that value. */
bool is_node_at(const std::string &text, std::size_t place, std::string_view name,
                std::string_view value)
{
    const auto end = place + name.size();
    switch (before_name(text, place)) {
    case '<':
        return end < text.size() && (is_blank(text[end]) || text[end] == '/' || text[end] == '>') &&
               (value.empty() || element_has_value(text, end, value));
    case '"':
        return has_at(text, end, "\"") && has_at(text, skip_blanks(text, end + 1), ":") &&
               (value.empty() || member_has_value(text, end, value));
    default:
        return false;
    }
}

/** Line of the last match, when there are as many as are wanted. */
template <typename Predicate>
unsigned line_of_last(const std::string &text, std::string_view name, unsigned wanted,
                      const Predicate &is_match)
{
    unsigned count = 0;
    auto last = std::string::npos;
    for (auto place = text.find(name); place != std::string::npos && count <= wanted;
         place = text.find(name, place + 1)) {
        if (is_match(place)) {
            ++count;
            last = place;
        }
    }
    return count == wanted ? line_at(text, last) : 0;
}

} // namespace

unsigned line_of_node(const std::string &text, std::string_view name, std::string_view value)
{
    return line_of_last(text, name, 1,
                        [&](std::size_t place) { return is_node_at(text, place, name, value); });
}

unsigned line_of_duplicate(const std::string &text, const SchemaNode &schema, const lyd_node *node)
{
    std::string_view name = schema.name;
    const auto *term = node;
    for (const auto *key : schema.key_nodes) {
        term = key == schema.key_nodes.front() ? lyd_child(node) : term->next;
        name = key->name;
    }
    // Both entries have the same value; a leaf's two values may differ.
    const bool is_entry = schema.is_list() || schema.is_leaf_list();
    const std::string_view value = is_entry ? lyd_get_value(term) : "";
    return line_of_last(text, name, 2,
                        [&](std::size_t place) { return is_node_at(text, place, name, value); });
}

} // namespace engine
