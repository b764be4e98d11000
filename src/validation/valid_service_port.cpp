#include "valid_service_port.h"

#include "answer.h"
#include "candidate.h"
#include "committed_session.h"
#include "confd_get_objects_itf.h"
#include "confd_get_str.h"
#include "confd_text.h"
#include "elapsed_time.h"
#include "gpon_interface_name.h"
#include "maapi_guards.h"
#include "match_overlap_validation.h"
#include "trace.h"

#include <base.h>
#include <confd_cdb.h>

#include <string>

using validation::Candidate;
using validation::CommittedSession;
using validation::ListCursor;
using validation::ObjectsChunk;
using validation::reject;

const char *SP_DEL_ALL_WARN_MSG =
    "All Service Ports are being removed causing traffic stop for all ONUs. Are you sure you want to proceed?";

namespace
{

constexpr const char *kServicePorts = "/config/service-port";
constexpr std::uint32_t kServicePortSize = 20;
constexpr std::uint32_t kServicePortsPerCall = 300;
constexpr std::size_t kUsualPathSize = 128;

// ---- Identity and GEM port of one service port ------------------------------------------------

/** Places of the wanted leaves in the tagged array. */
enum IdTag { kIdInterface = 1, kIdOnu = 3, kIdGem = 5, kIdTags = 9 };

void name_id_leaves(confd_tag_value_t *tv)
{
    CONFD_SET_TAG_XMLBEGIN(&tv[0], base_gpon, base__ns);
    CONFD_SET_TAG_NOEXISTS(&tv[kIdInterface], base_id);
    CONFD_SET_TAG_XMLBEGIN(&tv[2], base_onu, base__ns);
    CONFD_SET_TAG_NOEXISTS(&tv[kIdOnu], base_id);
    CONFD_SET_TAG_XMLBEGIN(&tv[4], base_gem, base__ns);
    CONFD_SET_TAG_NOEXISTS(&tv[kIdGem], base_gem_id);
    CONFD_SET_TAG_XMLEND(&tv[6], base_gem, base__ns);
    CONFD_SET_TAG_XMLEND(&tv[7], base_onu, base__ns);
    CONFD_SET_TAG_XMLEND(&tv[8], base_gpon, base__ns);
}

/** As %d prints it. */
std::string as_decimal(std::uint32_t number)
{
    return std::to_string(static_cast<std::int32_t>(number));
}

bool is_set(const confd_tag_value_t &tagged)
{
    return tagged.v.type != C_NOEXISTS;
}

} // namespace

int sp_get_id_values(std::int32_t maapi_sock, confd_trans_ctx *tctx, confd_hkeypath_t *keypath,
                     std::string &interface, std::uint32_t &sp, std::uint32_t &onu,
                     std::uint32_t &gem)
{
    const cl_ElapsedTime stopwatch;
    sp = CONFD_GET_UINT32(&keypath->v[1][0]);
    confd_tag_value_t tv[kIdTags];
    name_id_leaves(tv);
    const bool is_read =
        Candidate(maapi_sock, tctx)
            .read(maapi_get_values, tv, kIdTags, "/base:config/service-port{%u}", sp) >= 0;
    if (!is_read || !is_set(tv[kIdInterface]) || !is_set(tv[kIdOnu]) || !is_set(tv[kIdGem])) {
        TRACE(kTraceDecision, "Error to get SP %u values from ConfD (err=%s)", sp, confd_lasterr());
        if (is_read) {
            confd_free_value(CONFD_GET_TAG_VALUE(&tv[kIdInterface]));
        }
        return -1;
    }
    interface = to_key_form(text_of(CONFD_GET_BUFPTR(CONFD_GET_TAG_VALUE(&tv[1])),
                                    CONFD_GET_BUFSIZE(CONFD_GET_TAG_VALUE(&tv[1]))));
    onu = CONFD_GET_UINT32(CONFD_GET_TAG_VALUE(&tv[3]));
    gem = CONFD_GET_UINT32(CONFD_GET_TAG_VALUE(&tv[5]));
    confd_free_value(CONFD_GET_TAG_VALUE(&tv[kIdInterface]));
    TRACE(kTraceFine, "Took %d usecs to get SP %u (gpon=%s, onu=%d, gem=%d) from ConfD",
          stopwatch.get_elapsed_time_usec(), sp, interface.c_str(), onu, gem);
    return 0;
}

