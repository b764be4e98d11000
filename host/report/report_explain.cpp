#include "report/report_explain.h"

#include "report/printable.h"
#include "report/report_reads.h"

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <sstream>

namespace host
{
namespace
{

using Row = std::vector<std::string>;

const char *word_for(engine::Verdict verdict)
{
    switch (verdict) {
    case engine::Verdict::kAccepted:
        return "accepted";
    case engine::Verdict::kWarning:
        return "warned";
    case engine::Verdict::kRejected:
        return "rejected";
    }
    return "?";
}

std::string milliseconds(std::chrono::nanoseconds time)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(2)
         << std::chrono::duration<double, std::milli>(time).count() << " ms";
    return text.str();
}

/** The first column and the last flush left, the numbers between them flush right. */
void print_table(std::ostream &out, const std::vector<Row> &rows)
{
    std::vector<std::size_t> widths(rows.front().size(), 0);
    for (const auto &row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    for (const auto &row : rows) {
        std::ostringstream line;
        line << "  " << std::left << std::setw(static_cast<int>(widths[0])) << row[0] << std::right;
        for (std::size_t i = 1; i + 1 < row.size(); ++i) {
            line << "  " << std::setw(static_cast<int>(widths[i])) << row[i];
        }
        line << "  " << row.back();
        const std::string text = line.str();
        out << text.substr(0, text.find_last_not_of(' ') + 1) << '\n';
    }
}

std::string causes_of(const RuleSummary &summary)
{
    const std::string &first = summary.causes.front();
    const std::string text = first.empty() ? "(asked at every commit)" : printable(first);
    const std::size_t others = summary.causes.size() - 1;
    return others == 0 ? text : text + " and " + std::to_string(others) + " more";
}

void print_rules(std::ostream &out, const std::vector<RuleSummary> &summaries,
                 const Outcome &outcome)
{
    std::vector<Row> rows{{"rule", "asked", "calls", "time", "verdict", "because of"}};
    std::size_t asked = 0;
    std::uint64_t calls = 0;
    std::chrono::nanoseconds time{0};
    for (const auto &summary : summaries) {
        rows.push_back({summary.rule, std::to_string(summary.instances),
                        std::to_string(summary.call_count), milliseconds(summary.time),
                        word_for(summary.verdict), causes_of(summary)});
        asked += summary.instances;
        calls += summary.call_count;
        time += summary.time;
    }
    rows.push_back({"total", std::to_string(asked), std::to_string(calls), milliseconds(time), "",
                    outcome.answered() == outcome.planned
                        ? ""
                        : "of " + std::to_string(outcome.planned) + " requests planned"});
    print_table(out, rows);
}

void print_calls(std::ostream &out, const std::vector<RuleSummary> &summaries)
{
    out << "Calls:\n";
    for (const auto &summary : summaries) {
        out << "  " << summary.rule << '\n';
        for (const auto &[name, count] : summary.calls) {
            out << "    " << std::setw(8) << count << "  " << name << '\n';
        }
    }
}

} // namespace

void print_explanation(std::ostream &out, const Outcome &outcome, const ExplanationDetail &detail)
{
    const auto summaries = summarise(outcome.runs);
    out << "Rules:\n";
    if (summaries.empty()) {
        out << "  none ran\n";
    } else {
        print_rules(out, summaries, outcome);
    }
    if (const auto reused = outcome.reused_count(); reused > 0) {
        out << "  answers used again: " << reused << '\n';
    }
    if (detail.calls && !summaries.empty()) {
        print_calls(out, summaries);
    }
    print_reads(out, outcome, detail.reads);
    out << "Times:\n";
    std::vector<Row> rows;
    std::chrono::nanoseconds total{0};
    for (const auto &phase : outcome.phases) {
        rows.push_back({phase.name, milliseconds(phase.time), ""});
        total += phase.time;
    }
    rows.push_back({"total", milliseconds(total), ""});
    print_table(out, rows);
}

} // namespace host
