#include "gpon_onu_password_valid.h"

#include "answer.h"
#include "candidate.h"
#include "confd_text.h"
#include "gpon_interface_name.h"
#include "maapi_guards.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

using validation::Candidate;
using validation::ListCursor;
using validation::reject;

void fold_serial_number(std::string &serial_number)
{
    constexpr std::size_t kVendorLength = 4;
    const std::size_t from = std::min(kVendorLength, serial_number.size());
    std::transform(serial_number.begin() + static_cast<std::ptrdiff_t>(from), serial_number.end(),
                   serial_number.begin() + static_cast<std::ptrdiff_t>(from), [](char c) {
                       return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
                   });
}

namespace
{

constexpr std::int32_t kPasswordMethod = 2;
constexpr std::string_view kSerialNumber =
    "serial-number"; // Compared for each ONU, by length first.
constexpr const char *kPassword = "password";
constexpr int kLeafTextSize = 8192;

void append_line(std::ostream &report, const std::string &location, const std::string &label,
                 const std::string &value)
{
    report << location << " " << label << ": [" << value << "]\n";
}

/** What the walk over the card collects. */
struct Collected {
    OnuCredentials passwords; // Of one interface at a time.
    OnuCredentials serials;
    std::ostringstream password_report;
    std::int32_t password_flag = 0;
};

/** Files the ONUs of one GPON interface, then reports the passwords that repeat on it. */
void collect_interface(std::int32_t maapi_sock, confd_trans_ctx *tctx, const std::string &interface,
                       std::int32_t method, Collected &collected)
{
    // For some thousand ONUs: what all of a link share is put together once.
    static const std::string password = kPassword;
    static const std::string serial_number(kSerialNumber);
    const std::string onu_list = "/config/interface/gpon{1 1 " + interface + "}/onu";
    std::string onu_prefix = onu_list;
    for (ListCursor onus(Candidate(maapi_sock, tctx), onu_list.c_str()); onus.has_entry();
         onus.next()) {
        const std::string onu_id = print_value(onus.key());
        onu_prefix.resize(onu_list.size());
        onu_prefix.append("{").append(onu_id).append("}/auth-method/");
        ProfileOnuSerialPassword(maapi_sock, tctx, collected.passwords, interface, onu_id,
                                 onu_prefix, password, method);
        ProfileOnuSerialPassword(maapi_sock, tctx, collected.serials, interface, onu_id, onu_prefix,
                                 serial_number, method);
    }
    evaluateOnuSerialPassword(collected.password_report, collected.passwords, kPassword,
                              &collected.password_flag);
    collected.passwords.clear();
}

} // namespace

std::int32_t getAuthMethod(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                           confd_hkeypath_t *keypath)
{
    const std::uint32_t chassis = CONFD_GET_UINT32(&keypath->v[1][0]);
    const std::uint32_t slot = CONFD_GET_UINT32(&keypath->v[1][1]);
    std::int32_t method = 0;
    // A method that cannot be read stays 0: serial numbers are examined.
    Candidate(maapi_sock, tctx)
        .read(maapi_get_enum_value_elem, &method, "/config/gpon{%d/%d}/onu-auth-method", chassis,
              slot);
    return method;
}

void ProfileOnuSerialPassword(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                              OnuCredentials &values, const std::string &interface,
                              const std::string &onu_id, const std::string &onu_prefix,
                              const std::string &leaf, std::int32_t method)
{
    const bool is_serial_number = leaf == kSerialNumber;
    if (is_serial_number == (method == kPasswordMethod)) {
        return;
    }
    char text[kLeafTextSize];
    if (Candidate(maapi_sock, tctx)
            .read(maapi_get_str_elem, text, kLeafTextSize, joined({onu_prefix, leaf}).c_str()) !=
        CONFD_OK) {
        return;
    }
    std::string value = text;
    if (is_serial_number) {
        fold_serial_number(value);
    }
    values.emplace(std::move(value), joined({"interface gpon ", interface, " onu ", onu_id}));
}

void evaluateOnuSerialPassword(std::ostringstream &report, const OnuCredentials &values,
                               const std::string &label, std::int32_t *duplicate)
{
    // The first entry is compared with an empty value at no location, and an empty value repeats
    // it: an ONU with an empty password is reported even when it is alone.
    static const OnuCredentials::value_type kNone;
    const auto *previous = &kNone;
    bool in_run = false;
    for (const auto &entry : values) {
        const bool is_repeated = entry.first == previous->first;
        if (is_repeated) {
            if (!in_run) {
                append_line(report, previous->second, label, previous->first);
            }
            append_line(report, entry.second, label, entry.first);
            *duplicate = -1;
        }
        in_run = is_repeated;
        previous = &entry;
    }
}

std::int32_t validate_onu_pwd_sn_unique(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                        confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    if (tctx == nullptr || kp == nullptr) {
        return -1;
    }
    Collected collected;
    const std::int32_t method = getAuthMethod(maapi_sock, tctx, kp);
    for (ListCursor interfaces(Candidate(maapi_sock, tctx), "/config/interface/gpon/");
         interfaces.has_entry(); interfaces.next()) {
        collect_interface(maapi_sock, tctx, print_value(interfaces.key(kPortIdKey)), method,
                          collected);
    }

    std::string text;
    if (collected.password_flag == -1) {
        text += "The ONU password must be unique per GPON interface.\n Repeated passwords:\n" +
                collected.password_report.str();
    }
    std::ostringstream serial_report;
    std::int32_t serial_flag = 0;
    evaluateOnuSerialPassword(serial_report, collected.serials, std::string(kSerialNumber),
                              &serial_flag);
    if (serial_flag == -1) {
        text +=
            "ONU serial number must be unique.\n Repeated serial numbers:\n" + serial_report.str();
    }
    if (collected.password_flag != -1 && serial_flag != -1) {
        return 0;
    }
    return reject(tctx, text.c_str());
}
