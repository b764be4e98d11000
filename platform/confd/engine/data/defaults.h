/**
 * @file
 * The nodes that YANG supplies: defaults, and plain containers.
 */
#pragma once

#include "engine/data/datastore.h"

#include <vector>

namespace engine
{

/** Adds all that YANG supplies to a configuration. The model has no `when`: see Schema::has_when.
 */
void add_defaults(Datastore &tree);

/** Adds what YANG supplies at all levels below a node. */
void add_defaults_below(lyd_node *node);

/**
 * Adds an instance of a schema node that is_supplied, with all that YANG supplies in it; a
 * leaf-list may have several.
 * @param parent  Null: at the top; the node is not put into a tree then.
 */
std::vector<lyd_node *> add_default(lyd_node *parent, const SchemaNode &schema);

} // namespace engine
