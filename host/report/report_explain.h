/**
 * @file
 * The part of a check's report that tells how the answer came about.
 */
#pragma once

#include "checker/outcome.h"

#include <iosfwd>

namespace host
{

/** What there may be besides. */
struct ExplanationDetail {
    bool calls = false; /**< Each rule's client calls by name. */
    bool reads = false; /**< Each place that a rule read, with its keys. */
};

/**
 * Prints a table of the rules that ran, the changed nodes that called for them, totals, what the
 * rules read, as far as it was noted, and times.
 */
void print_explanation(std::ostream &out, const Outcome &outcome, const ExplanationDetail &detail);

} // namespace host
