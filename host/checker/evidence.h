/**
 * @file
 * What helps to understand a remark: what changed, and where that stands in a file.
 */
#pragma once

#include "checker/outcome.h"
#include "engine/data/source.h"

namespace host
{

/** A change as the operator is told of it. */
ChangedNode changed_node(const engine::Change &change, const std::string &path);

/**
 * Adds evidence to the remarks of an outcome, while the transaction is open that it is of.
 * @param source  Of the change, or of the running configuration where that is checked.
 */
void add_evidence(Outcome &outcome, const engine::Schema &schema, const engine::Source &source);

} // namespace host
