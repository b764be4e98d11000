#include "gpon_onu_snmp_rt_confirm.h"

#include "answer.h"
#include "candidate.h"
#include "elapsed_time.h"
#include "maapi_guards.h"
#include "trace.h"

#include <stdexcept>
#include <string>

using validation::Candidate;
using validation::evaluate_xpath;
using validation::kConfdAccessFailed;
using validation::kTransactionAccessFailed;
using validation::reject;
using validation::XPathResult;

namespace
{

int judge_count(confd_trans_ctx *tctx, int count)
{
    if (count <= kRecommendedRealTimeOnus) {
        TRACE_AS(onu_snmp_rt_confirmation, kTraceProgress,
                 "%d ONUs with real-time enabled. Don't show warning message.", count);
        return CONFD_OK;
    }
    TRACE_AS(onu_snmp_rt_confirmation, kTraceDecision,
             "%d ONUs with real-time enabled. Show warning message.", count);
    confd_trans_seterr(
        tctx,
        "There are %d ONUs with real-time SNMP monitoring enabled. Recommended number is %d. This might cause performance impacts. Do you want to proceed?",
        count, kRecommendedRealTimeOnus);
    return CONFD_VALIDATION_WARN;
}

int count_and_judge(const Candidate &candidate, confd_trans_ctx *tctx)
{
    const XPathResult text =
        evaluate_xpath(candidate, "count(/config/interface/gpon/onu/snmp/real-time)");
    if (text == nullptr) {
        TRACE_AS(onu_snmp_rt_confirmation, kTraceDecision,
                 "There was an error (%s) checking how many ONUs have SNMP real-time enabled.",
                 confd_lasterr());
        return reject(tctx, kConfdAccessFailed);
    }
    try {
        // A count out of range is not caught: it leaves the validator.
        return judge_count(tctx, std::stoi(text.get()));
    } catch (const std::invalid_argument &failure) {
        TRACE_AS(onu_snmp_rt_confirmation, kTraceDecision,
                 "There was an error (%s) (%s) checking how many ONUs have SNMP real-time enabled.",
                 confd_lasterr(), failure.what());
        return reject(tctx, kTransactionAccessFailed);
    }
}

} // namespace

std::int32_t onu_snmp_rt_confirmation(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                      confd_hkeypath_t * /*kp*/, confd_value_t * /*newval*/)
{
    const cl_ElapsedTime stopwatch;
    const int result = count_and_judge(Candidate(maapi_sock, tctx), tctx);
    TRACE(kTraceFine, "Took %d ms to check for SNMP real-time warning message.",
          stopwatch.get_elapsed_time_msec());
    return result;
}
