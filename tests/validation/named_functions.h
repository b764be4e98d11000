/** The functions in whose name the library writes trace lines, by source. */
#pragma once

#include <zlog_host.h>

#include <map>
#include <set>
#include <string>

inline bool is_from_a_named_function(const zlog_host::Line &line)
{
    static const std::map<std::string, std::set<std::string>> functions = {
        {"gpon_bw_limit",
         {"loadBwProf", "loadAllBws", "loadAllTconts", "loadAllLines", "validate_ponlink_bw",
          "validate_max_bandwidth_ponlink", "validate_max_bandwidth_global"}},
        {"gpon_card_valid",
         {"validate", "diff_iter", "validate_one_shot_prov", "is_rg_profile_in_use"}},
        {"gpon_itf_grp_validation",
         {"validate_itf_grp_ports", "check_port_vlan", "validate_itf_grp_net",
          "validate_itf_grp_dhcp"}},
        {"gpon_itf_valid", {"validate_itf_gpon"}},
        {"gpon_line_profile_confirm", {"line_profile_confirmation"}},
        {"gpon_onu_rg_profile_validation", {"diff_iter_rg", "validate_rg_prof_one_shot"}},
        {"gpon_onu_snmp_rt_confirm", {"onu_snmp_rt_confirmation"}},
        {"gpon_ponlink_fec_confirm", {"ponlink_fec_confirmation"}},
        {"gpon_rg_profile_validation",
         {"rg_profile_confirmation", "rg_profile_ssid_unique_check_func"}},
        {"gpon_sip_agent_validation", {"sip_agent_profile_confirmation"}},
        {"gpon_tr069_profile_validation", {"tr069_profile_confirmation"}},
        {"gpon_voip_media_profile_validation", {"voip_media_profile_confirmation"}},
        {"valid_service_port",
         {"sp_get_id_values", "validate_sp_gem_check", "service_port_get_leafs",
          "service_port_validate", "service_port_global_validation", "get_number_onus_in_candidate",
          "service_port_delete_all_warning"}},
    };
    const std::string folder = "src/validation/";
    if (line.file.compare(0, folder.size(), folder) != 0) {
        return false;
    }
    const auto found = functions.find(line.file.substr(folder.size()));
    return found != functions.end() && found->second.count(line.function) != 0;
}
