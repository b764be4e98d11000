#include "rules.h"

#include <algorithm>

namespace host
{

const std::array<Rule, 23> kRules{{
    {"onu_bw_check", "The ONUs' guaranteed and fixed upstream rates fit into their PON link."},
    {"ponlink_bw_check",
     "T-CONTs of each type in each line profile; upstream rates of every PON link."},
    {"config_modified_check",
     "Committed bandwidth and service profiles and service ports are replaced, never edited."},
    {"onu_gateway_ip_check",
     "An ONU's address and its default gateway differ and lie in one network."},
    {"vlan_match_check", "No two VLAN mappings of a port match the same frames."},
    {"vlan_limit_check", "At most 20 VLAN mappings for each Ethernet port and for the VEIP."},
    {"onu_pwd_sn_unique_check",
     "ONU serial numbers are unique on the card, or ONU passwords on their PON link."},
    {"fec_confirmation_warning", "Asks before a change of FEC interrupts a PON link."},
    {"line_confirmation_warning", "Asks before a line profile in use is changed."},
    {"rg_profile_confirmation_warning", "Asks before an RG profile in use is changed."},
    {"tr069_profile_confirmation_warning", "Asks before a TR-069 ACS profile in use is changed."},
    {"tr069_profile_password_length_check", "A TR-069 ACS password has at most 25 characters."},
    {"rg_profile_ssid_unique_check",
     "Every WLAN of an RG profile has an SSID, and no two have the same one."},
    {"sp_gem_check", "A service port's ONU exists, and its line profile has the GEM port."},
    {"service_port_global_validation",
     "No two service ports match the same traffic; at most 4096 service ports."},
    {"service_port_delete_all_warning_check", "Asks before all service ports are removed."},
    {"onu_snmp_rt_warn", "Asks when more than 128 ONUs are monitored in real time over SNMP."},
    {"sip_agent_profile_confirmation_warning",
     "Asks before a SIP agent profile in use is changed."},
    {"itf_grp_validation",
     "Interface groupings of an RG profile share no port, no network, and have sound DHCP pools."},
    {"interface_validation", "GPON interfaces of the card are not deleted."},
    {"voip_media_profile_confirmation_warning", "Asks before a media profile in use is changed."},
    {"one_shot_prov_check",
     "Tells that a change of one-shot provisioning does not reach provisioned gateways by itself."},
    {"rg_prof_one_shot_check",
     "Tells that under one-shot provisioning a new RG profile does not reach the ONU by itself."},
}};

std::string_view what_guards(std::string_view key)
{
    const auto found = std::find_if(kRules.begin(), kRules.end(),
                                    [key](const Rule &rule) { return rule.key == key; });
    return found != kRules.end() ? found->guards : std::string_view();
}

} // namespace host
