/**
 * @file
 * Texts whose length counts in bytes, as a card counts it; YANG counts characters.
 */
#pragma once

#include "engine/data/source.h"
#include "engine/schema/schema.h"

namespace engine
{

/**
 * Checks the leaves whose type has a length marked as one in bytes.
 * @param siblings  A tree that was parsed from the source; nodes that the model does not know are
 * passed over.
 * @throws InputError  With all that are too long.
 */
void require_short_texts(const Schema &schema, const lyd_node *siblings, const Source &source);

} // namespace engine
