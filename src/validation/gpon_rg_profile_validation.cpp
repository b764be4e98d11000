#include "gpon_rg_profile_validation.h"

#include "confd_text.h"
#include "maapi_guards.h"
#include "profile_in_use.h"
#include "trace.h"

#include <optional>
#include <set>
#include <string>

std::int32_t rg_profile_confirmation(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                     confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    const ProfileKind kind = {
        "rg-profile",
        "count(/config/interface/gpon/onu[rg-profile='",
        "Change in rg-profile configuration will result in temporary data loss for all ONUs using "
        "this profile.",
        "Failed accessing confd data.",
        "RG Profile",
        {__FILE__, __func__},
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
    SsidReader(std::int32_t maapi_sock, int thandle, const char *list_path)
        : m_maapi_sock(maapi_sock), m_thandle(thandle), m_list_path(list_path)
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
        return maapi_exists(m_maapi_sock, m_thandle, path, m_list_path, &wlan) > 0;
    }
    std::string text(const char *path, const confd_value_t &wlan) const
    {
        char buffer[kSsidSize] = {};
        const int result = maapi_get_str_elem(m_maapi_sock, m_thandle, buffer, sizeof(buffer), path,
                                              m_list_path, &wlan);
        return result == CONFD_OK ? buffer : "";
    }
    std::string text_if_exists(const char *path, const confd_value_t &wlan) const
    {
        return exists(path, wlan) ? text(path, wlan) : "";
    }

    std::int32_t m_maapi_sock;
    int m_thandle;
    const char *m_list_path;
};

int reject(confd_trans_ctx *tctx, const char *message)
{
    TRACE(kTraceDecision, "There was an error (%s) checking if SSID is unique in rg-profile.",
          confd_lasterr());
    confd_trans_seterr(tctx, "%s", message);
    return CONFD_ERR;
}

} // namespace

std::int32_t rg_profile_ssid_unique_check_func(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                               confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    TRACE(kTraceFine, "Checking if SSID is unique for (%s) RG-Profile",
          print_value(kp->v[1][0]).c_str());
    const std::string list_path = print_keypath(*kp);
    const SsidReader ssids(maapi_sock, tctx->thandle, list_path.c_str());
    std::set<std::string> seen;
    ListCursor wlans(maapi_sock, tctx->thandle, list_path.c_str());
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
            return reject(tctx, "Failed accessing confd data.");
        }
        TRACE(kTraceDecision, "SSID is (%s) RG-Profile (%s) wlan.", ssid->c_str(),
              list_path.c_str());
        if (!seen.insert(*ssid).second) {
            wlans.leave_to_transaction();
            return reject(tctx, "There are two or more WLANs with the same SSID. SSID must be "
                                "unique within the RG profile.");
        }
    }
    return CONFD_OK;
}
