/**
 * @file
 * Entries of a list or leaf-list among their siblings, and where they are put.
 */
#pragma once

#include "engine/schema/yang.h"

namespace engine
{

/** The entry of the same list in front; null when there is none. */
lyd_node *previous_entry(const lyd_node *node);

/** The entry of the same list behind; null when there is none. */
lyd_node *following_entry(const lyd_node *node);

/** Puts an entry next to another one, whoever orders the list. */
void place_entry(lyd_node *node, lyd_node *sibling, bool before);

/** @throws std::bad_alloc, or std::logic_error  A node was not put into the configuration. */
void require_placed(LY_ERR result);

} // namespace engine
