/** What a whole commit costs. */
#include "reports.h"

#include "table.h"

#include <array>
#include <ostream>
#include <string>

namespace bench
{
namespace
{

constexpr std::array<const char *, 7> kPhases{"parse",   "load", "edit", "YANG check",
                                              "compare", "plan", "rules"};

std::vector<std::string> row_of(const std::string &name, const BySize &sizes,
                                const std::string &counter)
{
    const Result &full = sizes.rbegin()->second;
    return {name, number(full[counter], 2), number(full[counter] / full["parse"], 2),
            number(exponent(sizes, counter), 2)};
}

void report_commit(const std::string &kind, const BySize &sizes, std::ostream &out)
{
    const Result &full = sizes.rbegin()->second;
    out << "\n### " << kind << ": " << number(full["requests"]) << " requests\n\n";
    Table table({"phase", "ms", "of parse", "n of time"});
    for (const char *phase : kPhases) {
        table.add(row_of(phase, sizes, phase));
    }
    for (const auto &[counter, value] : full.counters) {
        if (counter.rfind("rule:", 0) == 0) {
            table.add(row_of("- " + counter.substr(5), sizes, counter));
        }
    }
    table.print(out);
}

} // namespace

void report_commits(const Results &results, std::ostream &out)
{
    const auto commits = by_subject(results.of("commit"));
    if (commits.empty()) {
        return;
    }
    out << "\n## What a whole commit costs on the largest card\n\n"
           "\"parse\" is libyang alone reading the running configuration: the yardstick. \"load\" "
           "is "
           "the engine\nreading it, that parse included. The everyday edit gives one ONU another "
           "line profile; the\nrewriting one puts another card in place of the whole.\n";
    for (const auto &[kind, sizes] : commits) {
        report_commit(kind, sizes, out);
    }
}

} // namespace bench
