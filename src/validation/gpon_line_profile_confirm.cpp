#include "gpon_line_profile_confirm.h"

#include "answer.h"
#include "profile_in_use.h"

const char *LINE_PROF_WARN_MSG =
    "Change in line-profile configuration will result in temporary data loss for all ONUs using this profile.";

std::int32_t line_profile_confirmation(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                       confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    const ProfileKind kind = {
        "line-profile",
        "/config/profile/gpon/line-profile{%s}",
        "count(/config/interface/gpon/onu/profile-references[line-profile='",
        LINE_PROF_WARN_MSG,
        validation::kConfdAccessFailed,
        "Line Profile",
        TRACE_SOURCE,
    };
    return confirm_profile_change(maapi_sock, tctx, kp, kind);
}
