#include "headroom/page_parts.h"

#include "report/markup.h"

#include <algorithm>
#include <cstdio>

namespace host
{
namespace
{

const char *class_of(Fullness fullness)
{
    switch (fullness) {
    case Fullness::kOver70:
        return "over70";
    case Fullness::kOver90:
        return "over90";
    case Fullness::kOver100:
        return "over100";
    case Fullness::kLow:
        break;
    }
    return "low";
}

std::string head(const std::string &title, bool is_number)
{
    return std::string("<th scope=\"col\"") + (is_number ? " class=\"n\">" : ">") + title + "</th>";
}

} // namespace

std::string section(const std::string &id, const std::string &title, const std::string &inside)
{
    return "<section aria-labelledby=\"" + id + "\">\n<h2 id=\"" + id + "\">" + title + "</h2>\n" +
           inside + "</section>\n";
}

std::string table(const std::string &caption, const Heads &heads, const std::string &rows)
{
    std::string markup = "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"" +
                         caption + "\">\n<table>\n<caption>" + caption + "</caption>\n<thead><tr>";
    for (const auto &[title, is_number] : heads) {
        markup += head(title, is_number);
    }
    return markup + "</tr></thead>\n<tbody>\n" + rows + "</tbody>\n</table>\n</div>\n";
}

std::string cell(const std::string &markup, bool is_number)
{
    return (is_number ? "<td class=\"n\">" : "<td>") + markup + "</td>";
}

std::string row_head(const std::string &text)
{
    return "<th scope=\"row\">" + escaped(text) + "</th>";
}

std::string row(const std::string &cells, bool has_changed)
{
    return (has_changed ? "<tr class=\"changed\">" : "<tr>") + cells + "</tr>\n";
}

std::string bar(std::uint64_t value, std::uint64_t limit, const std::string &unit)
{
    // The limit stands at 80 % of the width: what is above it has some room to show.
    constexpr double kLimitAt = 0.8;
    char width[32];
    std::snprintf(width, sizeof(width), "%.1f%%",
                  std::min(100.0, percent(value, limit) * kLimitAt));
    return std::string("<span class=\"") + class_of(fullness(value, limit)) + "\"><b>" +
           percent_text(value, limit) + "</b><span class=\"bar\" style=\"--w:" + width +
           "\"></span><span class=\"soft\">" + grouped(value) + " of " + grouped(limit) +
           (unit.empty() ? "" : " " + unit) + "</span></span>";
}

std::string bars(const std::uint64_t *before, std::uint64_t after, std::uint64_t limit,
                 const std::string &unit)
{
    if (before == nullptr || *before == after) {
        return bar(after, limit, unit);
    }
    return "<div class=\"pair\"><div class=\"was\">before " + bar(*before, limit, unit) +
           "</div><div>after " + bar(after, limit, unit) + "</div></div>";
}

std::string before_after(const std::string *before, const std::string &after)
{
    return before == nullptr || *before == after
               ? escaped(after)
               : "<del>" + escaped(*before) + "</del> <ins>" + escaped(after) + "</ins>";
}

std::string verdict_markup(const RuleVerdict &verdict)
{
    const bool is_good = verdict.state == RuleVerdict::State::kAccepted;
    return std::string("<span class=\"") + (is_good ? "good" : "bad") + "\">" +
           words_for(verdict.state) + "</span>" +
           (verdict.text.empty() ? "" : "<br>" + escaped(verdict.text));
}

} // namespace host
