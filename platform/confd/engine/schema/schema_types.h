/**
 * @file
 * Types of leaves: from YANG's to those of the C interface. For the schema loader only.
 */
#pragma once

#include "engine/schema/schema.h"

#include <string>

namespace engine
{

/**
 * The C interface's type of a leaf or leaf-list.
 * @throws std::runtime_error  The engine does not serve the type; the text names the node.
 */
confd_type read_type(const lysc_node &node, const std::string &path);

} // namespace engine
