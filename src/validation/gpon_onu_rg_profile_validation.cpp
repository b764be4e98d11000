#include "gpon_onu_rg_profile_validation.h"

#include "answer.h"
#include "candidate.h"
#include "committed_session.h"
#include "confd_text.h"
#include "trace.h"

#include <base.h>
#include <confd_cdb.h>

#include <string>

using validation::Candidate;
using validation::CommittedSession;
using validation::kConfdAccessFailed;
using validation::reject;
using validation::warn;

maapi_iter_ret diff_iter_rg(confd_hkeypath_t *kp, confd_iter_op op, confd_value_t *oldv,
                            confd_value_t *newv, void *state)
{
    // Asked for level 12, written at level 10: intentional.
    if (zlog_level_enabled(get_trace_cat(), kTraceDecision) != 0) {
        // The client library calls this, and knows no exceptions: nothing here allocates.
        char path[kKeypathTextSize];
        confd_pp_kpath(path, sizeof(path), kp);
        TRACE(kTraceFine, "Validating keypath: %s (op=%d, oldv:%p, newv:%p)", path,
              static_cast<int>(op), static_cast<void *>(oldv), static_cast<void *>(newv));
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
    return reject(tctx, kConfdAccessFailed);
}

namespace
{

/** @param changed  Receives whether what the validated node stands for was changed.
 *  @return 0, or -1 with the message set. */
int find_change(const Candidate &candidate, confd_trans_ctx *tctx, confd_hkeypath_t *keypath,
                int &changed)
{
    if (CONFD_GET_XMLTAG(&keypath->v[0][0]) == base_rg_profile) {
        // An ONU that had a profile before has it exchanged; a first one is provisioned by itself.
        return checkRgProfileChgValue(keypath, tctx, changed);
    }
    unsigned char flag = 0;
    candidate.read(maapi_keypath_diff_iterate, diff_iter_rg, 0, &flag, "%h", keypath);
    changed = flag;
    return 0;
}

} // namespace

std::int32_t validate_rg_prof_one_shot(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                       confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    TRACE(kTraceDecision, "rg-profile one-shot-prov validate.");
    const Candidate candidate(maapi_sock, tctx);
    if (candidate.read(maapi_exists, "/config/gpon{1/1}/rg-one-shot-prov") != 1) {
        TRACE(kTraceDecision, "The rg-one-shot-prov is disabled.");
        return CONFD_OK;
    }
    int changed = 0;
    if (find_change(candidate, tctx, kp, changed) != 0) {
        return CONFD_ERR;
    }
    if (changed == 0) {
        return CONFD_OK;
    }
    TRACE(kTraceDecision, "rg-profile was exchanged or override parameters were changed.");
    return warn(
        tctx,
        "The rg-profile will not be provisioned automatically for this onu due to rg-one-shot-prov feature enabled. You shall force rg-profile reprovision using the command 'rg-reprovision' available on the onu configuration tree.");
}
