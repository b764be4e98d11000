/** What ONUs prove their identity with, and their management addresses. */
#include "trial.h"

#include <optional>

namespace fuzz
{
namespace
{

struct Onu {
    std::uint32_t link;
    std::uint32_t id;
    std::optional<std::string> serial_number;
    std::optional<std::string> password;

    std::string place() const
    {
        return "interface gpon " + std::to_string(link) + " onu " + std::to_string(id);
    }
    std::string xml() const
    {
        return element("onu",
                       element("onu-id", id) +
                           element("auth-method",
                                   (serial_number ? element("serial-number", *serial_number) : "") +
                                       (password ? element("password", *password) : "")));
    }
};

constexpr std::array<const char *, 8> kSerialNumbers{"ABCDab", "ABCDaB", "ABCDAB", "abcdAB",
                                                     "ABCD",   "ABCd",   "ABCDac", "ABCD12345678"};
constexpr std::array<const char *, 6> kPasswords{"", "x", "X", "y", "xx", "x "};

std::optional<std::string> some(const std::string &text, bool is_set)
{
    return is_set ? std::make_optional(text) : std::nullopt;
}

std::vector<Onu> some_onus(ByteReader &bytes, std::uint32_t link)
{
    std::vector<Onu> onus;
    std::uint32_t id = 1;
    for (std::size_t count = 1 + bytes.below(6); count > 0; --count) {
        const bool has_serial_number = !bytes.one_in(6);
        const bool has_password = !bytes.one_in(4);
        onus.push_back({link, id, some(bytes.pick(kSerialNumbers), has_serial_number),
                        some(bytes.pick(kPasswords), has_password)});
        id += 1 + bytes.byte() % 9U;
    }
    return onus;
}

bool says_something(const Onu &onu)
{
    return onu.serial_number || onu.password;
}

/** The vendor's four letters count as they are, of the rest the case does not. */
std::string folded(std::string serial_number)
{
    for (std::size_t i = 4; i < serial_number.size(); ++i) {
        if (serial_number[i] >= 'a' && serial_number[i] <= 'z') {
            serial_number[i] = static_cast<char>(serial_number[i] - 'a' + 'A');
        }
    }
    return serial_number;
}

/**
 * A line for each ONU whose value another one has, too; values in ascending order. An empty value
 * counts as if there were one more, without a place: a quirk that operators know.
 */
std::string repeats(const std::vector<Onu> &onus, const std::string &label,
                    const std::optional<std::string> Onu::*leaf)
{
    std::map<std::string, std::vector<std::string>> places{};
    for (const Onu &onu : onus) {
        if (const auto &value = onu.*leaf) {
            places[label == "serial-number" ? folded(*value) : *value].push_back(onu.place());
        }
    }
    if (const auto empty = places.find(""); empty != places.end()) {
        empty->second.insert(empty->second.begin(), "");
    }
    std::string lines;
    for (const auto &[value, holders] : places) {
        for (const auto &holder : holders) {
            if (holders.size() > 1) {
                lines += holder + " " + label + ": [" + value + "]\n";
            }
        }
    }
    return lines;
}

Verdict judge(const std::vector<std::vector<Onu>> &links, bool by_password)
{
    std::string lines;
    std::vector<Onu> all;
    for (const auto &onus : links) {
        all.insert(all.end(), onus.begin(), onus.end());
        if (by_password) {
            lines += repeats(onus, "password", &Onu::password);
        }
    }
    if (!by_password) {
        lines = repeats(all, "serial-number", &Onu::serial_number);
    }
    const char *header =
        by_password ? "The ONU password must be unique per GPON interface.\n Repeated passwords:\n"
                    : "ONU serial number must be unique.\n Repeated serial numbers:\n";
    return lines.empty() ? accepted() : rejected(header + lines);
}

} // namespace

Trial try_onu_credentials(ByteReader &bytes)
{
    constexpr std::array<const char *, 4> kMethods{"password", "serial-number",
                                                   "serial-number-and-password", ""};
    const std::string method = bytes.pick(kMethods);
    const bool has_settings = !bytes.one_in(4);
    Trial trial{"onu_pwd_sn_unique_check", "", {}};
    if (has_settings) {
        trial.card =
            element("gpon", element("card", "1/1") +
                                (method.empty() ? "" : element("onu-auth-method", method)));
    }
    std::vector<std::vector<Onu>> links;
    std::string xml;
    for (std::uint32_t port = 1 + bytes.byte() % 10U; port <= 16; port += 1 + port % 4) {
        links.push_back(some_onus(bytes, port));
        std::string onus;
        for (const Onu &onu : links.back()) {
            onus.insert(0, onu.xml()); // Not in the order in which they must be told.
        }
        xml += pon_link(port, onus);
        // Without settings, and where no ONU says anything, there is nothing to ask about.
        if (has_settings || std::any_of(links.back().begin(), links.back().end(), says_something)) {
            trial.allowed["/config/interface/gpon{1 1 " + std::to_string(port) + "}/onu"];
        }
        if (links.size() == 3 || bytes.one_in(3)) {
            break;
        }
    }
    trial.card += element("interface", xml);
    for (auto &[path, verdicts] : trial.allowed) {
        verdicts = {judge(links, has_settings && method == "password")};
    }
    return trial;
}

Trial try_management_gateway(ByteReader &bytes)
{
    Trial trial{"onu_gateway_ip_check", "", {}};
    std::string onus;
    for (std::uint32_t id = 1; id <= 4; ++id) {
        const Network own = some_network(bytes);
        const Address gateway = some_address(bytes);
        onus += element("onu", element("onu-id", id) +
                                   element("management",
                                           element("address", own.text()) +
                                               element("default-gateway", address_text(gateway))));
        Verdict verdict = accepted();
        if (own.address == gateway) {
            verdict = rejected("Onu and Gateway IP addresses must have different values.");
        } else if (!own.holds(gateway)) {
            verdict = rejected("Onu and Gateway IP addresses must be in the same network.");
        }
        trial.allowed["/config/interface/gpon{1 1 1}/onu{" + std::to_string(id) + "}/management"] =
            {verdict};
    }
    trial.card = element("interface", pon_link(1, onus));
    return trial;
}

} // namespace fuzz
