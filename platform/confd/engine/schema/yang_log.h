/**
 * @file
 * What libyang says while it works, and what it leaves unsaid.
 */
#pragma once

#include "engine/schema/yang.h"

namespace engine
{

/** Makes libyang put what it says into its error lists alone: it becomes problems of ours. */
void store_errors();

/**
 * To be called after a call of libyang: lack of memory is no fault of the data, and libyang goes
 * on, with success in the end, without a node that it has no memory for.
 * @throws std::bad_alloc  Memory was lacking in this call, or in one before it.
 */
void require_memory(LY_ERR result);

} // namespace engine
