#include "fleet/fleet_summary.h"

#include "fleet/fleet_run.h"
#include "report/finding.h"
#include "report/printable.h"
#include "report/report_json.h"
#include "report/report_text.h"

#include <algorithm>
#include <array>
#include <iomanip>
#include <ostream>
#include <set>
#include <vector>

namespace host
{
namespace
{

using Json = nlohmann::ordered_json;
using Remark = std::pair<std::string, std::string>;
constexpr int kCountWidth = 8;

/** The most frequent first. */
template <typename Remarks>
std::vector<std::pair<Remark, std::size_t>> by_count(const Remarks &remarks)
{
    std::vector<std::pair<Remark, std::size_t>> sorted(remarks.begin(), remarks.end());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto &one, const auto &other) { return one.second > other.second; });
    return sorted;
}

template <typename Remarks>
void print_remarks(std::ostream &out, const std::string &heading, const Remarks &remarks)
{
    constexpr std::size_t kMostTold = 20;
    if (remarks.empty()) {
        return;
    }
    out << heading << '\n';
    std::size_t told = 0;
    for (const auto &[remark, count] : by_count(remarks)) {
        if (told++ == kMostTold) {
            out << "    and " << remarks.size() - kMostTold << " others\n";
            return;
        }
        out << std::setw(kCountWidth) << count << "  " << printable(remark.first) << ": "
            << printable(remark.second) << '\n';
    }
}

template <typename Remarks>
Json remarks_json(const Remarks &remarks, const char *key)
{
    Json array = Json::array();
    for (const auto &[remark, count] : by_count(remarks)) {
        array.push_back({{key, remark.first}, {"text", remark.second}, {"cards", count}});
    }
    return array;
}

} // namespace

void FleetSummary::add(const ResultLine &line)
{
    const Result result = line.outcome.result();
    ++m_cards[result];
    m_worst = worse_of(m_worst, result);
    std::set<std::pair<Finding::Kind, Remark>> seen;
    for (const auto &finding : findings_of(line.outcome)) {
        const Remark remark(finding.id, pattern_of(finding.id, finding.text));
        if (!seen.emplace(finding.kind, remark).second) {
            continue;
        }
        switch (finding.kind) {
        case Finding::Kind::kRejection:
            ++m_rejections[remark];
            break;
        case Finding::Kind::kWarning:
            ++m_warnings[remark];
            break;
        case Finding::Kind::kProblem:
        case Finding::Kind::kDeath:
            ++m_failures[remark];
            break;
        case Finding::Kind::kUncheckedLink:
        case Finding::Kind::kSkipped:
            break;
        }
    }
}

void FleetSummary::print(std::ostream &out, const Style &style) const
{
    std::size_t total = 0;
    for (const auto &[result, count] : m_cards) {
        total += count;
    }
    out << style.strong(std::to_string(total) + (total == 1 ? " card: " : " cards: "));
    const char *separator = "";
    for (const auto &[result, count] : m_cards) {
        out << separator << count << ' ' << words_for(result);
        separator = ", ";
    }
    out << ".\n";
    print_remarks(out, style.bad("Rejected:"), m_rejections);
    print_remarks(out, style.warning("Warnings:"), m_warnings);
    print_remarks(out, style.bad("Not checked:"), m_failures);
}

Json FleetSummary::to_json() const
{
    Json results = Json::object();
    for (const Result result : kAllResults) {
        const auto found = m_cards.find(result);
        results[name_of(result)] = found != m_cards.end() ? found->second : 0;
    }
    return {{"result", name_of(m_worst)},
            {"exit-code", static_cast<int>(m_worst)},
            {"cards", results},
            {"rejections", remarks_json(m_rejections, "rule")},
            {"warnings", remarks_json(m_warnings, "rule")},
            {"failures", remarks_json(m_failures, "fault")}};
}

void print_slowest(std::ostream &out, const std::vector<CardTime> &cards, const Style &style)
{
    constexpr std::size_t kMostTold = 5;
    constexpr std::size_t kFewestCards = 10; // Of fewer, each is among the slowest.
    if (cards.size() < kFewestCards) {
        return;
    }
    out << style.strong("Slowest:") << '\n';
    for (std::size_t i = 0; i < kMostTold; ++i) {
        const auto seconds = std::chrono::duration<double>(cards[i].time).count();
        out << std::setw(kCountWidth) << std::fixed << std::setprecision(3) << seconds << " s  "
            << printable(cards[i].name) << '\n';
    }
}

} // namespace host
