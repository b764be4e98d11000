/** Finds things in an edit's text: libyang keeps no line numbers of what it parsed. */
#pragma once

#include <string>
#include <string_view>

namespace engine
{

/**
 * Line of the only node of that name, and of that value if it is not empty.
 * @return 0 when there is none, or when there are several.
 */
unsigned line_of_node(const std::string &text, std::string_view name, std::string_view value);

/** Line of the second of two such nodes; 0 when there are fewer, or more. */
unsigned line_of_second_node(const std::string &text, std::string_view name,
                             std::string_view value);

} // namespace engine
