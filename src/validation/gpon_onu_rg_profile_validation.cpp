#include "gpon_onu_rg_profile_validation.h"

#include "committed_session.h"
#include "confd_text.h"
#include "trace.h"

#include <base.h>
#include <confd_cdb.h>

maapi_iter_ret diff_iter_rg(confd_hkeypath_t *kp, confd_iter_op op, confd_value_t *oldv,
                            confd_value_t *newv, void *state)
{
    // Asked for level 12, written at level 10: meant.
    if (zlog_level_enabled(get_trace_cat(), kTraceDecision) != 0) {
        TRACE(kTraceFine, "Validating keypath: %s (op=%d, oldv:%p, newv:%p)",
              print_keypath(*kp).c_str(), static_cast<int>(op), static_cast<void *>(oldv),
              static_cast<void *>(newv));
    }
    auto &changed = *static_cast<unsigned char *>(state);
    switch (op) {
    case MOP_CREATED:
    case MOP_DELETED:
    case MOP_MODIFIED:
    case MOP_VALUE_SET:
        changed = 1;
        return ITER_STOP;
    default: // Moves and attributes change no value.
        changed = 0;
        return ITER_CONTINUE;
    }
}

int checkRgProfileChgValue(confd_hkeypath_t *kp, confd_trans_ctx *tctx, int &exists)
{
    const std::string path = print_keypath(*kp);
    {
        const CommittedSession committed(tctx->vcb_opaque);
        if (committed.is_open()) {
            exists = cdb_exists(committed.cdb_sock(), "%s", path.c_str());
            if (exists >= 0) {
                return 0;
            }
        }
    }
    confd_trans_seterr(tctx, "%s", "Failed accessing confd data.");
    return -1;
}

namespace
{

/** @param changed  Receives whether what the validated node stands for was changed.
 *  @return 0, or -1 with the message set. */
int find_change(std::int32_t maapi_sock, confd_trans_ctx *tctx, confd_hkeypath_t *keypath,
                int &changed)
{
    if (CONFD_GET_XMLTAG(&keypath->v[0][0]) == base_rg_profile) {
        // An ONU that had a profile before has it exchanged; a first one is provisioned by itself.
        return checkRgProfileChgValue(keypath, tctx, changed);
    }
    unsigned char flag = 0;
    maapi_keypath_diff_iterate(maapi_sock, tctx->thandle, diff_iter_rg, 0, &flag, "%h", keypath);
    changed = flag;
    return 0;
}

} // namespace

std::int32_t validate_rg_prof_one_shot(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                       confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    TRACE(kTraceDecision, "rg-profile one-shot-prov validate.");
    if (maapi_exists(maapi_sock, tctx->thandle, "/config/gpon{1/1}/rg-one-shot-prov") != 1) {
        TRACE(kTraceDecision, "The rg-one-shot-prov is disabled.");
        return CONFD_OK;
    }
    int changed = 0;
    if (find_change(maapi_sock, tctx, kp, changed) != 0) {
        return CONFD_ERR;
    }
    if (changed == 0) {
        return CONFD_OK;
    }
    TRACE(kTraceDecision, "rg-profile was exchanged or override parameters were changed.");
    confd_trans_seterr(tctx, "%s",
                       "The rg-profile will not be provisioned automatically for this onu due to "
                       "rg-one-shot-prov feature enabled. You shall force rg-profile reprovision "
                       "using the command 'rg-reprovision' available on the onu configuration "
                       "tree.");
    return CONFD_VALIDATION_WARN;
}
