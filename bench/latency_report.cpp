/** What a commit costs on a framework that takes its time to answer. */
#include "reports.h"

#include "table.h"

#include <algorithm>
#include <ostream>
#include <string>

namespace bench
{
namespace
{

struct Row {
    std::string rule;
    double requests;
    double milliseconds;
};

std::vector<Row> rows_of(const Result &result)
{
    constexpr const char *kPrefix = "ms:";
    std::vector<Row> rows;
    for (const auto &[counter, value] : result.counters) {
        if (counter.rfind(kPrefix, 0) == 0) {
            const auto rule = counter.substr(3);
            rows.push_back({rule, result["requests:" + rule], value});
        }
    }
    std::sort(rows.begin(), rows.end(),
              [](const Row &a, const Row &b) { return a.milliseconds > b.milliseconds; });
    return rows;
}

} // namespace

void report_latency(const Results &results, std::ostream &out)
{
    const auto commits = results.of("latency");
    if (commits.empty()) {
        return;
    }
    out << "\n## What a commit costs when each request takes 100 us longer, on the largest card\n";
    for (const Result &commit : commits) {
        const auto rows = rows_of(commit);
        double total = 0;
        double requests = 0;
        for (const Row &row : rows) {
            total += row.milliseconds;
            requests += row.requests;
        }
        out << "\n### " << commit.subject << ": " << number(total / 1000, 1) << " s for "
            << number(requests) << " requests\n\n";
        Table table({"rule", "requests", "ms", "share"});
        for (const Row &row : rows) {
            table.add({row.rule, number(row.requests), number(row.milliseconds, 1),
                       number(100 * row.milliseconds / total, 1) + " %"});
        }
        table.print(out);
    }
}

} // namespace bench
