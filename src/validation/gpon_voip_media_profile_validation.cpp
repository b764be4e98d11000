#include "gpon_voip_media_profile_validation.h"

#include "answer.h"
#include "profile_in_use.h"

std::int32_t voip_media_profile_confirmation(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                             confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    const ProfileKind kind = {
        "media-profile",
        "/config/profile/gpon/media-profile{%s}",
        "count(/config/interface/gpon/onu/pots[media-profile='",
        "Change in media-profile configuration will result in temporary data loss for all ONUs using this profile.",
        validation::kTransactionAccessFailed, // The other kinds say confd data. Intentional.
        "Media Profile",
        TRACE_SOURCE,
    };
    return confirm_profile_change(maapi_sock, tctx, kp, kind);
}