std::int32_t validate_sp_gem_check(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                   confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    const cl_ElapsedTime stopwatch;
    std::string interface;
    std::uint32_t sp = 0;
    std::uint32_t onu = 0;
    std::uint32_t gem = 0;
    if (sp_get_id_values(maapi_sock, tctx, kp, interface, sp, onu, gem) != 0) {
        return -1;
    }
    const std::string display = to_display_form(interface);
    TRACE(kTraceFine, "Validate SP %u (gpon=%s, onu=%d, gem=%d)", sp, display.c_str(), onu, gem);

    const Candidate candidate(maapi_sock, tctx);
    std::int32_t result = 0;
    if (candidate.read(maapi_exists, "/config/interface/gpon{%s}/onu{%d}", interface.c_str(),
                       onu) <= 0) {
        confd_trans_seterr(tctx,
                           "Service-port [%u] ONU [%d] was not configured on interface gpon [%s]",
                           sp, onu, display.c_str());
        result = -1;
    }

    // A missing ONU has no line profile: the GEM test then fails too, and its message stays.
    std::string path;
    path.reserve(kUsualPathSize);
    path.append("/config/interface/gpon{").append(interface);
    path.append("}/onu{").append(as_decimal(onu)).append("}/profile-references/line-profile");
    std::string line_profile;
    GetStrFromConfd(maapi_sock, tctx->thandle, path, "", &line_profile);
    path.assign("/config/profile/gpon/line-profile{").append(line_profile);
    path.append("}/gem{").append(as_decimal(gem)).append("}/gem-id");
    if (candidate.read(maapi_exists, "%s", path.c_str()) <= 0) {
        confd_trans_seterr(tctx, "Service-port [%u] gem [%d] was not configured to onu [%d]", sp,
                           gem, onu);
        result = -1;
    }
    TRACE(kTraceFine, "Validate SP %u (gpon=%s, onu=%d, gem=%d) - %s - elapsed time is %d msecs.",
          sp, display.c_str(), onu, gem, result == 0 ? "OK" : "ERROR",
          stopwatch.get_elapsed_time_msec());
    return result;
}

// ---- All service ports --------------------------------------------------------------------------

int service_port_get_leafs(confd_value_t *values, std::uint32_t &sp, std::string &interface,
                           std::uint32_t &onu, std::uint32_t &gem, std::int32_t &match_vlan,
                           std::int32_t &action_vlan)
{
    constexpr std::int32_t kNoVlan = -1;
    interface = to_key_form(text_of(CONFD_GET_BUFPTR(&values[SP_CONFD_VAL_OFFSET_GPON]),
                                    CONFD_GET_BUFSIZE(&values[SP_CONFD_VAL_OFFSET_GPON])));
    confd_free_value(&values[SP_CONFD_VAL_OFFSET_GPON]);
    CONFD_SET_NOEXISTS(&values[SP_CONFD_VAL_OFFSET_GPON]);
    sp = CONFD_GET_UINT32(&values[SP_CONFD_VAL_OFFSET_SP]);
    onu = CONFD_GET_UINT32(&values[SP_CONFD_VAL_OFFSET_ONU]);
    gem = CONFD_GET_UINT32(&values[SP_CONFD_VAL_OFFSET_GEM]);
    const confd_value_t &match = values[SP_CONFD_VAL_OFFSET_MATCH_VLAN];
    match_vlan = match.type == C_INT32 ? match.val.i32 : kNoVlan;
    const confd_value_t &action = values[SP_CONFD_VAL_OFFSET_ACTION_VLAN];
    action_vlan = action.type == C_INT32 ? action.val.i32 : kNoVlan;
    TRACE(kTraceFine, "SP %u (gpon=%s, onu=%d, gem=%d) get leafs: match-vlan=%d, action-vlan=%d",
          sp, interface.c_str(), onu, gem, match_vlan, action_vlan);
    return 0;
}

