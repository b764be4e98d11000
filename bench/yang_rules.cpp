#include "yang_rules.h"

#include "bandwidth_helpers.h"
#include "card.h"
#include "card_model.h"
#include "engine/schema/schema_loader.h"
#include "tags.h"

#include <stdexcept>
#include <string_view>

namespace bench
{
namespace
{

// ---- Changes to a card's text -------------------------------------------------------------------

std::size_t find(const std::string &xml, std::string_view what, std::size_t from = 0)
{
    const auto at = xml.find(what, from);
    if (at == std::string::npos) {
        throw std::logic_error("the card has no " + std::string(what));
    }
    return at;
}

/** What stands between two pieces of text, the first one behind `from`. */
struct Span {
    std::size_t begin;
    std::size_t end;
    std::string of(const std::string &xml) const { return xml.substr(begin, end - begin); }
};

Span between(const std::string &xml, std::size_t from, std::string_view open,
             std::string_view close)
{
    const auto begin = find(xml, open, from) + open.size();
    return {begin, find(xml, close, begin)};
}

void replace(std::string &xml, Span span, std::string_view with)
{
    xml.replace(span.begin, span.end - span.begin, with);
}

void repeat_serial_number(std::string &xml)
{
    const auto first = between(xml, 0, "<serial-number>", "<").of(xml);
    replace(xml, between(xml, xml.rfind("<serial-number>"), "<serial-number>", "<"), first);
}

void repeat_match(std::string &xml)
{
    const auto first = between(xml, find(xml, "<service-port>"), "</id>", "<action>").of(xml);
    replace(xml, between(xml, xml.rfind("<service-port>"), "</id>", "<action>"), first);
}

void overbook(std::string &xml)
{
    replace(xml, between(xml, find(xml, "<type-2>"), "<assured>", "<"), "1200000");
}

void repeat_ssid(std::string &xml)
{
    replace(xml, between(xml, 0, "<custom>", "<"), "home-KQTA12345678");
}

/** All ONUs have line profile 1. */
void use_first_line_profile(std::string &xml)
{
    constexpr std::string_view kReferences = "<profile-references>";
    for (auto at = xml.find(kReferences); at != std::string::npos; at = xml.find(kReferences, at)) {
        at += kReferences.size();
        replace(xml, between(xml, at, "<line-profile>", "<"), "line-001");
    }
}

/** All line profiles but the first one are being edited. */
void edit_unused_line_profiles(std::string &xml)
{
    use_first_line_profile(xml);
    constexpr std::string_view kProfile = "<line-profile>\n";
    auto at = find(xml, kProfile) + kProfile.size();
    for (at = xml.find(kProfile, at); at != std::string::npos; at = xml.find(kProfile, at)) {
        at = find(xml, "</name>", at) + std::string_view("</name>").size();
        xml.insert(at, "<edited/>");
    }
}

void edit_first_line_profile(std::string &xml)
{
    const auto at = find(xml, "</name>", find(xml, "<line-profile>\n"));
    xml.insert(at + std::string_view("</name>").size(), "<edited/>");
}

// ---- The statements -----------------------------------------------------------------------------

constexpr const char *kProfiles = "base-profiles";
constexpr const char *kInterfaces = "base-interfaces";
constexpr const char *kServicePorts = "base-service-ports";

constexpr const char *kOnuList = "key \"onu-id\";";
constexpr const char *kLinkList = "key \"chassis-id slot-id port-id\";";
constexpr const char *kServicePortList = "list service-port {\n      key \"id\";";
constexpr const char *kLineProfileList = "list line-profile {\n      key \"name\";";
constexpr const char *kTcontList = "list tcont {\n        key \"id\";";
constexpr const char *kWlanList = "list wlan {\n        key \"id\";";

YangRule serial_numbers()
{
    constexpr const char *kMust = R"yang(
        must "not(auth-method/serial-number) or
              count(/config/interface/gpon/onu[auth-method/serial-number =
                    current()/auth-method/serial-number]) = 1";)yang";
    YangRule rule{
        "serial number unique (must)", "onu_pwd_sn_unique_check", {}, {}, {}, {}, {}, kFullCard};
    rule.insertions = {{kInterfaces, kOnuList, kMust}};
    rule.spoil = repeat_serial_number;
    return rule;
}

YangRule service_port_unique()
{
    constexpr const char *kUnique = R"yang(
        unique "gpon/id gpon/onu/id gpon/onu/gem/gem-id match/outer/vlan-id";)yang";
    YangRule rule{"service ports apart (unique)",
                  "service_port_global_validation",
                  {},
                  {},
                  {},
                  {},
                  {},
                  kFullCard};
    rule.insertions = {{kServicePorts, kServicePortList, kUnique}};
    rule.spoil = repeat_match;
    return rule;
}

YangRule service_port_must()
{
    constexpr const char *kMust = R"yang(
        must "count(../service-port[gpon/onu/id = current()/gpon/onu/id and
                                    gpon/id = current()/gpon/id and
                                    gpon/onu/gem/gem-id = current()/gpon/onu/gem/gem-id and
                                    string(number(match/outer/vlan-id)) =
                                    string(number(current()/match/outer/vlan-id))]) = 1";)yang";
    YangRule rule{"service ports apart (must)",
                  "service_port_global_validation",
                  {},
                  {},
                  {},
                  {},
                  {},
                  kFullCard};
    rule.insertions = {{kServicePorts, kServicePortList, kMust}};
    rule.most_links = 4;
    rule.spoil = repeat_match;
    return rule;
}

