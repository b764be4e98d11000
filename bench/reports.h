/** Tables of the results, one for each question. A question that was not asked gives none. */
#pragma once

#include "results.h"

#include <iosfwd>

namespace bench
{

void report_rules(const Results &results, std::ostream &out);
void report_growth(const Results &results, std::ostream &out);
void report_commits(const Results &results, std::ostream &out);
void report_yang(const Results &results, std::ostream &out);
void report_latency(const Results &results, std::ostream &out);

} // namespace bench
