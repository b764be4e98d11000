#include "gpon_bw_limit.h"

#include "answer.h"
#include "candidate.h"
#include "confd_get_objects_itf.h"
#include "confd_text.h"
#include "elapsed_time.h"
#include "gpon_interface_name.h"
#include "maapi_guards.h"
#include "platform_settings.h"
#include "trace.h"

#include <utility>

using validation::Candidate;
using validation::ListCursor;
using validation::ObjectsChunk;
using validation::Query;
using validation::QueryChunk;
using validation::reject;

BandwidthMap bandwidth_profiles;
BandwidthMap line_profiles;

namespace
{

constexpr const char *kBandwidthProfiles = "/config/profile/gpon/bandwidth-profile";
constexpr const char *kLineProfiles = "/config/profile/gpon/line-profile";
constexpr const char *kGponInterfaces = "/config/interface/gpon";

constexpr std::uint32_t kBandwidthProfileSize = 15;
constexpr std::uint32_t kBandwidthProfilesPerCall = 64;
constexpr std::uint32_t kTcontSize = 2;
constexpr std::uint32_t kTcontsPerCall = 6;

bool is_set(const confd_value_t &value)
{
    return value.type != C_NOEXISTS;
}

} // namespace

int loadBwProf(confd_value_t *values, std::string &name, std::uint32_t &total, std::uint32_t &fixed)
{
    name = text_of(CONFD_GET_BUFPTR(&values[BW_CONFD_VAL_OFFSET_NAME]),
                   CONFD_GET_BUFSIZE(&values[BW_CONFD_VAL_OFFSET_NAME]));
    confd_free_value(&values[BW_CONFD_VAL_OFFSET_NAME]);
    CONFD_SET_NOEXISTS(&values[BW_CONFD_VAL_OFFSET_NAME]);

    if (is_set(values[BW_CONFD_VAL_OFFSET_FX_T1])) {
        fixed = CONFD_GET_UINT32(&values[BW_CONFD_VAL_OFFSET_FX_T1]);
        total = fixed;
        TRACE(kTraceFine, "BW name: %s. type-1. fixed=%d", name.c_str(), fixed);
    } else if (is_set(values[BW_CONFD_VAL_OFFSET_AS_T2])) {
        fixed = 0;
        total = CONFD_GET_UINT32(&values[BW_CONFD_VAL_OFFSET_AS_T2]);
        TRACE(kTraceFine, "BW name: %s. type-2. assured=%d", name.c_str(), total);
    } else if (is_set(values[BW_CONFD_VAL_OFFSET_AS_T3])) {
        fixed = 0;
        total = CONFD_GET_UINT32(&values[BW_CONFD_VAL_OFFSET_AS_T3]);
        const std::uint32_t maximum = CONFD_GET_UINT32(&values[BW_CONFD_VAL_OFFSET_MX_T3]);
        TRACE(kTraceFine, "BW name: %s. type-3. assured=%d max=%d", name.c_str(), total, maximum);
    } else if (is_set(values[BW_CONFD_VAL_OFFSET_MX_T4])) {
        fixed = 0;
        total = 0;
        const std::uint32_t maximum = CONFD_GET_UINT32(&values[BW_CONFD_VAL_OFFSET_MX_T4]);
        TRACE(kTraceFine, "BW name: %s. type-4. max=%d", name.c_str(), maximum);
    } else if (is_set(values[BW_CONFD_VAL_OFFSET_FX_T5])) {
        fixed = CONFD_GET_UINT32(&values[BW_CONFD_VAL_OFFSET_FX_T5]);
        total = CONFD_GET_UINT32(&values[BW_CONFD_VAL_OFFSET_AS_T5]);
        const std::uint32_t maximum = CONFD_GET_UINT32(&values[BW_CONFD_VAL_OFFSET_MX_T5]);
        TRACE(kTraceFine, "BW name: %s. type-5. fixed=%d assured=%d max=%d", name.c_str(), fixed,
              total, maximum);
    } else {
        return -1;
    }
    return 0;
}

