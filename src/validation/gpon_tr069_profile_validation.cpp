#include "gpon_tr069_profile_validation.h"

#include "answer.h"
#include "profile_in_use.h"

#include <confd_maapi.h>

#include <algorithm>
#include <cstring>
#include <vector>

std::int32_t tr069_profile_confirmation(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                        confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    const ProfileKind kind = {
        "tr069-acs-profile",
        "/config/profile/gpon/tr069-acs-profile{%s}",
        "count(/config/interface/gpon/onu[tr069-acs-profile='",
        "Change in tr069-acs-profile configuration will result in temporary data loss for all ONUs using this profile.",
        validation::kConfdAccessFailed,
        "TR069 ACS Profile",
        TRACE_SOURCE,
    };
    return confirm_profile_change(maapi_sock, tctx, kp, kind);
}

namespace
{

/** @return Whether the encrypted value could be read and its clear text is short enough. */
bool has_allowed_length(std::int32_t maapi_sock, const confd_value_t *newval)
{
    constexpr std::size_t kMaxPasswordLength = 25;
    const unsigned int length = CONFD_GET_BUFSIZE(newval);
    // Encrypted forms are longer than their clear text and its terminator. One byte at least, for
    // the terminator of an empty value.
    std::vector<char> clear_text(std::max(length, 1U), '\0');
    if (maapi_install_crypto_keys(maapi_sock) != CONFD_OK) {
        return false;
    }
    const char *encrypted = reinterpret_cast<const char *>(CONFD_GET_BUFPTR(newval));
    if (confd_decrypt(encrypted, static_cast<int>(length), clear_text.data()) != CONFD_OK) {
        return false;
    }
    return std::strlen(clear_text.data()) <= kMaxPasswordLength;
}

} // namespace

std::int32_t tr069_profile_password_length_check_func(std::int32_t maapi_sock,
                                                      confd_trans_ctx *tctx,
                                                      confd_hkeypath_t * /*kp*/,
                                                      confd_value_t *newval)
{
    if (has_allowed_length(maapi_sock, newval)) {
        return CONFD_OK;
    }
    // A value that cannot be decrypted gets the same message.
    confd_trans_seterr(tctx, "Invalid password length/size");
    return CONFD_ERR;
}
