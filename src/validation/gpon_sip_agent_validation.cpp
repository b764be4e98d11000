#include "gpon_sip_agent_validation.h"

#include "profile_in_use.h"

std::int32_t sip_agent_profile_confirmation(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                            confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    const ProfileKind kind = {
        "sip-agent-profile",
        "count(/config/interface/gpon/onu/pots[sip-agent-profile='",
        "Change in sip-agent-profile configuration will result in temporary data loss for all ONUs "
        "using this profile.",
        "Failed accessing confd data.",
        "SIP agent Profile",
        {__FILE__, __func__},
    };
    return confirm_profile_change(maapi_sock, tctx, kp, kind);
}
