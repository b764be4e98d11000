#include "gpon_rg_profile_validation.h"

#include "answer.h"
#include "candidate.h"
#include "confd_text.h"
#include "maapi_guards.h"
#include "profile_in_use.h"
#include "trace.h"

#include <optional>
#include <set>
#include <string>

using validation::Candidate;
using validation::ListCursor;

std::int32_t rg_profile_confirmation(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                     confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    const ProfileKind kind = {
        "rg-profile",
        "/config/profile/gpon/rg-profile{%s}",
        "count(/config/interface/gpon/onu[rg-profile='",
        "Change in rg-profile configuration will result in temporary data loss for all ONUs using this profile.",
        validation::kConfdAccessFailed,
        "RG Profile",
        TRACE_SOURCE,
    };
    return confirm_profile_change(maapi_sock, tctx, kp, kind);
}

namespace
{

constexpr int kSsidSize = 33; // 32 characters and the terminator.

/** Stands in for the ONU's serial number in an SSID that is composed with it. */
constexpr const char *kExampleSerialNumber = "KQTA12345678";

/** Reads the SSIDs of the WLANs in one list. */
class SsidReader
{
public:
    SsidReader(const Candidate &candidate, const char *list_path)
        : m_candidate(candidate), m_list_path(list_path)
    {
    }

    /** The WLAN's SSID; empty when `custom` cannot be read; nothing when none is configured. */
    std::optional<std::string> read(const confd_value_t &wlan) const
    {
        if (exists(kCustom, wlan)) {
            return text(kCustom, wlan);
        }
        if (!exists(kSerialNumber, wlan)) {
            return std::nullopt;
        }
        std::string ssid = text_if_exists(kPrefix, wlan);
        ssid += kExampleSerialNumber;
        ssid += text_if_exists(kSuffix, wlan);
        return ssid;
    }

private:
    static constexpr const char *kCustom = "%s{%x}/ssid/custom";
    static constexpr const char *kSerialNumber = "%s{%x}/ssid/auto/onu-serial-number";
    static constexpr const char *kPrefix = "%s{%x}/ssid/auto/prefix";
    static constexpr const char *kSuffix = "%s{%x}/ssid/auto/suffix";

    bool exists(const char *path, const confd_value_t &wlan) const
    {
        return m_candidate.read(maapi_exists, path, m_list_path, &wlan) > 0;
    }
    std::string text(const char *path, const confd_value_t &wlan) const
    {
        char buffer[kSsidSize] = {};
        const int result =
            m_candidate.read(maapi_get_str_elem, buffer, kSsidSize, path, m_list_path, &wlan);
        return result == CONFD_OK ? buffer : "";
    }
    std::string text_if_exists(const char *path, const confd_value_t &wlan) const
    {
        return exists(path, wlan) ? text(path, wlan) : "";
    }

    const Candidate &m_candidate;
    const char *m_list_path;
};

int log_and_reject(confd_trans_ctx *tctx, const char *message)
{
    TRACE_AS(rg_profile_ssid_unique_check_func, kTraceDecision,
             "There was an error (%s) checking if SSID is unique in rg-profile.", confd_lasterr());
    return validation::reject(tctx, message);
}

} // namespace

std::int32_t rg_profile_ssid_unique_check_func(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                               confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    TRACE(kTraceFine, "Checking if SSID is unique for (%s) RG-Profile",
          print_value(kp->v[1][0]).c_str());
    const std::string list_path = print_long_keypath(*kp);
    const Candidate candidate(maapi_sock, tctx);
    const SsidReader ssids(candidate, list_path.c_str());
    std::set<std::string> seen;
    ListCursor wlans(candidate, "%s", list_path.c_str());
    for (; wlans.has_entry(); wlans.next()) {
        const std::optional<std::string> ssid = ssids.read(wlans.key());
        if (!ssid) {
            TRACE(kTraceFine, "SSID not configured");
            wlans.next();
            confd_trans_seterr(tctx, "must configure one of: auto, custom");
            wlans.leave_to_transaction();
            return CONFD_ERR;
        }
        if (ssid->empty()) {
            wlans.close();
            return log_and_reject(tctx, validation::kConfdAccessFailed);
        }
        TRACE(kTraceDecision, "SSID is (%s) RG-Profile (%s) wlan.", ssid->c_str(),
              list_path.c_str());
        if (!seen.insert(*ssid).second) {
            wlans.leave_to_transaction();
            return log_and_reject(
                tctx,
                "There are two or more WLANs with the same SSID. SSID must be unique within the RG profile.");
        }
    }
    return CONFD_OK;
}
