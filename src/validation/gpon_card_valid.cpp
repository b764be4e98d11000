#include "gpon_card_valid.h"

#include "candidate.h"
#include "committed_change_guard.h"
#include "confd_text.h"
#include "gpon_bw_limit.h"
#include "gpon_itf_grp_validation.h"
#include "gpon_itf_valid.h"
#include "gpon_line_profile_confirm.h"
#include "gpon_onu_password_valid.h"
#include "gpon_onu_rg_profile_validation.h"
#include "gpon_onu_snmp_rt_confirm.h"
#include "gpon_ponlink_fec_confirm.h"
#include "gpon_rg_profile_validation.h"
#include "gpon_sip_agent_validation.h"
#include "gpon_tr069_profile_validation.h"
#include "gpon_vlan_limit.h"
#include "gpon_vlan_match.h"
#include "gpon_voip_media_profile_validation.h"
#include "maapi_guards.h"
#include "onu_gateway.h"
#include "platform_settings.h"
#include "trace.h"
#include "valid_service_port.h"

#include <base.h>
#include <fm_gpond.h>
#include <velconfd.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

using validation::Candidate;
using validation::Query;
using validation::QueryChunk;

namespace
{

struct ValidatorEntry {
    validator_t *validator;
    const char *key;
};

constexpr ValidatorEntry kValidators[] = {
    {validate_max_bandwidth_ponlink, "onu_bw_check"},
    {validate_max_bandwidth_global, "ponlink_bw_check"},
    {validate_config_modify, "config_modified_check"},
    {validate_onu_gateway_ip, "onu_gateway_ip_check"},
    {validate_vlan_match, "vlan_match_check"},
    {validate_vlan_limit, "vlan_limit_check"},
    {validate_onu_pwd_sn_unique, "onu_pwd_sn_unique_check"},
    {ponlink_fec_confirmation, "fec_confirmation_warning"},
    {line_profile_confirmation, "line_confirmation_warning"},
    {rg_profile_confirmation, "rg_profile_confirmation_warning"},
    {tr069_profile_confirmation, "tr069_profile_confirmation_warning"},
    {tr069_profile_password_length_check_func, "tr069_profile_password_length_check"},
    {rg_profile_ssid_unique_check_func, "rg_profile_ssid_unique_check"},
    {validate_sp_gem_check, "sp_gem_check"},
    {service_port_global_validation, "service_port_global_validation"},
    {service_port_delete_all_warning, "service_port_delete_all_warning_check"},
    {onu_snmp_rt_confirmation, "onu_snmp_rt_warn"},
    {sip_agent_profile_confirmation, "sip_agent_profile_confirmation_warning"},
    {validate_itf_grp, "itf_grp_validation"},
    {validate_itf_gpon, "interface_validation"},
    {voip_media_profile_confirmation, "voip_media_profile_confirmation_warning"},
    {validate_one_shot_prov, "one_shot_prov_check"},
    {validate_rg_prof_one_shot, "rg_prof_one_shot_check"},
};

template <std::size_t size>
void write_to_stderr(const char (&text)[size])
{
    std::fwrite(text, 1, size - 1, stderr);
}

/** Takes over the card's capacities. A count that the board does not give becomes 0. */
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

    // A platform that does not tell leaves the count as it is: then all links are
    // manageable.
    fm_scalar_card_gpond_manageable_pon_links(&slot, &count);
    set_num_manageable_ponlinks(count);
}

/**
 * Calls a validator. Running out of memory rejects the change; the only exception that leaves the
 * library is the one for a count that does not fit an int.
 */
int call(const ValidatorEntry &entry, confd_trans_ctx *tctx, confd_hkeypath_t *kp,
         confd_value_t *newval, int maapi_sock)
{
    try {
        return entry.validator(maapi_sock, tctx, kp, newval);
    } catch (const std::out_of_range &) {
        throw;
    } catch (const std::exception &failure) {
        TRACE_AS(validate, kTraceDecision, "Validator of %s failed (%s).", entry.key,
                 failure.what());
        return CONFD_ERR;
    }
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
            return call(entry, tctx, kp, newval, maapi_sock);
        }
    }
    return 0;
}

