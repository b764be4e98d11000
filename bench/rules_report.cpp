/** What each rule costs, and how it grows. */
#include "reports.h"

#include "card.h"
#include "table.h"

#include <ostream>

namespace bench
{

void report_rules(const Results &results, std::ostream &out)
{
    const auto rules = by_subject(results.of("rule"));
    if (rules.empty()) {
        return;
    }
    out << "\n## What each rule costs on the largest card\n\n"
           "The card is replaced by another one, and each rule is asked about all instances of its "
           "node.\nThe floor is the same requests with no rule around them.\n\n";
    Table table({"rule", "asked", "requests", "KiB allocated", "rule ms", "floor ms", "ratio"});
    for (const auto &[rule, sizes] : rules) {
        const Result &full = sizes.rbegin()->second;
        table.add({rule, number(full["instances"]), number(full["requests"]),
                   number(full["bytes"] / 1024), number(full["rule_ms"], 3),
                   number(full["floor_ms"], 3), number(full["rule_ms"] / full["floor_ms"], 2)});
    }
    table.print(out);
}

void report_growth(const Results &results, std::ostream &out)
{
    const auto rules = by_subject(results.of("rule"));
    if (rules.empty() || rules.front().second.size() < 2) {
        return;
    }
    out << "\n## How each rule grows with the card\n\n"
           "n where a figure grows as links^n. Requests and allocation are of one asking, time is "
           "of "
           "one asking\nand of all that the rewritten card calls for.\n\n";
    Table table({"rule", "requests, smallest", "requests, largest", "n of requests", "n of bytes",
                 "n of time", "n of time, all"});
    for (const auto &[rule, sizes] : rules) {
        BySize each;
        for (const auto &[links, result] : sizes) {
            Result one = result;
            for (const char *counter : {"requests", "bytes", "rule_ms"}) {
                one.counters[counter] /= result["instances"];
            }
            each.emplace(links, one);
        }
        table.add({rule, number(each.begin()->second["requests"], 1),
                   number(each.rbegin()->second["requests"], 1),
                   number(exponent(each, "requests"), 2), number(exponent(each, "bytes"), 2),
                   number(exponent(each, "rule_ms"), 2), number(exponent(sizes, "rule_ms"), 2)});
    }
    table.print(out);
}

} // namespace bench
