#include "steps.h"

namespace soak
{
namespace
{

std::string profile(const std::string &inside)
{
    return "<profile><gpon>" + inside + "</gpon></profile>";
}

/** PON link 1/1/1. */
std::string link(const std::string &inside)
{
    return "<interface><gpon><chassis-id>1</chassis-id><slot-id>1</slot-id><port-id>1</port-id>" +
           inside + "</gpon></interface>";
}

std::string onu(int id, const std::string &inside)
{
    return link("<onu><onu-id>" + std::to_string(id) + "</onu-id>" + inside + "</onu>");
}

std::string service_port(int id, const std::string &onu_and_gem, const std::string &rest = "")
{
    return "<service-port><id>" + std::to_string(id) + "</id>" +
           (onu_and_gem.empty() ? "" : "<gpon><id>1/1/1</id>" + onu_and_gem + "</gpon>") + rest +
           "</service-port>";
}

std::string in_use(const std::string &rule, const std::string &list)
{
    return rule + ": Change in " + list +
           " configuration will result in temporary data loss for all ONUs using this profile.";
}

const std::string kLineInUse = in_use("line_confirmation_warning", "line-profile");
const std::string kRgInUse = in_use("rg_profile_confirmation_warning", "rg-profile");
const std::string kFec = "fec_confirmation_warning: The change in FEC configuration will result in "
                         "temporary data loss for all users of this GPON link.";
const std::string kOneShotSwitch =
    "one_shot_prov_check: The rg-one-shot-prov configuration will not be applied automatically to "
    "all ONUs using rg-profile. You shall force rg-one-shot-prov provision using the command "
    "'rg-reprovision' available on the onu configuration tree.";
const std::string kOneShotProfile =
    "rg_prof_one_shot_check: The rg-profile will not be provisioned automatically for this onu due "
    "to rg-one-shot-prov feature enabled. You shall force rg-profile reprovision using the command "
    "'rg-reprovision' available on the onu configuration tree.";
const std::string kCommitted = "config_modified_check: Changing already committed ";

std::vector<Step> link_and_bandwidth_steps()
{
    const std::string big =
        "<bandwidth-profile><name>big</name><traffic><type-2><assured>200000#</assured></type-2>"
        "</traffic></bandwidth-profile><line-profile><name>big</name><tcont><id>1</id>"
        "<bandwidth-profile>big</bandwidth-profile></tcont></line-profile>";
    return {
        {link("<downstream-fec>true</downstream-fec>"), {kFec}},
        {link("<downstream-fec>false</downstream-fec>"), {kFec}},
        {profile("<line-profile><name>a</name><gem><gem-id>3#</gem-id></gem></line-profile>"),
         {kLineInUse}},
        {profile("<line-profile><name>a</name><gem nc:operation=\"delete\"><gem-id>3#</gem-id>"
                 "</gem></line-profile>"),
         {kLineInUse}},
        {profile(big), {}},
        {onu(2, "<profile-references><line-profile>big</line-profile></profile-references>"),
         {"sp_gem_check: Service-port [2] gem [1] was not configured to onu [2]",
          "onu_bw_check: Total bandwidth exceeds GPON interface 1/1/1 capacity (1107504 "
          "kbits/s)\n"}},
        {profile("<bandwidth-profile><name>big</name><traffic><type-2><assured>1</assured></type-2>"
                 "</traffic></bandwidth-profile>"),
         {kCommitted + "profile is not allowed."}},
        {onu(2, "<profile-references><line-profile>none#</line-profile></profile-references>"),
         {"sp_gem_check: Service-port [2] gem [1] was not configured to onu [2]",
          "onu_bw_check: Line profile none# doesn't not exist."}},
        {profile("<line-profile nc:operation=\"delete\"><name>big</name></line-profile>"
                 "<bandwidth-profile nc:operation=\"delete\"><name>big</name></bandwidth-profile>"),
         {}},
    };
}

std::vector<Step> onu_steps()
{
    return {
        {onu(2, "<auth-method><serial-number>ABCD0000001#</serial-number></auth-method>"), {}},
        {onu(2, "<auth-method><serial-number>ABCD00000001</serial-number></auth-method>"),
         {"onu_pwd_sn_unique_check: ONU serial number must be unique.\n Repeated serial numbers:\n"
          "interface gpon 1 onu 1 serial-number: [ABCD00000001]\n"
          "interface gpon 1 onu 2 serial-number: [ABCD00000001]\n"}},
        {onu(2, "<snmp><real-time/></snmp>"), {}},
        {onu(2, "<snmp><real-time nc:operation=\"delete\"/></snmp>"), {}},
        {onu(1, "<management><default-gateway>10.0.0.2</default-gateway></management>"),
         {"onu_gateway_ip_check: Onu and Gateway IP addresses must have different values."}},
        {onu(1, "<management><default-gateway>10.0.0.10#</default-gateway></management>"), {}},
        {"<gpon><card>1/1</card><rg-one-shot-prov/></gpon>", {kOneShotSwitch}},
        {onu(1, "<rg-profile>b</rg-profile>"), {kOneShotProfile}},
        {onu(1, "<rg-profile>a</rg-profile>"), {kOneShotProfile}},
        {"<gpon><card>1/1</card><rg-one-shot-prov nc:operation=\"delete\"/></gpon>",
         {kOneShotSwitch}},
        {"<interface><gpon nc:operation=\"delete\"><chassis-id>1</chassis-id><slot-id>1</slot-id>"
         "<port-id>2</port-id></gpon></interface>",
         {"interface_validation: GPON interfaces cannot be deleted."}},
    };
}

std::vector<Step> service_port_steps()
{
    const std::string one = "<onu><id>1</id><gem><gem-id>1</gem-id></gem></onu>";
    const std::string other = "<onu><id>1</id><gem><gem-id>2</gem-id></gem></onu>";
    const std::string missing = "<onu><id>1</id><gem><gem-id>40#</gem-id></gem></onu>";
    const std::string vlan_10 = "<match><outer><vlan-id>10</vlan-id></outer></match>";
    const std::string two = "<onu><id>2</id><gem><gem-id>1</gem-id></gem></onu>";
    return {
        {service_port(1, "", "<description>changed #</description>"),
         {kCommitted + "service port is not allowed."}},
        {service_port(3, one, vlan_10),
         {"service_port_global_validation: Service-port \"1\" and \"3\" have conflicting "
          "matches."}},
        {service_port(3, missing),
         {"sp_gem_check: Service-port [3] gem [40#] was not configured to onu [1]"}},
        {service_port(3, other), {}},
        {"<service-port nc:operation=\"delete\"><id>1</id></service-port>"
         "<service-port nc:operation=\"delete\"><id>2</id></service-port>"
         "<service-port nc:operation=\"delete\"><id>3</id></service-port>",
         {"service_port_delete_all_warning_check: All Service Ports are being removed causing "
          "traffic stop for all ONUs. Are you sure you want to proceed?"}},
        {service_port(1, one, vlan_10) + service_port(2, two), {}},
    };
}

std::vector<Step> profile_steps()
{
    const auto rg_profile = [](const std::string &inside) {
        return profile("<rg-profile><name>a</name>" + inside + "</rg-profile>");
    };
    const std::string mapping =
        "<vlan-mapping><name>a</name><uni><ethernet>1</ethernet></uni><match><outer>"
        "<vlan-id>10</vlan-id><cos>1</cos></outer></match></vlan-mapping>";
    const std::string same_mapping =
        "<vlan-mapping><name>b</name><uni><ethernet>1</ethernet></uni><match><outer>"
        "<vlan-id>10</vlan-id><cos>1</cos></outer></match></vlan-mapping>";
    const std::string same_match =
        "vlan_match_check: It's not possible to configure two or more vlan rules with the same "
        "match.";
    return {
        {profile("<service-profile><name>new</name>" + mapping + same_mapping +
                 "</service-profile>"),
         {same_match, same_match}},
        {rg_profile("<wlan><id>3</id><ssid><custom>Home</custom></ssid></wlan>"),
         {"rg_profile_ssid_unique_check: There are two or more WLANs with the same SSID. SSID must "
          "be unique within the RG profile.",
          kRgInUse}},
        {rg_profile("<wlan><id>3</id><ssid><custom>Home #</custom></ssid></wlan>"), {kRgInUse}},
        {rg_profile("<wlan nc:operation=\"delete\"><id>3</id></wlan>"), {kRgInUse}},
        {rg_profile("<wan-ip-connection><name>c</name><itf-grouping><ipv4-address>10.0.2.10#/25"
                    "</ipv4-address></itf-grouping></wan-ip-connection>"),
         {"itf_grp_validation: Network 10.0.2.1/24 from WAN b conflicts with network "
          "10.0.2.10#/25 from WAN c",
          kRgInUse}},
        {profile("<tr069-acs-profile><name>a</name>"
                 "<password>$0$twenty-six-characters-are-#</password></tr069-acs-profile>"),
         {"tr069_profile_password_length_check: Invalid password length/size",
          in_use("tr069_profile_confirmation_warning", "tr069-acs-profile")}},
        {profile("<tr069-acs-profile><name>a</name><password>$0$secret#</password>"
                 "</tr069-acs-profile>"),
         {in_use("tr069_profile_confirmation_warning", "tr069-acs-profile")}},
        {profile("<sip-agent-profile><name>a</name><register-expires>10#</register-expires>"
                 "</sip-agent-profile>"),
         {in_use("sip_agent_profile_confirmation_warning", "sip-agent-profile")}},
        {profile("<media-profile><name>a</name><packet-period>2#</packet-period></media-profile>"),
         {in_use("voip_media_profile_confirmation_warning", "media-profile")}},
        {profile(
             "<sip-agent-profile><name>a</name><register-expires>3600</register-expires>"
             "</sip-agent-profile><media-profile><name>a</name><packet-period>30</packet-period>"
             "</media-profile>"),
         {in_use("sip_agent_profile_confirmation_warning", "sip-agent-profile"),
          in_use("voip_media_profile_confirmation_warning", "media-profile")}},
    };
}

} // namespace

const std::vector<Step> &round_of_steps()
{
    static const std::vector<Step> all = [] {
        std::vector<Step> steps;
        for (const auto &part :
             {link_and_bandwidth_steps(), onu_steps(), service_port_steps(), profile_steps()}) {
            steps.insert(steps.end(), part.begin(), part.end());
        }
        return steps;
    }();
    return all;
}

} // namespace soak