namespace
{

/**
 * Adds one chunk of bandwidth profiles to the map.
 * @return 0, or -1 at a profile without a traffic type: it takes the rest of its chunk with it.
 */
int load_bw_chunk(const ObjectsChunk &profiles)
{
    for (int i = 0; i < profiles.size(); ++i) {
        std::string name;
        bandwidth_ctx profile{};
        if (loadBwProf(profiles.entry(i), name, profile.total, profile.fixed) != 0) {
            return -1;
        }
        bandwidth_profiles.emplace(std::move(name), profile);
    }
    return 0;
}

/** Adds a T-CONT to its line profile. @return 0, or -1 when its bandwidth profile is unknown. */
int add_tcont(const std::string &bw_name, bwctx &line)
{
    const auto found = bandwidth_profiles.find(bw_name);
    if (found == bandwidth_profiles.end()) {
        TRACE_AS(loadAllTconts, kTraceDecision, "BW NOT found! BW name: %s. fixed=%d total=%d",
                 bw_name.c_str(), 0, 0);
        ++line.dynamic_tconts;
        return -1;
    }
    const bandwidth_ctx &bandwidth = found->second;
    TRACE_AS(loadAllTconts, kTraceFine, "BW found! BW name: %s. fixed=%d total=%d", bw_name.c_str(),
             bandwidth.fixed, bandwidth.total);
    line.total += bandwidth.total;
    line.fixed += bandwidth.fixed;
    if (bandwidth.fixed != 0 && bandwidth.fixed == bandwidth.total) {
        ++line.static_tconts;
    } else {
        ++line.dynamic_tconts;
    }
    return 0;
}

} // namespace

int loadAllBws(std::int32_t maapi_sock, confd_trans_ctx *tctx)
{
    const cl_ElapsedTime stopwatch;
    int result = 0;
    ConfdGetObjsItf reader(kBandwidthProfileSize, kBandwidthProfilesPerCall, kBandwidthProfiles,
                           maapi_sock, tctx, true);
    while (true) {
        const ObjectsChunk profiles(reader);
        if (profiles.size() <= 0) {
            break;
        }
        result = load_bw_chunk(profiles);
    }
    TRACE(kTraceFine, "Took %d msecs to load all bandwidth profiles from ConfD",
          stopwatch.get_elapsed_time_msec());
    return result;
}

int loadAllTconts(std::int32_t maapi_sock, confd_trans_ctx *tctx, std::string tcont_path,
                  bwctx &line)
{
    const cl_ElapsedTime stopwatch;
    int error = 0;
    ConfdGetObjsItf reader(kTcontSize, kTcontsPerCall, std::move(tcont_path), maapi_sock, tctx,
                           true);
    while (true) {
        const ObjectsChunk tconts(reader);
        // The chunk with the unknown profile was summed to its end; later ones are not.
        if (tconts.size() <= 0 || error != 0) {
            break;
        }
        for (int i = 0; i < tconts.size(); ++i) {
            confd_value_t *cur_val = tconts.entry(i);
            const std::string bw_name =
                text_of(CONFD_GET_BUFPTR(&cur_val[TCONT_CONFD_VAL_OFFSET_BW]),
                        CONFD_GET_BUFSIZE(&cur_val[TCONT_CONFD_VAL_OFFSET_BW]));
            const std::uint32_t id = CONFD_GET_UINT32(&cur_val[TCONT_CONFD_VAL_OFFSET_ID]);
            confd_free_value(&cur_val[TCONT_CONFD_VAL_OFFSET_BW]);
            CONFD_SET_NOEXISTS(&cur_val[TCONT_CONFD_VAL_OFFSET_BW]);
            TRACE(kTraceFine, "tcont=%d bw=%s", id, bw_name.c_str());
            if (add_tcont(bw_name, line) != 0) {
                error = -1;
            }
        }
    }
    TRACE(kTraceFine, "Took %d msecs to load all tconts from ConfD (err=%d)",
          stopwatch.get_elapsed_time_msec(), error);
    return error;
}

