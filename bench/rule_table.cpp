#include "edit.h"
#include "full_card.h"

#include <cstdio>
#include <map>

namespace bench
{
namespace
{

/** What a rule did for one transaction. */
struct Row {
    std::uint64_t runs = 0;
    std::uint64_t calls = 0;
    std::chrono::nanoseconds time{0};
};

class Rows : public engine::Observer
{
public:
    void after(const engine::Request &request, const engine::Answer &answer) override
    {
        Row &row = rows[request.point->opaque];
        ++row.runs;
        row.time += answer.time;
        for (const auto &[name, count] : answer.calls) {
            row.calls += count;
        }
    }
    std::map<std::string, Row> rows;
};

} // namespace

void print_rule_table()
{
    const FullCard &card = FullCard::instance();
    auto candidate = engine::apply_edit(card.running, card.everyday);
    candidate.check(card.everyday.name);
    Transaction transaction(std::move(candidate));
    Rows rows;
    transaction.validate(engine::plan(transaction.get()), rows);

    std::printf("\nThe everyday edit on a full card, rule by rule (one run):\n");
    std::printf("%-28s %8s %10s %12s\n", "rule", "runs", "requests", "time");
    for (const auto &[rule, row] : rows.rows) {
        std::printf("%-28s %8llu %10llu %9.3f ms\n", rule.c_str(),
                    static_cast<unsigned long long>(row.runs),
                    static_cast<unsigned long long>(row.calls),
                    std::chrono::duration<double, std::milli>(row.time).count());
    }
}

} // namespace bench
