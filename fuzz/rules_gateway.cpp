/** RG profiles: names of wireless networks, interface groupings. */
#include "trial.h"

#include <optional>
#include <set>
#include <utility>

namespace fuzz
{
namespace
{

// ---- Names of wireless networks -----------------------------------------------------------------

constexpr std::size_t kLongestSsid = 32; /**< In bytes. */

std::string repeated(const std::string &text, int times)
{
    std::string result;
    for (int i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

/** A wireless network as configured. */
struct Wlan {
    std::optional<std::string> custom;
    bool has_serial_number = false;
    std::string prefix;
    std::string suffix;

    std::string xml(std::size_t id) const
    {
        std::string ssid;
        if (custom) {
            ssid = element("custom", *custom);
        } else {
            ssid = (has_serial_number ? element("onu-serial-number", "") : "") +
                   (prefix.empty() ? "" : element("prefix", prefix)) +
                   (suffix.empty() ? "" : element("suffix", suffix));
            ssid = element("auto", ssid);
        }
        return element("wlan",
                       element("id", static_cast<std::uint32_t>(id)) + element("ssid", ssid));
    }

    /** Parts that are too long to be read are left out. */
    std::string composed() const
    {
        return (prefix.size() <= kLongestSsid ? prefix : "") + "KQTA12345678" +
               (suffix.size() <= kLongestSsid ? suffix : "");
    }
};

Wlan some_wlan(ByteReader &bytes)
{
    static const std::vector<std::string> customs{"A",
                                                  "a",
                                                  "",
                                                  "KQTA12345678",
                                                  "AKQTA12345678",
                                                  repeated("\u00e9", 16),
                                                  repeated("\u00e9", 17),
                                                  std::string(32, 'x')};
    static const std::vector<std::string> parts{"", "A", "a", repeated("\U0001F600", 8),
                                                repeated("\U0001F600", 9)};
    Wlan wlan;
    if (bytes.one_in(2)) {
        wlan.custom = bytes.pick(customs);
    } else {
        wlan.has_serial_number = !bytes.one_in(8);
        wlan.prefix = bytes.pick(parts);
        wlan.suffix = bytes.pick(parts);
    }
    return wlan;
}

Verdict judge(const std::vector<Wlan> &wlans)
{
    std::set<std::string> names;
    for (const Wlan &wlan : wlans) {
        if (!wlan.custom && !wlan.has_serial_number) {
            return rejected("must configure one of: auto, custom");
        }
        if (wlan.custom && (wlan.custom->empty() || wlan.custom->size() > kLongestSsid)) {
            return rejected("Failed accessing confd data.");
        }
        if (!names.insert(wlan.custom ? *wlan.custom : wlan.composed()).second) {
            return rejected("There are two or more WLANs with the same SSID. SSID must be unique "
                            "within the RG profile.");
        }
    }
    return accepted();
}

// ---- Interface groupings ------------------------------------------------------------------------

constexpr std::array<const char *, 6> kPorts{"eth1", "eth2", "eth3", "eth4", "wl0", "wl0-vap1"};
constexpr std::size_t kFirstWireless = 4;
constexpr std::array<const char *, 3> kKinds{"wan-pppoe-connection", "wan-ip-connection",
                                             "wan-bridge-connection"};
constexpr std::size_t kBridge = 2;

/** A WAN connection with its grouping. */
struct Wan {
    std::size_t kind = 0;
    std::string name;
    bool has_grouping = true;
    std::map<std::size_t, std::uint32_t> ports; /**< By port: VLAN, 0 is none. */
    std::optional<Network> network;
    bool dhcp_server = false;
    Address pool_start = 0;
    Address pool_end = 0;

    std::string xml() const;
};

std::string Wan::xml() const
{
    std::string grouping;
    for (const auto &[port, vlan] : ports) {
        // Before the others: not in the order in which they are looked at.
        grouping.insert(0, element("ports", element("port", kPorts.at(port)) +
                                                (vlan != 0 ? element("vlan", vlan) : "")));
    }
    if (network) {
        grouping += element("ipv4-address", network->text());
    }
    grouping +=
        element("dhcp-server", dhcp_server ? "true" : "false") +
        element("dhcp-server-address-pool", element("start-address", address_text(pool_start)) +
                                                element("end-address", address_text(pool_end)));
    return element(kKinds.at(kind),
                   element("name", name) + (has_grouping ? element("itf-grouping", grouping) : ""));
}

Wan some_wan(ByteReader &bytes, std::size_t kind, const std::string &name)
{
    Wan wan;
    wan.kind = kind;
    wan.name = name;
    wan.has_grouping = !bytes.one_in(8);
    for (std::size_t count = bytes.below(3); count > 0; --count) {
        const std::size_t port = bytes.below(kPorts.size());
        wan.ports[port] = bytes.one_in(2) ? bytes.byte() % 3U : 0;
    }
    if (!bytes.one_in(4)) {
        wan.network = some_network(bytes);
    }
    wan.dhcp_server = bytes.one_in(2);
    wan.pool_start = some_address(bytes);
    wan.pool_end = bytes.one_in(4) ? wan.pool_start : some_address(bytes);
    return wan;
}

/** Both look at the connections by kind, and at those of a kind by name. */
std::optional<Verdict> judge_ports(const std::vector<Wan> &wans)
{
    std::set<std::pair<std::size_t, std::uint32_t>> used;
    for (const Wan &wan : wans) {
        if (!wan.has_grouping) {
            continue;
        }
        for (const auto &[port, vlan] : wan.ports) {
            if (used.insert({port, vlan}).second) {
                continue;
            }
            const std::string how = port >= kFirstWireless ? ""
                                    : vlan == 0            ? " untagged"
                                                           : " with VLAN " + std::to_string(vlan);
            return rejected("Port " + std::string(kPorts.at(port)) + how +
                            " cannot be used in more than one interface grouping");
        }
    }
    return std::nullopt;
}

std::optional<Verdict> judge_pool(const Wan &wan)
{
    if (wan.kind == kBridge || !wan.dhcp_server) {
        return std::nullopt;
    }
    if (wan.pool_start > wan.pool_end) {
        return rejected("DHCP pool start-address must be lower than the end-address");
    }
    for (const auto &[which, address] :
         {std::pair{"Start", wan.pool_start}, std::pair{"End", wan.pool_end}}) {
        if (!wan.network->holds(address)) {
            return rejected(std::string(which) + " address " + address_text(address) +
                            " for DHCP pool is not part of network " + wan.network->text());
        }
    }
    return std::nullopt;
}

std::optional<Verdict> judge_networks(const std::vector<Wan> &wans)
{
    std::vector<Wan> earlier;
    for (const Wan &wan : wans) {
        if (!wan.has_grouping || !wan.network) {
            continue;
        }
        for (const Wan &other : earlier) {
            if (wan.network->meets(*other.network)) {
                return rejected("Network " + wan.network->text() + " from WAN " + wan.name +
                                " conflicts with network " + other.network->text() + " from WAN " +
                                other.name);
            }
        }
        earlier.push_back(wan);
        if (auto fault = judge_pool(wan)) {
            return fault;
        }
    }
    return std::nullopt;
}

} // namespace

Trial try_ssids(ByteReader &bytes)
{
    std::vector<Wlan> wlans(1 + bytes.below(5));
    std::string xml;
    for (std::size_t i = 0; i < wlans.size(); ++i) {
        wlans[i] = some_wlan(bytes);
        xml.insert(0, wlans[i].xml(i + 1));
    }
    return {"rg_profile_ssid_unique_check",
            profiles(element("rg-profile", element("name", "home") + xml)),
            {{"/config/profile/gpon/rg-profile{home}/wlan", {judge(wlans)}}}};
}

Trial try_interface_groupings(ByteReader &bytes)
{
    std::vector<Wan> wans;
    std::string xml;
    for (std::size_t kind = 0; kind < kKinds.size(); ++kind) {
        std::string name = "A";
        for (std::size_t count = bytes.below(4); count > 0; --count) {
            wans.push_back(some_wan(bytes, kind, name));
            xml.insert(0, wans.back().xml());
            name.front() = static_cast<char>(name.front() + 1 + bytes.byte() % 12);
        }
    }
    auto verdict = judge_ports(wans);
    if (!verdict) {
        verdict = judge_networks(wans);
    }
    return {"itf_grp_validation",
            profiles(element("rg-profile", element("name", "home") + xml)),
            {{"/config/profile/gpon/rg-profile{home}", {verdict.value_or(accepted())}}}};
}

} // namespace fuzz
