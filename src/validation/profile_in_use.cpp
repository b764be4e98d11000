#include "profile_in_use.h"

#include "answer.h"
#include "candidate.h"
#include "committed_session.h"
#include "confd_text.h"
#include "elapsed_time.h"
#include "maapi_guards.h"
#include "trace.h"

#include <confd_cdb.h>

#include <stdexcept>
#include <string>

using validation::Candidate;
using validation::CommittedSession;
using validation::evaluate_xpath;
using validation::kConfdAccessFailed;
using validation::reject;
using validation::warn;
using validation::XPathResult;

namespace
{

/** @return As cdb_exists answers; negative when there is no session. */
int is_committed(confd_trans_ctx *tctx, const ProfileKind &kind, const std::string &profile)
{
    const CommittedSession committed(tctx->vcb_opaque);
    if (!committed.is_open()) {
        return -1;
    }
    return cdb_exists(committed.cdb_sock(), kind.keypath_format, profile.c_str());
}

/** Counts the users and decides. */
int judge_users(const Candidate &candidate, confd_trans_ctx *tctx, const ProfileKind &kind,
                const std::string &profile)
{
    // The name stands in the expression as it is, without escaping.
    const std::string expression = kind.count_prefix + profile + "'])";
    const XPathResult text = evaluate_xpath(candidate, expression.c_str());
    if (text == nullptr) {
        TRACE_FOR(kind.source, kTraceDecision,
                  "There was an error (%s) checking if there is any ONU using %s %s.",
                  confd_lasterr(), kind.name, profile.c_str());
        return reject(tctx, kConfdAccessFailed);
    }
    int count = 0;
    try {
        count = std::stoi(text.get());
    } catch (const std::invalid_argument &failure) {
        // A count out of range is not caught: it leaves the validator.
        TRACE_FOR(kind.source, kTraceDecision,
                  "There was an error (%s) (%s) checking if there is any ONU using %s %s.",
                  confd_lasterr(), failure.what(), kind.name, profile.c_str());
        return reject(tctx, kind.conversion_failure);
    }
    TRACE_FOR(kind.source, kTraceDecision, "There are %d onus associated with %s", count,
              profile.c_str());
    return count > 0 ? warn(tctx, kind.warning) : CONFD_OK;
}

} // namespace

std::int32_t confirm_profile_change(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                    const confd_hkeypath_t *kp, const ProfileKind &kind)
{
    const cl_ElapsedTime stopwatch;
    const std::string profile = print_value(kp->v[0][0]);
    TRACE_FOR(kind.source, kTraceFine, "Check if %s %s has been edited.", kind.name,
              profile.c_str());

    const int committed = is_committed(tctx, kind, profile);
    if (committed < 0) {
        return reject(tctx, kConfdAccessFailed);
    }
    if (committed == 0) {
        TRACE_FOR(kind.source, kTraceFine, "%s %s was not edited", kind.name, profile.c_str());
        return CONFD_OK;
    }
    const int result = judge_users(Candidate(maapi_sock, tctx), tctx, kind, profile);
    TRACE_FOR(kind.source, kTraceFine, "Took %d ms to check for %s warning message.",
              stopwatch.get_elapsed_time_msec(), kind.title);
    return result;
}
