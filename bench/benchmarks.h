/** The benchmarks by the question that they answer. */
#pragma once

namespace bench
{

/** What does each rule cost, beside its requests alone, and how does it grow with the card? */
void register_rules();

} // namespace bench
