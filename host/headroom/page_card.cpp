#include "headroom/page_parts.h"
#include "headroom/page_sections.h"
#include "report/markup.h"

#include <algorithm>
#include <map>

namespace host
{
namespace
{

std::string limit_row(const Survey &survey, const char *name, std::uint32_t Figures::*member,
                      std::uint32_t limit, const char *rule)
{
    const std::uint64_t after = survey.figures.*member;
    const std::uint64_t before = survey.before ? (*survey.before).*member : after;
    return row(row_head(name) + cell(bars(&before, after, limit, "")) +
                   cell(verdict_markup(verdict_of(survey.outcome, rule))),
               before != after);
}

std::string limits_table(const Survey &survey)
{
    const Limits &limits = survey.figures.limits;
    return table("What the card limits as a whole",
                 {{"What", false}, {"How many", false}, {"Rule", false}},
                 limit_row(survey, "Service ports", &Figures::service_ports, limits.service_ports,
                           kServicePortRule) +
                     limit_row(survey, "ONUs monitored in real time", &Figures::real_time_onus,
                               limits.real_time_onus, kRealTimeRule));
}

std::string vlan_table(const Survey &survey)
{
    constexpr std::size_t kFullest = 10;
    const auto &vlans = survey.figures.vlans;
    std::string rows;
    for (std::size_t i = 0; i < std::min(kFullest, vlans.size()); ++i) {
        const VlanFigures &vlan = vlans[i];
        std::uint64_t was = vlan.mappings;
        for (const VlanFigures &before : survey.before ? survey.before->vlans : vlans) {
            was = before.profile == vlan.profile ? before.mappings : was;
        }
        rows += row(row_head(vlan.profile) + cell(port_name(vlan)) +
                        cell(bars(&was, vlan.mappings, survey.figures.limits.vlan_mappings, "")),
                    was != vlan.mappings);
    }
    if (rows.empty()) {
        return "<p>No service profile has VLAN mappings.</p>\n";
    }
    return table("VLAN mappings of the fullest service profiles",
                 {{"Service profile", false}, {"Fullest port", false}, {"Mappings", false}}, rows) +
           "<p>VLAN rule: " + verdict_markup(verdict_of(survey.outcome, kVlanRule)) + "</p>\n";
}

std::string collisions_table(const Figures &figures)
{
    if (figures.near_collisions.empty()) {
        return "<p>No serial numbers or passwords differ in case only.</p>\n";
    }
    std::string rows;
    for (const NearCollision &near : figures.near_collisions) {
        std::string onus;
        for (const auto &onu : near.onus) {
            onus += (onus.empty() ? "" : ", ") + onu;
        }
        rows += row(row_head(near.is_password ? "passwords" : "serial numbers") +
                    cell(near.is_password ? "not shown" : escaped(near.serial_number)) +
                    cell(escaped(onus)));
    }
    return table("Serial numbers and passwords that differ in case only",
                 {{"What", false}, {"In lower case", false}, {"ONUs", false}}, rows);
}

std::string unused_lists(const Figures &figures)
{
    std::map<std::string, std::string> lists;
    std::map<std::string, std::size_t> counts;
    for (const UnusedProfile &profile : figures.unused) {
        lists[profile.kind] += "<li>" + escaped(profile.name) + "</li>";
        ++counts[profile.kind];
    }
    std::string markup = lists.empty() ? "<p>Every profile is used.</p>\n" : "";
    for (const auto &[kind, names] : lists) {
        markup += "<details><summary>" + escaped(kind) + ": " + std::to_string(counts[kind]) +
                  " that nobody uses</summary>\n<ul class=\"names\">" + names + "</ul></details>\n";
    }
    return markup;
}

std::string tconts(std::uint32_t count, std::uint32_t limit)
{
    const std::string text = std::to_string(count) + " of " + std::to_string(limit);
    return count > limit ? "<span class=\"over100\"><b>" + text + "</b></span>" : text;
}

} // namespace

std::string card_section(const Survey &survey)
{
    return section("card", "Card",
                   limits_table(survey) + vlan_table(survey) + collisions_table(survey.figures) +
                       "<h3>Profiles that nobody uses</h3>\n" + unused_lists(survey.figures));
}

std::string lines_section(const Survey &survey)
{
    const Limits &limits = survey.figures.limits;
    std::string rows;
    for (const LineFigures &line : survey.figures.lines) {
        std::string missing;
        for (const auto &name : line.missing) {
            missing += "<br><span class=\"bad\">bandwidth profile " + escaped(name) +
                       " does not exist</span>";
        }
        rows += row("<th scope=\"row\">" + escaped(line.name) + missing + "</th>" +
                    cell(std::to_string(line.onus), true) + cell(grouped(line.guaranteed), true) +
                    cell(grouped(line.fixed), true) + cell(grouped(line.maximum), true) +
                    cell(tconts(line.static_tconts, limits.static_tconts), true) +
                    cell(tconts(line.dynamic_tconts, limits.dynamic_tconts), true));
    }
    return section("lines", "Line profiles",
                   "<p>T-CONT rule: " +
                       verdict_markup(verdict_of(survey.outcome, kCardBandwidthRule)) + "</p>\n" +
                       table("What an ONU of each line profile asks, in kbit/s without overhead",
                             {{"Line profile", false},
                              {"ONUs", true},
                              {"Guaranteed", true},
                              {"Fixed", true},
                              {"Maximum", true},
                              {"Static T-CONTs", true},
                              {"Dynamic T-CONTs", true}},
                             rows));
}

} // namespace host
