/**
 * @file
 * Finds things in an edit's text: libyang keeps no line numbers of what it parsed.
 */
#pragma once

#include "engine/schema/schema.h"

#include <string>
#include <string_view>

namespace engine
{

/**
 * Line of the only node of that name, and of that value if it is not empty.
 * @return 0 when there is none, or when there are several.
 */
unsigned line_of_node(const std::string &text, std::string_view name, std::string_view value);

/**
 * Line of a node that is there twice: that of a list entry's last key, or else its own.
 * @return 0 when there are more than two such in the text.
 */
unsigned line_of_duplicate(const std::string &text, const SchemaNode &schema, const lyd_node *node);

} // namespace engine
