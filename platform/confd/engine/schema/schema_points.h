/**
 * @file
 * Validation points: `tailf:validate` statements. For the schema loader only.
 */
#pragma once

#include "engine/schema/schema.h"

#include <string_view>
#include <vector>

namespace engine
{

/**
 * The `tailf:validate` statements of a node, in their order.
 * @param parsed  The node as it was written: only there are the statements' own substatements.
 * @throws std::runtime_error  Naming the node and the statement.
 */
std::vector<ValidationPoint> read_points(const Schema &schema, const SchemaNode &node,
                                         const lysp_node &parsed);

/** Whether the statement is an extension of the framework's module. */
bool is_framework_statement(const lysp_ext_instance &statement, std::string_view name);

} // namespace engine
