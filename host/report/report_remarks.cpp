#include "report/report_remarks.h"

#include "report/printable.h"

#include <algorithm>
#include <map>
#include <ostream>
#include <sstream>
#include <tuple>

namespace host
{
namespace
{

constexpr std::size_t kMaxTexts = 20;  ///< Of objections, and of warnings.
constexpr std::size_t kMaxPlaces = 10; ///< Of one text.

/** Findings of one rule with one text. */
using Group = std::vector<const Finding *>;

bool is_remark(const Finding &finding)
{
    return finding.kind == Finding::Kind::kRejection || finding.kind == Finding::Kind::kWarning;
}

/** In the order of their first findings. */
std::vector<Group> group(const std::vector<Finding> &findings, Finding::Kind kind, bool new_only)
{
    std::vector<Group> groups;
    std::map<std::tuple<std::string, std::string, bool>, std::size_t> places;
    for (const Finding &finding : findings) {
        if (finding.kind != kind || (new_only && is_known(finding))) {
            continue;
        }
        const auto [place, is_first] =
            places.try_emplace({finding.id, finding.text, is_known(finding)}, groups.size());
        if (is_first) {
            groups.emplace_back();
        }
        groups[place->second].push_back(&finding);
    }
    return groups;
}

std::string word_for(const Finding &finding, const Style &style)
{
    if (finding.kind == Finding::Kind::kRejection) {
        return style.bad("rejected:");
    }
    return finding.severity == Severity::kError ? style.bad("error:") : style.warning("warning:");
}

bool is_same(const FileLocation &a, const FileLocation &b)
{
    return a.file == b.file && a.line == b.line && a.column == b.column;
}

/** One place that a text is about. @param last  The finding before it in the group; may be null. */
void print_place(std::ostream &out, const Finding &finding, const Finding *last, const Style &style)
{
    const auto &location = finding.evidence.location;
    const bool is_told = last == nullptr || is_same(location, last->evidence.location);
    out << "  " << (is_told ? "" : location_text(location, style)) << printable(finding.path)
        << " (" << finding.id << ")\n";
    const std::string cause = cause_of(finding);
    if (!cause.empty() &&
        (last == nullptr || cause != cause_of(*last) || cause.rfind("because it ", 0) == 0)) {
        out << "  " << printable(cause) << '\n';
    }
}

void print_more(std::ostream &out, const char *indent, std::size_t count)
{
    out << indent << "and " << count << " more (--all=full)\n";
}

void print_group(std::ostream &out, const Group &group, const Style &style, bool full)
{
    const Finding &first = *group.front();
    std::istringstream lines(first.text);
    std::string line;
    std::getline(lines, line);
    out << location_text(first.evidence.location, style) << word_for(first, style) << ' '
        << printable(line);
    out << (group.size() > 1 ? " (" + std::to_string(group.size()) + " times)" : "") << '\n';
    while (std::getline(lines, line)) {
        out << "    " << printable(line) << '\n';
    }
    const std::size_t shown = full ? group.size() : std::min(group.size(), kMaxPlaces);
    for (std::size_t i = 0; i < shown; ++i) {
        print_place(out, *group[i], i > 0 ? group[i - 1] : nullptr, style);
    }
    if (shown < group.size()) {
        print_more(out, "  ", group.size() - shown);
    }
    if (is_known(first)) {
        out << "  not new: the running configuration draws it as well\n";
    }
    if (!first.help.empty()) {
        out << "  to resolve: " << printable(first.help) << '\n';
    }
}

void print_kind(std::ostream &out, const std::vector<Finding> &findings, Finding::Kind kind,
                const Style &style, const TextDetail &detail)
{
    const auto groups = group(findings, kind, detail.new_only && !detail.full);
    std::size_t left = 0;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (i < kMaxTexts || detail.full) {
            print_group(out, groups[i], style, detail.full);
        } else {
            left += groups[i].size();
        }
    }
    if (left > 0) {
        print_more(out, "", left);
    }
}

} // namespace

std::string location_text(const FileLocation &location, const Style &style)
{
    std::string text = location.file.empty() ? "" : style.strong(printable(location.file)) + ":";
    if (location.line != 0) {
        text += std::to_string(location.line) + ":";
        text += location.column != 0 ? std::to_string(location.column) + ":" : "";
    }
    return text.empty() ? "" : text + " ";
}

void print_remarks(std::ostream &out, const std::vector<Finding> &findings, const Style &style,
                   const TextDetail &detail)
{
    print_kind(out, findings, Finding::Kind::kRejection, style, detail);
    print_kind(out, findings, Finding::Kind::kWarning, style, detail);
    const auto known = std::count_if(findings.begin(), findings.end(), [](const Finding &finding) {
        return is_remark(finding) && is_known(finding);
    });
    if (detail.new_only && !detail.full && known > 0) {
        out << "Not new, because the running configuration draws it as well: " << known
            << (known == 1 ? " remark" : " remarks") << " (--all=full).\n";
    }
}

} // namespace host
