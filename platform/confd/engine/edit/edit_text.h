/** Finds things in an edit's text: libyang keeps no line numbers of what it parsed. */
#pragma once

#include "engine/data/datastore.h"

#include <string>
#include <string_view>
#include <vector>

namespace engine
{

/**
 * Line of the only node of that name, and of that value if it is not empty.
 * @return 0 when there is none, or when there are several.
 */
unsigned line_of_node(const std::string &text, std::string_view name, std::string_view value);

/** Line of the only XML attribute of that name as it was written; 0: none, or several. */
unsigned line_of_attribute(const std::string &text, std::string_view name);

/** A JSON member name such as "ietf-netconf:operation". */
struct QualifiedMember {
    std::string module;
    std::string name;
    unsigned line = 0;
};

/** All members of that name with a module name before it. */
std::vector<QualifiedMember> find_members(const std::string &text, const std::string &name);

} // namespace engine
