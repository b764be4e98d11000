#include "gpon_sip_agent_validation.h"

#include "answer.h"
#include "profile_in_use.h"

std::int32_t sip_agent_profile_confirmation(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                            confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    const ProfileKind kind = {
        "sip-agent-profile",
        "/config/profile/gpon/sip-agent-profile{%s}",
        "count(/config/interface/gpon/onu/pots[sip-agent-profile='",
        "Change in sip-agent-profile configuration will result in temporary data loss for all ONUs using this profile.",
        validation::kConfdAccessFailed,
        "SIP agent Profile",
        TRACE_SOURCE,
    };
    return confirm_profile_change(maapi_sock, tctx, kp, kind);
}