int lib_finish()
{
    return 0;
}

maapi_iter_ret diff_iter(confd_hkeypath_t *kp, maapi_iter_op op, confd_value_t *oldv,
                         confd_value_t *newv, void *state)
{
    if (zlog_level_enabled(get_trace_cat(), kTraceDecision) != 0) {
        // The client library calls this, and knows no exceptions: nothing here allocates.
        char path[kKeypathTextSize];
        confd_pp_kpath(path, sizeof(path), kp);
        TRACE(kTraceDecision, "Validating keypath: %s (op=%d, oldv:%p, newv:%p)", path,
              static_cast<int>(op), static_cast<void *>(oldv), static_cast<void *>(newv));
    }
    const confd_value_t &last = kp->v[0][0];
    switch (op) {
    case MOP_CREATED:
    case MOP_DELETED:
        if (last.type != C_XMLTAG) {
            return ITER_RECURSE;
        }
        if (last.val.xmltag.tag != base_rg_one_shot_prov) {
            return ITER_CONTINUE;
        }
        *static_cast<bool *>(state) = true;
        return ITER_STOP;
    case MOP_MODIFIED:
        return ITER_RECURSE;
    default:
        return ITER_CONTINUE;
    }
}

namespace
{

/** Name of a selected value's node; the tag's number when the schema does not know it. */
std::string name_of(const confd_tag_value_t &selected)
{
    const std::uint32_t tag = CONFD_GET_TAG_TAG(&selected);
    const char *name = confd_hash2str(tag);
    return name != nullptr ? name : std::to_string(tag);
}

/** Whether an ONU of the card has an RG profile; also when the ONUs cannot be asked for. */
bool is_rg_profile_in_use(const Candidate &candidate)
{
    constexpr int kDefaultChunk = 0;
    const Query query(candidate, "/config/interface/gpon[chassis-id=1 and slot-id=1]/onu",
                      "rg-profile", kDefaultChunk);
    if (!query.is_running()) {
        TRACE(kTraceDecision, "query failed for onu. err=%s", confd_lasterr());
        return true;
    }
    while (true) {
        const QueryChunk onus(query);
        if (onus.size() <= 0) {
            return false;
        }
        for (int i = 0; i < onus.size(); ++i) {
            TRACE(kTraceDecision, "result %d:\n", onus.offset() + i);
            for (int j = 0; j < onus.selected_per_result(); ++j) {
                const confd_tag_value_t &selected = onus.selected(i, j);
                if (selected.v.type != C_NOEXISTS) {
                    return true;
                }
                TRACE(kTraceDecision, " %s: %s\n", name_of(selected).c_str(),
                      print_value(selected.v).c_str());
            }
        }
    }
}

} // namespace

std::int32_t validate_one_shot_prov(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                    confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    if (zlog_level_enabled(get_trace_cat(), kTraceDecision) != 0) {
        TRACE(kTraceDecision, "Validating keypath: %s", print_keypath(*kp).c_str());
    }
    bool changed = false;
    const Candidate candidate(maapi_sock, tctx);
    candidate.read(maapi_keypath_diff_iterate, diff_iter, 0, &changed, "%h", kp);
    if (!changed) {
        return CONFD_OK;
    }
    TRACE(kTraceDecision, "rg-one-shot-prov has changed!");
    if (!is_rg_profile_in_use(candidate)) {
        return CONFD_OK;
    }
    confd_trans_seterr(
        tctx,
        "The rg-one-shot-prov configuration will not be applied automatically to all ONUs using rg-profile. You shall force rg-one-shot-prov provision using the command 'rg-reprovision' available on the onu configuration tree.");
    return CONFD_VALIDATION_WARN;
}