int loadAllLines(std::int32_t maapi_sock, confd_trans_ctx *tctx)
{
    const cl_ElapsedTime stopwatch;
    for (ListCursor lines(Candidate(maapi_sock, tctx), kLineProfiles); lines.has_entry();
         lines.next()) {
        std::string name = print_value(lines.key());
        TRACE(kTraceFine, "Loading line %s", name.c_str());
        bwctx line{};
        // An unknown bandwidth profile was logged; the line profile counts without it.
        loadAllTconts(maapi_sock, tctx, joined({kLineProfiles, "{", name, "}/tcont"}), line);
        TRACE(kTraceFine, "Line %s has dynamic=%d static=%d TCONTs", name.c_str(),
              line.dynamic_tconts, line.static_tconts);
        line_profiles.emplace(std::move(name), line);
    }
    TRACE(kTraceFine, "Took %d msecs to load all line profiles from ConfD",
          stopwatch.get_elapsed_time_msec());
    return 0;
}

void reload_profiles(std::int32_t maapi_sock, confd_trans_ctx *tctx)
{
    bandwidth_profiles.clear();
    loadAllBws(maapi_sock, tctx);
    line_profiles.clear();
    loadAllLines(maapi_sock, tctx);
}

namespace
{

/**
 * Adds one chunk of ONUs, each with its line-profile reference.
 * @param unknown_lines  Gets a piece of text for each ONU whose line profile is not in the map.
 * @return 0, or -1 when there was such an ONU.
 */
int add_onus(const QueryChunk &onus, LinkDemand &demand, std::string &unknown_lines)
{
    int error = 0;
    for (int i = 0; i < onus.size(); ++i) {
        const std::string line = print_value(*CONFD_GET_TAG_VALUE(&onus.selected(i)));
        const auto found = line_profiles.find(line);
        if (found == line_profiles.end()) {
            TRACE_AS(validate_ponlink_bw, kTraceDecision, "Line profile %s not found.",
                     line.c_str());
            unknown_lines += "Line profile " + line + " doesn't not exist.";
            error = -1;
            continue;
        }
        demand.add(found->second);
    }
    demand.num_onus += static_cast<std::uint32_t>(onus.size());
    return error;
}

/** Sums the ONUs of a running query, up to the chunk with the first unknown line profile. */
int sum_onus(const Query &query, LinkDemand &demand, std::string &unknown_lines)
{
    int error = 0;
    int count = 0;
    do {
        const QueryChunk onus(query);
        count = onus.size();
        error = add_onus(onus, demand, unknown_lines);
    } while (count > 0 && error == 0);
    return error;
}

/** @return 0, or -1 with the message set. */
int check_capacity(confd_trans_ctx *tctx, const std::string &ponlink, const LinkDemand &demand)
{
    TRACE_AS(validate_ponlink_bw, kTraceDecision,
             "BW check: pl %s, fxd=%d, total=%d, overhead=%d (num_onus=%d)", ponlink.c_str(),
             demand.fixed, demand.total, demand.overhead(), demand.num_onus);
    std::string text;
    if (demand.exceeds_capacity()) {
        text += "Total bandwidth exceeds GPON interface 1/1/" + ponlink + " capacity (" +
                std::to_string(kUpstreamCapacityKbps) + " kbits/s)\n";
    }
    if (demand.exceeds_fixed_capacity()) {
        text += "Fixed bandwidth exceeds GPON interface 1/1/" + ponlink + " capacity (" +
                std::to_string(kFixedCapacityKbps) + " kbits/s)\n";
    }
    return text.empty() ? 0 : reject(tctx, text.c_str());
}

} // namespace

DemandRead read_ponlink_demand(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                               const std::string &ponlink, LinkDemand &demand,
                               std::string &unknown_lines)
{
    const std::string onus =
        "/config/interface/gpon[chassis-id=1 and slot-id=1 and port-id=" + ponlink + "]/onu";
    const Query query(Candidate(maapi_sock, tctx), onus.c_str(), "profile-references/line-profile",
                      get_num_onus_per_ponlink());
    if (!query.is_running()) {
        TRACE_AS(validate_ponlink_bw, kTraceDecision, "query failed for onu. err=%s",
                 confd_lasterr());
        return DemandRead::kFailed;
    }
    return sum_onus(query, demand, unknown_lines) == 0 ? DemandRead::kComplete
                                                       : DemandRead::kUnknownLine;
}

