/**
 * @file
 * The model's rules, checked directly. libyang has the say where one is broken: it names the place.
 */
#pragma once

#include "engine/data/reference_index.h"
#include "engine/data/undo_log.h"

namespace engine
{

/**
 * Whether a configuration with its defaults in it, in key order, keeps all rules of the model but
 * for leafrefs. The model's rules are covered: see ModelRules.
 */
bool keeps_rules(const Datastore &tree);

/**
 * The same after a change made in place, of a configuration that kept them before: looks only at
 * what came, at what stands beside what came or went, and at the `must` statements above.
 */
bool keeps_rules(const UndoLog &log);

/** Whether a `must` statement looks at what came or went from another place than above it. */
bool is_read_afar(const UndoLog &log);

/** Brings an index into step with a change made in place. */
void apply(const UndoLog &log, ReferenceIndex &index);
/** Takes that back. The change is still made. */
void take_back(const UndoLog &log, ReferenceIndex &index);

} // namespace engine
