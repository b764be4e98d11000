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

/** Whether what a statement adds to libyang's validation is too little to be told from chance. */
bool is_noise(const Result &yang);
/** Data for curves.gp. */
void write_curves(const Results &results, std::ostream &out);

} // namespace bench
