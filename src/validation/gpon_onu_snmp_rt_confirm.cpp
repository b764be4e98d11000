#include "gpon_onu_snmp_rt_confirm.h"

#include "elapsed_time.h"
#include "maapi_guards.h"
#include "trace.h"

#include <stdexcept>
#include <string>

namespace
{

constexpr int kRecommendedOnus = 128;

int judge_count(confd_trans_ctx *tctx, int count)
{
    if (count <= kRecommendedOnus) {
        TRACE(kTraceProgress, "%d ONUs with real-time enabled. Don't show warning message.", count);
        return CONFD_OK;
    }
    TRACE(kTraceDecision, "%d ONUs with real-time enabled. Show warning message.", count);
    confd_trans_seterr(tctx,
                       "There are %d ONUs with real-time SNMP monitoring enabled. Recommended "
                       "number is %d. This might cause performance impacts. Do you want to "
                       "proceed?",
                       count, kRecommendedOnus);
    return CONFD_VALIDATION_WARN;
}

int count_and_judge(std::int32_t maapi_sock, confd_trans_ctx *tctx)
{
    const XPathResult text = evaluate_xpath(maapi_sock, tctx->thandle,
                                            "count(/config/interface/gpon/onu/snmp/real-time)");
    if (text == nullptr) {
        TRACE(kTraceDecision,
              "There was an error (%s) checking how many ONUs have SNMP real-time enabled.",
              confd_lasterr());
        confd_trans_seterr(tctx, "%s", "Failed accessing confd data.");
        return CONFD_ERR;
    }
    try {
        // A count out of range is not caught: it leaves the validator.
        return judge_count(tctx, std::stoi(text.get()));
    } catch (const std::invalid_argument &failure) {
        TRACE(kTraceDecision,
              "There was an error (%s) (%s) checking how many ONUs have SNMP real-time enabled.",
              confd_lasterr(), failure.what());
        confd_trans_seterr(tctx, "%s", "Failed accessing transaction data.");
        return CONFD_ERR;
    }
}

} // namespace

std::int32_t onu_snmp_rt_confirmation(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                      confd_hkeypath_t * /*kp*/, confd_value_t * /*newval*/)
{
    const cl_ElapsedTime stopwatch;
    const int result = count_and_judge(maapi_sock, tctx);
    TRACE(kTraceFine, "Took %d ms to check for SNMP real-time warning message.",
          stopwatch.get_elapsed_time_msec());
    return result;
}
