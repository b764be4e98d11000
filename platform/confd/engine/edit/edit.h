/**
 * @file
 * Edits with the operations of NETCONF's <edit-config>.
 */
#pragma once

#include "engine/data/error.h"
#include "engine/data/undo_log.h"

#include <vector>

namespace engine
{

/**
 * Makes the candidate that an edit turns `running` into.
 *
 * The edit is data of the model; nodes carry `nc:operation` (merge, which is the default, replace,
 * create, delete, remove) and entries of user-ordered lists `yang:insert` (first, last, before,
 * after) with `yang:key` or, on leaf-lists, `yang:value`; in JSON the same as metadata (RFC 7952).
 * A leaf to delete needs no value (in JSON, where metadata needs one beside it, "" will do). It may
 * stand in elements of NETCONF: see Envelope.
 *
 * @throws InputError  Broken text, unknown names, values out of range, an operation that the data
 *                     does not allow (create of what exists, delete of what does not).
 */
Datastore apply_edit(const Datastore &running, const Source &edit);

/** Makes that candidate in place. @throws InputError  As above; the log can undo what was done. */
void apply_edit(UndoLog &log, const Source &edit);

/**
 * Carries out in place what fits of an edit.
 * @return What does not.
 * @throws InputError  Broken text, unknown names, values out of range: nothing was done.
 */
std::vector<Problem> apply_what_fits(UndoLog &log, const Source &edit);

} // namespace engine
