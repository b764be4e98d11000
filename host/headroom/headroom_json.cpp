#include "headroom/headroom_json.h"

#include "headroom/fullness.h"
#include "report/report_json.h"
#include "report/words.h"

namespace host
{
namespace
{

using Json = nlohmann::ordered_json;

Json json_verdict(const RuleVerdict &verdict)
{
    Json json{{"state", name_of(verdict.state)}};
    if (!verdict.text.empty()) {
        json["text"] = verdict.text;
    }
    return json;
}

const char *name_of(RoomLimit limit)
{
    switch (limit) {
    case RoomLimit::kGuaranteed:
        return "guaranteed";
    case RoomLimit::kFixed:
        return "fixed";
    case RoomLimit::kOnus:
        return "onus";
    case RoomLimit::kMissingLine:
        break;
    }
    return "missing-line-profile";
}

Json json_limits(const Limits &limits)
{
    return {{"bandwidth_check", limits.do_bw_check},
            {"guaranteed", limits.guaranteed},
            {"fixed", limits.fixed},
            {"overhead_per_onu", limits.overhead_per_onu},
            {"onus_per_link", limits.onus},
            {"static_tconts", limits.static_tconts},
            {"dynamic_tconts", limits.dynamic_tconts},
            {"service_ports", limits.service_ports},
            {"vlan_mappings_per_port", limits.vlan_mappings},
            {"real_time_onus", limits.real_time_onus}};
}

Json json_onus(const LinkFigures &link)
{
    Json onus = Json::array();
    for (const OnuFigures &onu : link.largest) {
        Json json{{"onu", onu.id}, {"line_profile", onu.line}};
        if (onu.is_known) {
            json["guaranteed"] = onu.guaranteed;
            json["fixed"] = onu.fixed;
        }
        onus.push_back(std::move(json));
    }
    return onus;
}

/** Columns, not objects: there is one for each line profile and link. */
Json json_room(const LinkFigures &link)
{
    Json onus = Json::array();
    Json by_bandwidth = Json::array();
    Json limits = Json::array();
    for (const Room &room : link.room) {
        onus.push_back(room.more);
        by_bandwidth.push_back(room.by_bandwidth);
        limits.push_back(name_of(room.limit));
    }
    Json json;
    json["onus"] = std::move(onus);
    json["by_bandwidth"] = std::move(by_bandwidth);
    json["limited_by"] = std::move(limits);
    return json;
}

Json json_link(const LinkFigures &link)
{
    Json json{{"link", link.name},         {"settings", link.has_settings},
              {"onus", link.onus},         {"guaranteed", link.guaranteed},
              {"overhead", link.overhead}, {"fixed", link.fixed},
              {"maximum", link.maximum},   {"missing_line_profiles", link.missing}};
    Json shares = Json::array();
    for (const Share &share : link.shares) {
        shares.push_back({{"line_profile", share.line},
                          {"onus", share.onus},
                          {"guaranteed_with_overhead", share.guaranteed}});
    }
    json["shares"] = std::move(shares);
    json["largest_onus"] = json_onus(link);
    json["room"] = json_room(link);
    return json;
}

Json json_lines(const Figures &figures)
{
    Json lines = Json::array();
    for (const LineFigures &line : figures.lines) {
        lines.push_back({{"name", line.name},
                         {"onus", line.onus},
                         {"guaranteed", line.guaranteed},
                         {"fixed", line.fixed},
                         {"maximum", line.maximum},
                         {"static_tconts", line.static_tconts},
                         {"dynamic_tconts", line.dynamic_tconts},
                         {"missing_bandwidth_profiles", line.missing}});
    }
    return lines;
}

Json json_figures(const Figures &figures)
{
    Json json{{"links", Json::array()}};
    for (const LinkFigures &link : figures.links) {
        json["links"].push_back(json_link(link));
    }
    json["line_profiles"] = json_lines(figures);
    json["service_ports"] = figures.service_ports;
    json["real_time_onus"] = figures.real_time_onus;
    json["vlan_mappings"] = Json::array();
    for (const VlanFigures &vlan : figures.vlans) {
        json["vlan_mappings"].push_back({{"service_profile", vlan.profile},
                                         {"port", port_name(vlan)},
                                         {"mappings", vlan.mappings}});
    }
    json["unused_profiles"] = Json::array();
    for (const UnusedProfile &profile : figures.unused) {
        json["unused_profiles"].push_back({{"list", profile.kind}, {"name", profile.name}});
    }
    json["near_collisions"] = Json::array();
    for (const NearCollision &near : figures.near_collisions) {
        Json entry{{"of", near.is_password ? "password" : "serial-number"}, {"onus", near.onus}};
        if (!near.is_password) {
            entry["serial_number"] = near.serial_number;
        }
        json["near_collisions"].push_back(std::move(entry));
    }
    return json;
}

Json json_verdicts(const Survey &survey)
{
    const Outcome &outcome = survey.outcome;
    Json links = Json::array();
    for (const LinkFigures &link : survey.figures.links) {
        Json json = json_verdict(verdict_on(survey, link));
        json["link"] = link.name;
        links.push_back(std::move(json));
    }
    return {{"links", std::move(links)},
            {"card_bandwidth", json_verdict(verdict_of(outcome, kCardBandwidthRule))},
            {"service_ports", json_verdict(verdict_of(outcome, kServicePortRule))},
            {"vlan_mappings", json_verdict(verdict_of(outcome, kVlanRule))},
            {"real_time_onus", json_verdict(verdict_of(outcome, kRealTimeRule))}};
}

} // namespace

nlohmann::ordered_json json_survey(const Survey &survey)
{
    const Outcome &outcome = survey.outcome;
    Json json{{"running", outcome.running}};
    if (outcome.form != ChangeForm::kNone) {
        json[outcome.form == ChangeForm::kEdit ? "edit" : "candidate"] = outcome.change;
    }
    json["limits"] = json_limits(survey.figures.limits);
    if (survey.before || survey.lacks_change()) {
        json["before"] = json_figures(survey.before ? *survey.before : survey.figures);
    }
    if (!survey.lacks_change()) {
        json["figures"] = json_figures(survey.figures);
        json["verdicts"] = json_verdicts(survey);
    }
    json["problems"] = json_problems(outcome.problems);
    if (outcome.death) {
        json["plugin_died"] = sentence(*outcome.death);
    }
    if (!outcome.skipped.empty()) {
        json["skipped"] = json_skipped(outcome.skipped);
    }
    return json;
}

} // namespace host
