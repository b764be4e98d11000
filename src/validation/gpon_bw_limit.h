/**
 * @file
 * Upstream bandwidth of PON links: the sum of what the ONUs of a link are guaranteed must fit into
 * the link, and a line profile must not have more T-CONTs than the card's DBA serves.
 *
 * All rates are in kbit/s. The two maps that the loaders fill are process-wide and not locked: one
 * validation runs at a time.
 */
#pragma once

#include "validator.h"

#include <string>
#include <unordered_map>

/** What one bandwidth profile, or all T-CONTs of one line profile, ask of a PON link. */
struct bandwidth_ctx {
    std::uint32_t total;          /**< Guaranteed rate. */
    std::uint32_t fixed;          /**< Fixed rate. */
    std::uint32_t static_tconts;  /**< Line profile: T-CONTs whose whole guarantee is fixed. */
    std::uint32_t dynamic_tconts; /**< Line profile: all other T-CONTs. */
};
using bwctx = bandwidth_ctx;

/** What the ONUs of a link may be guaranteed, the overhead of each included. */
constexpr std::uint32_t kUpstreamCapacityKbps = 1107504;
/** What the ONUs of a link may have as fixed rates. */
constexpr std::uint32_t kFixedCapacityKbps = 442752;
/** Upstream overhead of an ONU, whatever it is guaranteed. */
constexpr std::uint32_t kOverheadPerOnuKbps = 560;

/** What the ONUs of one PON link ask of it. */
struct LinkDemand {
    std::uint32_t fixed = 0;
    std::uint32_t total = 0; /**< Without overhead. */
    std::uint32_t num_onus = 0;

    /** Adds the rates of an ONU with this line profile; ONUs are counted by who adds them. */
    void add(const bandwidth_ctx &line)
    {
        fixed += line.fixed;
        total += line.total;
    }
    std::uint32_t overhead() const { return num_onus * kOverheadPerOnuKbps; }
    bool exceeds_capacity() const { return total + overhead() > kUpstreamCapacityKbps; }
    bool exceeds_fixed_capacity() const { return fixed > kFixedCapacityKbps; }
};

using BandwidthMap = std::unordered_map<std::string, bandwidth_ctx>;

/** By name of the bandwidth profile, as the last loadAllBws() found it. */
extern BandwidthMap bandwidth_profiles;
/** By name of the line profile, as the last loadAllLines() found it. */
extern BandwidthMap line_profiles;

/** Positions of a bandwidth profile's values in a bulk read. */
enum BwConfdValOffset {
    BW_CONFD_VAL_OFFSET_NAME = 0,
    BW_CONFD_VAL_OFFSET_FX_T1 = 3,
    BW_CONFD_VAL_OFFSET_AS_T2 = 5,
    BW_CONFD_VAL_OFFSET_AS_T3 = 7,
    BW_CONFD_VAL_OFFSET_MX_T3 = 8,
    BW_CONFD_VAL_OFFSET_MX_T4 = 10,
    BW_CONFD_VAL_OFFSET_FX_T5 = 12,
    BW_CONFD_VAL_OFFSET_AS_T5 = 13,
    BW_CONFD_VAL_OFFSET_MX_T5 = 14
};

/** Positions of a T-CONT's values in a bulk read. */
enum TcontConfdValOffset { TCONT_CONFD_VAL_OFFSET_ID = 0, TCONT_CONFD_VAL_OFFSET_BW = 1 };

/**
 * Decodes one bandwidth profile from its 15 values and frees the name among them.
 *
 * Maxima never count. Type 1 guarantees its fixed rate; types 2 and 3 their assured rate; type 4
 * nothing; type 5 its assured rate, and its fixed rate counts as fixed only.
 * @return 0, or -1 when no traffic type is set.
 */
int loadBwProf(confd_value_t *values, std::string &name, std::uint32_t &total,
               std::uint32_t &fixed);

/**
 * Adds the transaction's bandwidth profiles to the map; a name that is in already keeps its rates.
 * @return 0, or -1 when the last profiles read had one without a traffic type.
 */
int loadAllBws(std::int32_t maapi_sock, confd_trans_ctx *tctx);

/**
 * Sums the T-CONTs of a list into `line`. Needs the bandwidth-profile map.
 * @return 0, or -1 when a T-CONT names an unknown bandwidth profile; it then counts as a dynamic
 *         T-CONT without bandwidth.
 */
int loadAllTconts(std::int32_t maapi_sock, confd_trans_ctx *tctx, std::string tcont_path,
                  bwctx &line);

/** Adds the transaction's line profiles to the map. Needs the bandwidth-profile map. @return 0. */
int loadAllLines(std::int32_t maapi_sock, confd_trans_ctx *tctx);

/** Fills both maps anew from the transaction. */
void reload_profiles(std::int32_t maapi_sock, confd_trans_ctx *tctx);

/** What came of reading the ONUs of a PON link. */
enum class DemandRead { kComplete, kUnknownLine, kFailed };

/**
 * Sums the ONUs of one PON link, up to the chunk with the first unknown line profile. Needs both
 * maps.
 * @param unknown_lines  Gets a piece of text for each ONU whose line profile is not in the map.
 */
DemandRead read_ponlink_demand(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                               const std::string &ponlink, LinkDemand &demand,
                               std::string &unknown_lines);

extern "C" {

/** Validator of "onu_bw_check": the PON link whose port number is the key above the node. */
GPON_EXPORT validator_t validate_max_bandwidth_ponlink;

/** Validator of "ponlink_bw_check": T-CONT counts of every line profile, then every PON link. */
GPON_EXPORT validator_t validate_max_bandwidth_global;

/**
 * Checks one PON link against its capacity. Needs both maps.
 * @param ponlink  Port number of the link.
 * @return 0, or -1; then a message is set, unless the ONUs cannot be read at all.
 */
GPON_EXPORT int validate_ponlink_bw(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                    const std::string &ponlink);

} // extern "C"
