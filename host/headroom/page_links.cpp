#include "headroom/page_parts.h"
#include "headroom/page_sections.h"
#include "report/markup.h"

namespace host
{
namespace
{

const LinkFigures *before_of(const Survey &survey, const LinkFigures &link)
{
    return survey.before ? find_link(*survey.before, link.port) : nullptr;
}

/** A member of a link before the change, if there is one. */
template <typename Get>
std::string both(const LinkFigures *before, const LinkFigures &link, const Get &get)
{
    const std::string was = before != nullptr ? get(*before) : "";
    return before_after(before != nullptr ? &was : nullptr, get(link));
}

bool has_changed(const LinkFigures &one, const LinkFigures &other)
{
    return one.onus != other.onus || one.guaranteed != other.guaranteed ||
           one.overhead != other.overhead || one.fixed != other.fixed ||
           one.maximum != other.maximum || one.missing != other.missing ||
           one.has_settings != other.has_settings;
}

std::string link_row(const Survey &survey, const LinkFigures &link)
{
    const Limits &limits = survey.figures.limits;
    const LinkFigures *before = before_of(survey, link);
    const std::uint64_t demand = before != nullptr ? before->demand() : 0;
    const std::uint64_t fixed = before != nullptr ? before->fixed : 0;
    const std::uint64_t onus = before != nullptr ? before->onus : 0;
    const auto was = [&](const std::uint64_t &figure) {
        return before != nullptr ? &figure : nullptr;
    };
    const bool is_new = survey.before && before == nullptr;
    const std::string remark = remark_on(link);
    return row(
        row_head(link.name + (is_new ? " (new)" : "")) +
            cell(bars(was(demand), link.demand(), limits.guaranteed, "kbit/s")) +
            cell(bars(was(fixed), link.fixed, limits.fixed, "kbit/s")) +
            cell(bars(was(onus), link.onus, limits.onus, "")) +
            cell(both(before, link,
                      [&](const LinkFigures &each) { return oversubscription(each, limits); }),
                 true) +
            cell(verdict_markup(verdict_on(survey, link)) +
                 (remark.empty() ? "" : "<br>" + escaped(remark))),
        is_new || (before != nullptr && has_changed(*before, link)));
}

std::string room_cell(const Survey &survey, const LinkFigures &link, std::size_t line)
{
    const std::string after = room_text(link.room[line]);
    const LinkFigures *before = before_of(survey, link);
    const std::size_t place = before != nullptr
                                  ? find_line(*survey.before, survey.figures.lines[line].name)
                                  : std::string::npos;
    if (place == std::string::npos || before->room[place] == link.room[line]) {
        return "<td class=\"n\">" + after + "</td>";
    }
    const std::string was = room_text(before->room[place]);
    return "<td class=\"n changed\">" + before_after(&was, after) + "</td>";
}

std::string shares_table(const LinkFigures &link, const Limits &limits)
{
    std::string rows;
    for (const Share &share : link.shares) {
        rows += row(row_head(share.line) + cell(std::to_string(share.onus), true) +
                    cell(grouped(share.guaranteed), true) +
                    cell(percent_text(share.guaranteed, limits.guaranteed), true));
    }
    return table("Line profiles on " + link.name + ", overhead included",
                 {{"Line profile", false}, {"ONUs", true}, {"kbit/s", true}, {"of the link", true}},
                 rows);
}

std::string onus_table(const LinkFigures &link)
{
    std::string rows;
    for (const OnuFigures &onu : link.largest) {
        rows += row(row_head("ONU " + std::to_string(onu.id)) +
                    cell(onu.line.empty() ? "none" : escaped(onu.line)) +
                    cell(onu.is_known ? grouped(onu.guaranteed) : "not known", true) +
                    cell(onu.is_known ? grouped(onu.fixed) : "not known", true));
    }
    return table("The largest ONUs on " + link.name + ", in kbit/s without overhead",
                 {{"ONU", false}, {"Line profile", false}, {"Guaranteed", true}, {"Fixed", true}},
                 rows);
}

} // namespace

std::string links_section(const Survey &survey)
{
    std::string rows;
    for (const LinkFigures &link : survey.figures.links) {
        rows += link_row(survey, link);
    }
    for (const LinkFigures &link : survey.before ? survey.before->links : survey.figures.links) {
        if (find_link(survey.figures, link.port) == nullptr) {
            rows += row(row_head(link.name) + "<td colspan=\"5\">removed</td>", true);
        }
    }
    return section("links", "PON links",
                   table("How full each PON link is; the line in a bar is the limit",
                         {{"PON link", false},
                          {"Guaranteed, with overhead", false},
                          {"Fixed", false},
                          {"ONUs", false},
                          {"Maximum rates", true},
                          {"Bandwidth check", false}},
                         rows));
}

std::string room_section(const Survey &survey)
{
    const Figures &figures = survey.figures;
    Heads heads{{"Line profile", false}};
    for (const LinkFigures &link : figures.links) {
        heads.emplace_back(link.name, true);
    }
    std::string rows;
    for (std::size_t line = 0; line < figures.lines.size(); ++line) {
        std::string cells = row_head(figures.lines[line].name);
        for (const LinkFigures &link : figures.links) {
            cells += room_cell(survey, link, line);
        }
        rows += row(cells);
    }
    return section(
        "more", "How many more",
        "<p class=\"soft\">ONUs with a line profile that can be added to a link, their overhead "
        "counted. The guaranteed rates keep out one more, or the fixed rates where an f stands. "
        "0 of 9: the rates of 9 would fit, but the link has as many ONUs as it may have. None: "
        "the link is rejected because of a line profile that does not exist.</p>\n" +
            table("ONUs more, by line profile and PON link", heads, rows));
}

std::string fill_section(const Survey &survey)
{
    std::string markup;
    for (const LinkFigures &link : survey.figures.links) {
        const std::string count = std::to_string(link.onus);
        markup += "<details><summary>" + escaped(link.name) + ": " + count + " ONUs, " +
                  percent_text(link.demand(), survey.figures.limits.guaranteed) +
                  " guaranteed</summary>\n<div class=\"columns\">\n" +
                  shares_table(link, survey.figures.limits) + onus_table(link) +
                  "</div>\n</details>\n";
    }
    return section("fill", "Who fills a link", markup);
}

} // namespace host
