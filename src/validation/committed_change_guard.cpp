#include "committed_change_guard.h"

#include "candidate.h"

#include <base.h>

maapi_iter_ret diffIter(confd_hkeypath_t * /*kp*/, maapi_iter_op op, confd_value_t * /*oldv*/,
                        confd_value_t * /*newv*/, void *state)
{
    bool &modified = *static_cast<bool *>(state);
    if (op == MOP_MODIFIED) {
        modified = true;
    }
    // Created and deleted entries are allowed whatever they hold.
    return modified ? ITER_STOP : ITER_CONTINUE;
}

std::int32_t validate_config_modify(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                    confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    bool modified = false;
    // A walk that fails leaves the flag as it is: the change is accepted.
    validation::Candidate(maapi_sock, tctx)
        .read(maapi_keypath_diff_iterate, diffIter, 0, &modified, "%h", kp);
    if (!modified) {
        return 0;
    }
    const confd_value_t &last = kp->v[0][0];
    const bool is_service_port = last.type == C_XMLTAG && last.val.xmltag.tag == base_service_port;
    confd_trans_seterr(tctx, "Changing already committed %s is not allowed.",
                       is_service_port ? "service port" : "profile");
    return -1;
}
