/** Rules of the plug-in beside the same rules as YANG. */
#include "reports.h"

#include "table.h"

#include <ostream>
#include <string>

namespace bench
{

bool is_noise(const Result &yang)
{
    return yang["yang_added_ms"] < yang["yang_without_ms"] / 20;
}

void report_yang(const Results &results, std::ostream &out)
{
    const auto rules = by_subject(results.of("yang"));
    if (rules.empty()) {
        return;
    }
    out << "\n## The same rules as YANG\n\n"
           "\"YANG\" is what libyang's validation of the card takes longer with the statement than "
           "without it; where\nthat is less than a twentieth of the whole it is noise. \"times\" "
           "is "
           "YANG by plug-in. At each size both\naccept the card, and both object to one that "
           "breaks "
           "the rule.\n\n";
    Table table({"rule", "links", "YANG ms", "plug-in ms", "times", "n of YANG", "n of plug-in"});
    for (const auto &[rule, sizes] : rules) {
        for (const auto &[links, result] : sizes) {
            const bool is_last = links == sizes.rbegin()->first;
            const bool is_too_small = is_noise(result);
            table.add(
                {rule, number(links), is_too_small ? "noise" : number(result["yang_added_ms"], 1),
                 number(result["plugin_ms"], 2),
                 is_too_small ? "-" : number(result["yang_added_ms"] / result["plugin_ms"], 1),
                 is_last && !is_too_small ? number(exponent(sizes, "yang_added_ms"), 2) : "",
                 is_last ? number(exponent(sizes, "plugin_ms"), 2) : ""});
        }
    }
    table.print(out);
}

} // namespace bench
