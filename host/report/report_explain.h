/**
 * @file
 * The part of a check's report that tells how the answer came about.
 */
#pragma once

#include "checker/outcome.h"

#include <iosfwd>

namespace host
{

/**
 * Prints a table of the rules that ran, the changed nodes that called for them, totals and times.
 * @param with_calls  Also prints each rule's client calls by name.
 */
void print_explanation(std::ostream &out, const Outcome &outcome, bool with_calls);

} // namespace host
