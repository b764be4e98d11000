/**
 * @file
 * What the model demands of nodes besides their types: found out once, so that the engine can check
 * it where a change makes it necessary.
 */
#pragma once

#include "engine/schema/schema.h"

#include <memory>
#include <vector>

namespace engine
{

/** To be called after read_references. Tells the nodes what concerns them. */
ModelRules read_rules(const Schema &schema, const std::vector<std::unique_ptr<SchemaNode>> &nodes);

/** Whether YANG supplies a data node where it is missing: a default, or a plain container. */
bool is_supplied(const lysc_node *node);

} // namespace engine
