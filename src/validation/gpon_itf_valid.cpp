#include "gpon_itf_valid.h"

#include "candidate.h"
#include "platform_settings.h"
#include "trace.h"

std::int32_t validate_itf_gpon(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                               confd_hkeypath_t * /*kp*/, confd_value_t * /*newval*/)
{
    const int count =
        validation::Candidate(maapi_sock, tctx).read(maapi_num_instances, "/config/interface/gpon");
    if (count < 0) {
        TRACE(kTraceDecision, "Failed getting gpon ports (%s)", confd_lasterr());
        return -1;
    }
    if (get_num_manageable_ponlinks() > static_cast<std::uint32_t>(count)) {
        confd_trans_seterr(tctx, "GPON interfaces cannot be deleted.");
        return -1;
    }
    return 0;
}