/** Node sets hold a profile once, however many ONUs refer to it: sums need a leaf at each ONU. */
YangRule link_bandwidth()
{
    constexpr const char *kTcont = R"yang(
        leaf guaranteed-rate {
          type rate;
          mandatory true;
          must ". = sum(/config/profile/gpon/bandwidth-profile[name = current()/../bandwidth-profile]
                        /traffic/type-1/fixed |
                        /config/profile/gpon/bandwidth-profile[name = current()/../bandwidth-profile]
                        /traffic/*/assured)";
        }
        leaf fixed-rate {
          type rate;
          mandatory true;
          must ". = sum(/config/profile/gpon/bandwidth-profile[name = current()/../bandwidth-profile]
                        /traffic/*/fixed)";
        })yang";
    constexpr const char *kLineProfile = R"yang(
        leaf guaranteed-rate {
          type rate;
          mandatory true;
          must ". = sum(../tcont/guaranteed-rate)";
        }
        leaf fixed-rate {
          type rate;
          mandatory true;
          must ". = sum(../tcont/fixed-rate)";
        })yang";
    constexpr const char *kOnu = R"yang(
        leaf guaranteed-rate {
          type uint32;
          mandatory true;
          must ". = /config/profile/gpon/line-profile[name =
                    current()/../profile-references/line-profile]/guaranteed-rate";
        }
        leaf fixed-rate {
          type uint32;
          mandatory true;
          must ". = /config/profile/gpon/line-profile[name =
                    current()/../profile-references/line-profile]/fixed-rate";
        })yang";
    constexpr const char *kLink = R"yang(
        must "sum(onu/guaranteed-rate) + 560 * count(onu) <= 1107504";
        must "sum(onu/fixed-rate) <= 442752";)yang";
    YangRule rule{"bandwidth of a link (must)", "ponlink_bw_check", {}, {}, {}, {}, {}, kFullCard};
    rule.insertions = {{kProfiles, kTcontList, kTcont},
                       {kProfiles, kLineProfileList, kLineProfile},
                       {kInterfaces, kOnuList, kOnu},
                       {kInterfaces, kLinkList, kLink}};
    rule.spoil = overbook;
    rule.complete = fill_in_rates;
    return rule;
}

/** YANG sees no change: a leaf must say that a profile is being edited. */
YangRule profile_in_use()
{
    constexpr const char *kEdited = R"yang(
        leaf edited {
          type empty;
          must "not(/config/interface/gpon/onu[profile-references/line-profile =
                    current()/../name])";
        })yang";
    YangRule rule{
        "edited profile in use (must)", "line_confirmation_warning", {}, {}, {}, {}, {}, kFullCard};
    rule.insertions = {{kProfiles, kLineProfileList, kEdited}};
    rule.prepare = edit_unused_line_profiles;
    rule.spoil = edit_first_line_profile;
    rule.asks_about = [](const std::string &path, bool is_spoilt) {
        return is_spoilt || path.find("{line-001}") == std::string::npos;
    };
    return rule;
}

YangRule ssid_unique()
{
    constexpr const char *kMust = R"yang(
        must "count(../wlan[concat(ssid/custom, ssid/auto/prefix,
                substring('KQTA12345678', 1, 12 * count(ssid/auto/onu-serial-number)),
                ssid/auto/suffix) =
              concat(current()/ssid/custom, current()/ssid/auto/prefix,
                substring('KQTA12345678', 1, 12 * count(current()/ssid/auto/onu-serial-number)),
                current()/ssid/auto/suffix)]) = 1";)yang";
    YangRule rule{
        "SSID unique (must)", "rg_profile_ssid_unique_check", {}, {}, {}, {}, {}, kFullCard};
    rule.insertions = {{kProfiles, kWlanList, kMust}};
    rule.spoil = repeat_ssid;
    return rule;
}

} // namespace

const std::vector<YangRule> &yang_rules()
{
    static const std::vector<YangRule> rules = {serial_numbers(),    service_port_unique(),
                                                service_port_must(), link_bandwidth(),
                                                profile_in_use(),    ssid_unique()};
    return rules;
}

std::shared_ptr<const engine::Schema> schema_with(const YangRule &rule)
{
    engine::ModelSource source;
    for (const auto &text : model::yang_texts()) {
        source.texts.push_back({std::string(text.name), std::string(text.text)});
    }
    for (const Insertion &insertion : rule.insertions) {
        for (auto &[name, yang] : source.texts) {
            if (name == insertion.submodule) {
                const auto at = find(yang, insertion.behind);
                yang.insert(at + std::string_view(insertion.behind).size(), insertion.text);
            }
        }
    }
    source.main_module = model::kMainModule;
    source.ns = model::kNamespaceTag;
    source.tag_of = model::tag_of;
    return engine::load_schema(source);
}

} // namespace bench
