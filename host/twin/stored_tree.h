/**
 * @file
 * Configurations of the history as trees.
 */
#pragma once

#include "engine/data/datastore.h"
#include "twin/history.h"

#include <memory>

namespace host::twin
{

/** Makes a configuration from its snapshot and its edits, with all defaults.
 *  @throws engine::InputError  It is of another model. */
engine::Datastore tree_of(const std::shared_ptr<const engine::Schema> &schema,
                          const StoredConfiguration &stored);

} // namespace host::twin
