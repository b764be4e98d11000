#include "gpon_card_valid.h"

#include "gpon_bw_limit.h"
#include "platform_settings.h"
#include "validator.h"

#include <fm_gpond.h>
#include <velconfd.h>

#include <cstdio>
#include <cstring>

namespace
{

struct ValidatorEntry {
    validator_t *validator; // Null: the change is accepted.
    const char *key;
};

constexpr ValidatorEntry kValidators[] = {
    {validate_max_bandwidth_ponlink, "onu_bw_check"},
    {validate_max_bandwidth_global, "ponlink_bw_check"},
    {nullptr, "config_modified_check"},
    {nullptr, "onu_gateway_ip_check"},
    {nullptr, "vlan_match_check"},
    {nullptr, "vlan_limit_check"},
    {nullptr, "onu_pwd_sn_unique_check"},
    {nullptr, "fec_confirmation_warning"},
    {nullptr, "line_confirmation_warning"},
    {nullptr, "rg_profile_confirmation_warning"},
    {nullptr, "tr069_profile_confirmation_warning"},
    {nullptr, "tr069_profile_password_length_check"},
    {nullptr, "rg_profile_ssid_unique_check"},
    {nullptr, "sp_gem_check"},
    {nullptr, "service_port_global_validation"},
    {nullptr, "service_port_delete_all_warning_check"},
    {nullptr, "onu_snmp_rt_warn"},
    {nullptr, "sip_agent_profile_confirmation_warning"},
    {nullptr, "itf_grp_validation"},
    {nullptr, "interface_validation"},
    {nullptr, "voip_media_profile_confirmation_warning"},
    {nullptr, "one_shot_prov_check"},
    {nullptr, "rg_prof_one_shot_check"},
};

template <std::size_t size>
void write_to_stderr(const char (&text)[size])
{
    std::fwrite(text, 1, size - 1, stderr);
}

/** Takes over the card's figures. One that the board does not give becomes 0. */
void read_capacities(const fm_slot_t &slot)
{
    bool do_bw_check = true;
    fm_scalar_card_gpond_do_bw_check(&slot, &do_bw_check);
    set_do_bw_check(do_bw_check);

    const auto get_num_onus = fm_oper_card_gpond_get_max_num_onu_per_ponlink_from_board(&slot);
    set_num_onus_per_ponlink(get_num_onus != nullptr ? static_cast<std::uint32_t>(get_num_onus(0))
                                                     : 0);

    std::uint32_t count = 0;
    const auto get_num_ponlinks_of_board = fm_oper_card_gpond_get_max_num_ponlink_from_board(&slot);
    if (get_num_ponlinks_of_board != nullptr) {
        count = static_cast<std::uint32_t>(get_num_ponlinks_of_board());
    }
    set_num_ponlinks(count);

    // A platform that does not tell leaves the count as it is: then all links are manageable.
    fm_scalar_card_gpond_manageable_pon_links(&slot, &count);
    set_num_manageable_ponlinks(count);
}

} // namespace

int lib_init()
{
    if (fm_init() != 0) {
        write_to_stderr("Cannot initialize gpond confd validation lib. Error in fm_init\n");
        return -1;
    }
    fm_slot_t slot{};
    if (fm_local_slot(&slot) != 0) {
        write_to_stderr("Cannot initialize gpond confd validation lib. Error in fm_local_slot\n");
        return -1;
    }
    read_capacities(slot);
    return 0;
}

int get_validation_point(char *buf, size_t len)
{
    std::snprintf(buf, len, "gpon_validation_check");
    return 0;
}

int validate(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval)
{
    const int maapi_sock = velconfd_maapi_socket_get(tctx->vcb_opaque);
    for (const ValidatorEntry &entry : kValidators) {
        if (std::strcmp(tctx->validate_opaque, entry.key) == 0) {
            return entry.validator != nullptr ? entry.validator(maapi_sock, tctx, kp, newval) : 0;
        }
    }
    return 0;
}

int lib_finish()
{
    return 0;
}
