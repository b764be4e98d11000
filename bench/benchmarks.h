/** The benchmarks by the question that they answer. */
#pragma once

namespace bench
{

/** What does each rule cost, beside its requests alone, and how does it grow with the card? */
void register_rules();

/** What does a whole commit cost, phase by phase? */
void register_commits();

/** What would the same rules cost as YANG? */
void register_yang_rules();

/** What does a commit cost on a framework that takes its time to answer? */
void register_latency();

} // namespace bench