namespace
{

/** What the walk over all service ports has found so far. */
struct GlobalCheck {
    MatchOverlapValidation matches;
    std::string error;
    std::uint32_t count = 0;
    int result = 0;
};

/** @return 0, or -1 with the text in `error` when another service port has the same match. */
int service_port_validate(GlobalCheck &check, std::uint32_t sp, const std::string &interface,
                          std::uint32_t onu, std::uint32_t gem, std::int32_t match_vlan)
{
    TRACE(kTraceProgress, "Validate SP %u (gpon=%s, onu=%d, gem=%d) begin.", sp, interface.c_str(),
          onu, gem);
    if (check.matches.ServicePortMatchOverlaps(std::to_string(sp).c_str(), check.error, interface,
                                               onu, gem, match_vlan) != 0) {
        return -1;
    }
    TRACE(kTraceProgress, "Validate SP %u end.", sp);
    return 0;
}

bool has_identity(const confd_value_t *values)
{
    return values[SP_CONFD_VAL_OFFSET_GPON].type == C_BUF &&
           values[SP_CONFD_VAL_OFFSET_ONU].type == C_UINT32 &&
           values[SP_CONFD_VAL_OFFSET_GEM].type == C_UINT32 &&
           values[SP_CONFD_VAL_OFFSET_SP].type == C_UINT32;
}

/** Checks and counts one service port. @return 0 or -1. */
int check_entry(confd_value_t *values, GlobalCheck &check)
{
    if (!has_identity(values)) {
        return -1;
    }
    std::uint32_t sp = 0;
    std::uint32_t onu = 0;
    std::uint32_t gem = 0;
    std::string interface;
    std::int32_t match_vlan = 0;
    std::int32_t action_vlan = 0;
    service_port_get_leafs(values, sp, interface, onu, gem, match_vlan, action_vlan);
    if (service_port_validate(check, sp, interface, onu, gem, match_vlan) != 0) {
        return -1;
    }
    ++check.count;
    return 0;
}

/**
 * Checks a batch up to its first failure.
 * @return 0 or -1. It replaces the result so far: a failure in an earlier batch is forgotten when a
 *         later one passes. That follows from the batches and is intentional.
 */
int check_batch(const ObjectsChunk &batch, GlobalCheck &check)
{
    for (int i = 0; i < batch.size(); ++i) {
        if (check_entry(batch.entry(i), check) != 0) {
            return -1;
        }
    }
    return 0;
}

/** @return 0, or -1 with the message set. */
int decide(confd_trans_ctx *tctx, GlobalCheck &check, bool reader_failed)
{
    if (check.count > kMaxServicePorts) {
        check.error = "Service-port limit exceeded: Installed " + std::to_string(check.count) +
                      " of " + std::to_string(kMaxServicePorts) + " allowed\n";
        return reject(tctx, check.error.c_str());
    }
    if (reader_failed || check.result == -1) {
        return reject(tctx, check.error.c_str());
    }
    return 0;
}

} // namespace

std::int32_t service_port_global_validation(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                            confd_hkeypath_t * /*kp*/, confd_value_t * /*newval*/)
{
    cl_ElapsedTime stopwatch;
    TRACE(kTraceDecision, "service-port global validation begin.");
    GlobalCheck check;
    ConfdGetObjsItf reader(kServicePortSize, kServicePortsPerCall, kServicePorts, maapi_sock, tctx,
                           true);
    bool reader_failed = false;
    while (true) {
        const ObjectsChunk batch(reader);
        if (batch.size() <= 0) {
            reader_failed = batch.size() < 0;
            break;
        }
        check.result = check_batch(batch, check);
    }
    stopwatch.stop();
    const int result = decide(tctx, check, reader_failed);
    TRACE(kTraceDecision, "service-port global validation end - %s - elapsed time %d secs.",
          result == 0 ? "OK" : "ERROR", stopwatch.get_elapsed_time_sec());
    return result;
}

// ---- Removal of all service ports ---------------------------------------------------------------

namespace
{

int get_number_onus_in_candidate(const Candidate &candidate)
{
    constexpr const char *kGponInterfaces = "/config/interface/gpon/";
    int onus = 0;
    for (ListCursor interfaces(candidate, kGponInterfaces); interfaces.has_entry();
         interfaces.next()) {
        const std::string port = print_value(interfaces.key(kPortIdKey));
        const int count =
            candidate.read(maapi_num_instances, "%s{1 1 %s}/onu", kGponInterfaces, port.c_str());
        if (count < 0) {
            TRACE(kTraceDecision, "Failed to get number of ONUs. (err: %s).", confd_lasterr());
        } else {
            onus += count;
        }
    }
    return onus;
}

} // namespace

std::int32_t service_port_delete_all_warning(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                             confd_hkeypath_t * /*kp*/, confd_value_t * /*newval*/)
{
    const Candidate candidate(maapi_sock, tctx);
    int num_inst_in_running = 0;
    int num_inst_in_candidate = 0;
    int is_load_factory = 0;
    {
        const CommittedSession committed(tctx->vcb_opaque);
        if (!committed.is_open()) {
            // This check ends even a session that did not start; others do not. Intentional.
            velconfd_config_session_end(tctx->vcb_opaque);
            return 0;
        }
        num_inst_in_running = cdb_num_instances(committed.cdb_sock(), kServicePorts);
        num_inst_in_candidate = candidate.read(maapi_num_instances, kServicePorts);
        // Loading the factory configuration removes the ONUs as well: nothing to confirm then.
        is_load_factory = get_number_onus_in_candidate(candidate) == 0 ? 1 : 0;
        TRACE(kTraceDecision,
              "num_inst_in_running = %d, num_inst_in_candidate = %d, is_load_factory = %d.",
              num_inst_in_running, num_inst_in_candidate, is_load_factory);
    }
    // Removing the only service port is no surprise.
    if (num_inst_in_candidate == 0 && num_inst_in_running > 1 && is_load_factory == 0) {
        return validation::warn_through_buffer(tctx, SP_DEL_ALL_WARN_MSG);
    }
    return 0;
}