int validate_ponlink_bw(std::int32_t maapi_sock, confd_trans_ctx *tctx, const std::string &ponlink)
{
    LinkDemand demand;
    std::string unknown_lines;
    switch (read_ponlink_demand(maapi_sock, tctx, ponlink, demand, unknown_lines)) {
    case DemandRead::kFailed:
        return -1;
    case DemandRead::kUnknownLine:
        TRACE(kTraceDecision, "There was some error during line-profile iteration (err=%d)", -1);
        return reject(tctx, unknown_lines.c_str());
    case DemandRead::kComplete:
        break;
    }
    return check_capacity(tctx, ponlink, demand);
}

std::int32_t validate_max_bandwidth_ponlink(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                            confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    if (!platform_settings.do_bw_check) {
        TRACE(kTraceDecision, "Bandwidth check disabled for this platform.");
        return 0;
    }
    TRACE(kTraceDecision, "Bandwidth check enabled for this platform. Do check now...");
    const cl_ElapsedTime stopwatch;
    reload_profiles(maapi_sock, tctx);
    const int result = validate_ponlink_bw(maapi_sock, tctx, print_value(kp->v[1][0]));
    TRACE(kTraceFine, "Took %d msecs to check ponlink bandwidth limit.",
          stopwatch.get_elapsed_time_msec());
    return result;
}

namespace
{

/** @return 0, or -1 with the message set at the first count above its limit. */
int check_tcont_counts(confd_trans_ctx *tctx)
{
    const std::uint32_t max_dynamic = platform_settings.max_tconts_bw_type_2_to_5;
    const std::uint32_t max_static = platform_settings.max_tconts_bw_type_1;
    for (const auto &[name, line] : line_profiles) {
        if (line.dynamic_tconts > max_dynamic) {
            return reject(tctx, ("Line Profile " + name + " cannot have more than " +
                                 std::to_string(max_dynamic) +
                                 " TCONTs with bandwidth traffic type 2 to 5.")
                                    .c_str());
        }
        if (line.static_tconts > max_static) {
            return reject(tctx,
                          ("Line Profile " + name + " cannot have more than " +
                           std::to_string(max_static) + " TCONTs with bandwidth traffic type 1.")
                              .c_str());
        }
    }
    return 0;
}

/** Checks the links one after the other, up to the first that fails. */
int check_all_ponlinks(std::int32_t maapi_sock, confd_trans_ctx *tctx)
{
    int result = 0;
    for (ListCursor links(Candidate(maapi_sock, tctx), kGponInterfaces);
         links.has_entry() && result == 0; links.next()) {
        const std::string ponlink = print_value(links.key(kPortIdKey));
        TRACE_AS(validate_max_bandwidth_global, kTraceFine, "Check ponlink %s bandwidth",
                 ponlink.c_str());
        result = validate_ponlink_bw(maapi_sock, tctx, ponlink);
    }
    return result;
}

} // namespace

std::int32_t validate_max_bandwidth_global(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                           confd_hkeypath_t * /*kp*/, confd_value_t * /*newval*/)
{
    const cl_ElapsedTime stopwatch;
    reload_profiles(maapi_sock, tctx);
    // T-CONT counts hold on every platform: the limits are those of the platform.
    if (check_tcont_counts(tctx) != 0) {
        return -1;
    }
    if (!platform_settings.do_bw_check) {
        TRACE(kTraceDecision, "Bandwidth check disabled for this platform.");
        return 0;
    }
    TRACE(kTraceDecision,
          "Bandwidth check enabled for this platform. Do check now (all ponlinks)...");
    const int result = check_all_ponlinks(maapi_sock, tctx);
    TRACE(kTraceFine, "Took %d msecs to check all ponlink bandwidth limit.",
          stopwatch.get_elapsed_time_msec());
    return result;
}
