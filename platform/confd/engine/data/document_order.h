/**
 * @file
 * The order of nodes in a tree.
 */
#pragma once

#include "engine/schema/yang.h"

namespace engine
{

/** Whether a node stands before another, both instances of one schema node in one tree. */
bool stands_before(const lyd_node *a, const lyd_node *b);

} // namespace engine
