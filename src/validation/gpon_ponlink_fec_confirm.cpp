#include "gpon_ponlink_fec_confirm.h"

#include "answer.h"
#include "committed_session.h"
#include "trace.h"

#include <base.h>
#include <confd_cdb.h>

#include <string>

using validation::CommittedSession;
using validation::kConfdAccessFailed;
using validation::reject;

const char *FEC_WARN_MSG =
    "The change in FEC configuration will result in temporary data loss for all users of this GPON link.";

namespace
{

/** Name of a FEC leaf with its slash; null for any other leaf. */
const char *fec_leaf(std::uint32_t tag)
{
    switch (tag) {
    case base_downstream_fec:
        return "/downstream-fec";
    case base_upstream_fec:
        return "/upstream-fec";
    default:
        return nullptr;
    }
}

enum class Comparison { kSame, kChanged, kUnknownLeaf, kReadFailed };

/** Compares the leaf's new value with the committed one. */
Comparison compare_with_committed(const CommittedSession &committed, std::uint32_t pl,
                                  const confd_hkeypath_t *keypath, const confd_value_t *newval,
                                  int &read_result)
{
    // The path keeps its directive: the link's number is an argument of each call.
    std::string path = "/config/interface/gpon{1 1 %d}";
    if (cdb_exists(committed.cdb_sock(), path.c_str(), pl) != 1) {
        TRACE_AS(ponlink_fec_confirmation, kTraceFine,
                 "keypath=%s (pl=1/1/%d) doesn't exist. FEC didn't change.", path.c_str(), pl);
        return Comparison::kSame;
    }
    const char *leaf = fec_leaf(CONFD_GET_XMLTAG(&keypath->v[0][0]));
    if (leaf == nullptr) {
        return Comparison::kUnknownLeaf;
    }
    path += leaf;
    int committed_value = 0;
    read_result = cdb_get_bool(committed.cdb_sock(), &committed_value, path.c_str(), pl);
    const bool changed = (CONFD_GET_BOOL(newval) != 0) != (committed_value != 0);
    TRACE_AS(ponlink_fec_confirmation, kTraceDecision, "kp=%s value_changed=%d.", path.c_str(),
             changed ? 1 : 0);
    if (read_result < 0) {
        return Comparison::kReadFailed;
    }
    return changed ? Comparison::kChanged : Comparison::kSame;
}

} // namespace

std::int32_t ponlink_fec_confirmation(std::int32_t /*maapi_sock*/, confd_trans_ctx *tctx,
                                      confd_hkeypath_t *keypath, confd_value_t *newval)
{
    const std::uint32_t pl = CONFD_GET_UINT32(&keypath->v[1][2]);
    Comparison comparison = Comparison::kSame;
    int cdb_sock = 0;
    int read_result = CONFD_OK;
    {
        const CommittedSession committed(tctx->vcb_opaque);
        if (!committed.is_open()) {
            const int result = reject(tctx, kConfdAccessFailed);
            // This check ends even a session that did not start; others do not. Intentional.
            velconfd_config_session_end(tctx->vcb_opaque);
            return result;
        }
        cdb_sock = committed.cdb_sock();
        comparison = compare_with_committed(committed, pl, keypath, newval, read_result);
    }
    switch (comparison) {
    case Comparison::kUnknownLeaf:
        return reject(tctx, kConfdAccessFailed);
    case Comparison::kReadFailed:
        TRACE(kTraceDecision, "cdb_sock=%d ret = %d", cdb_sock, read_result);
        return reject(tctx, kConfdAccessFailed);
    case Comparison::kChanged:
        return validation::warn_through_buffer(tctx, FEC_WARN_MSG);
    case Comparison::kSame:
        break;
    }
    TRACE(kTraceDecision, "gpon 1/1/%d FEC didn't changed", pl);
    return CONFD_OK;
}
