/** Service ports, and the VLAN matches of service profiles. */
#include "trial.h"

#include <optional>
#include <set>

namespace fuzz
{
namespace
{

// ---- Service ports ------------------------------------------------------------------------------

struct ServicePort {
    std::string interface;
    std::uint32_t onu = 0;
    std::uint32_t gem = 0;
    std::string vlan; /**< Empty: there is none. */
    std::string action_vlan;
    bool is_like_no_other = false; /**< Needs no comparing. */

    std::string xml(std::uint32_t id) const
    {
        const auto outer = [](const std::string &name, const std::string &text) {
            return text.empty() ? "" : element(name, element("outer", element("vlan-id", text)));
        };
        return element(
            "service-port",
            element("id", id) +
                element("gpon", element("id", interface) +
                                    element("onu", element("id", onu) +
                                                       element("gem", element("gem-id", gem)))) +
                outer("match", vlan) + outer("action", action_vlan));
    }

    /** Whether the VLAN is a number; all that is none counts as the same. */
    bool has_number() const { return !vlan.empty() && vlan.front() >= '0' && vlan.front() <= '9'; }

    bool conflicts_with(const ServicePort &other) const
    {
        // The numbers first: they tell most of a card's apart.
        return onu == other.onu && gem == other.gem && interface == other.interface &&
               (has_number() ? vlan == other.vlan : !other.has_number());
    }
};

using ServicePorts = std::map<std::uint32_t, ServicePort>;

/**
 * Service ports are looked at in the order of their numbers, 300 at a time. A conflict ends the
 * look at its batch, and is forgotten when a later batch is sound. What was not looked at does not
 * count and conflicts with nothing.
 */
Verdict judge(const ServicePorts &ports)
{
    constexpr std::size_t kBatch = 300;
    constexpr std::size_t kMaxServicePorts = 4096;
    std::vector<ServicePorts::const_iterator> sound;
    std::size_t count = 0;
    Verdict verdict = accepted();
    auto next = ports.begin();
    while (next != ports.end()) {
        verdict = accepted();
        for (std::size_t i = 0; i < kBatch && next != ports.end(); ++i, ++next) {
            if (verdict.result != CONFD_OK) {
                continue;
            }
            for (const auto &earlier : sound) {
                if (next->second.conflicts_with(earlier->second)) {
                    verdict =
                        rejected("Service-port \"" + std::to_string(earlier->first) + "\" and \"" +
                                 std::to_string(next->first) + "\" have conflicting matches.");
                    break;
                }
            }
            if (verdict.result == CONFD_OK) {
                ++count;
                if (!next->second.is_like_no_other) {
                    sound.push_back(next);
                }
            }
        }
    }
    if (count > kMaxServicePorts) {
        return rejected("Service-port limit exceeded: Installed " + std::to_string(count) +
                        " of 4096 allowed\n");
    }
    return verdict;
}

/** Service ports that conflict with none, with numbers from 100 up. */
void add_sound_ones(ServicePorts &ports, std::uint32_t count)
{
    constexpr std::uint32_t kMaxGems = 4000;
    for (std::uint32_t i = 0; i < count; ++i) {
        ports[100 + i] = {"1/1/16", 100 + i / kMaxGems, 1 + i % kMaxGems, "7", "", true};
    }
}

/** Mostly none: batches take their time. A whole card takes so long that only an input which says
 *  nothing else gets one. */
std::uint32_t number_of_sound_ones(ByteReader &bytes)
{
    constexpr std::uint32_t kBatch = 300;
    if (!bytes.one_in(64)) {
        return 0;
    }
    const std::uint32_t about = kBatch * (1 + bytes.byte() % 2U) - 11;
    const std::uint32_t more = bytes.byte() % 12U;
    return bytes.is_empty() ? 4088 + more : about + more;
}

// ---- VLAN matches -------------------------------------------------------------------------------

struct Mapping {
    std::set<int> ports; /**< Empty: none at all. */
    bool is_veip = false;
    std::string vlan; /**< Empty: there is none. */
    std::string cos;

    std::string xml(const std::string &name) const
    {
        std::string port_xml;
        for (const int port : ports) {
            port_xml += element("ethernet", static_cast<std::uint32_t>(port));
        }
        if (!ports.empty()) {
            port_xml = element("uni", port_xml);
        } else if (is_veip) {
            port_xml = element("veip", element("veip", ""));
        }
        return element(
            "vlan-mapping",
            element("name", name) + port_xml +
                element("match", element("outer", (vlan.empty() ? "" : element("vlan-id", vlan)) +
                                                      (cos.empty() ? "" : element("cos", cos)))));
    }

    bool meets(const Mapping &other) const
    {
        const bool both_veip = ports.empty() && other.ports.empty() && is_veip && other.is_veip;
        bool share_port = false;
        for (const int port : ports) {
            share_port = share_port || other.ports.count(port) != 0;
        }
        return both_veip || share_port;
    }

    bool catches_all() const { return vlan == "any" && cos == "any"; }

    bool conflicts_with(const Mapping &other) const
    {
        const bool same_vlan = vlan == other.vlan;
        const bool same_cos = cos == other.cos;
        const bool any_vlan = vlan == "any" || other.vlan == "any";
        const bool any_cos = cos == "any" || other.cos == "any";
        return (same_vlan && same_cos) || catches_all() || other.catches_all() ||
               (any_vlan && same_cos) || (same_vlan && any_cos);
    }
};

Verdict judge(const std::vector<Mapping> &mappings)
{
    for (std::size_t i = 0; i < mappings.size(); ++i) {
        const Mapping &mapping = mappings[i];
        if (mapping.vlan.empty() || mapping.cos.empty() ||
            (mapping.ports.empty() && !mapping.is_veip)) {
            return rejected("Failed accessing transaction data.");
        }
        for (std::size_t j = 0; j < i; ++j) {
            if (mapping.meets(mappings[j]) && mapping.conflicts_with(mappings[j])) {
                return rejected("It's not possible to configure two or more vlan rules with the "
                                "same match.");
            }
        }
    }
    return accepted();
}

Mapping some_mapping(ByteReader &bytes)
{
    constexpr std::array<const char *, 4> kVlans{"10", "11", "any", "untagged"};
    constexpr std::array<const char *, 3> kCoses{"1", "2", "any"};
    Mapping mapping;
    const std::uint8_t ports = bytes.byte();
    for (int port = 1; port <= 3; ++port) {
        if ((ports >> port & 1) != 0) {
            mapping.ports.insert(port * 8);
        }
    }
    mapping.is_veip = !bytes.one_in(16);
    mapping.vlan = bytes.one_in(32) ? "" : bytes.pick(kVlans);
    mapping.cos = bytes.one_in(32) ? "" : bytes.pick(kCoses);
    return mapping;
}

} // namespace

Trial try_service_ports(ByteReader &bytes)
{
    constexpr std::array<const char *, 3> kInterfaces{"1/1/1", "1/1/11", "1/1/2"};
    constexpr std::array<std::uint32_t, 3> kNumbers{1, 11, 2};
    constexpr std::array<const char *, 6> kVlans{"1", "11", "any", "untagged", "", "12"};
    ServicePorts ports;
    add_sound_ones(ports, number_of_sound_ones(bytes));
    for (std::size_t count = 1 + bytes.below(8); count > 0; --count) {
        // Below, or above the sound ones.
        const std::uint32_t first = bytes.one_in(2) ? 1 : 10000;
        const std::uint32_t id = first + bytes.byte() % 90U;
        ports[id] = {bytes.pick(kInterfaces), bytes.pick(kNumbers), bytes.pick(kNumbers),
                     bytes.pick(kVlans),      bytes.pick(kVlans),   false};
    }
    std::string xml;
    for (const auto &[id, port] : ports) {
        xml += port.xml(id);
    }
    return {"service_port_global_validation", xml, {{"/config/service-port", {judge(ports)}}}};
}

Trial try_vlan_matches(ByteReader &bytes)
{
    Trial trial{"vlan_match_check", "", {}};
    std::vector<Mapping> mappings;
    std::string xml;
    for (char name = 'a'; name < 'a' + 2 + static_cast<char>(bytes.below(4)); ++name) {
        mappings.push_back(some_mapping(bytes));
        xml.insert(0, mappings.back().xml(std::string(1, name)));
        trial.allowed["/config/profile/gpon/service-profile{s}/vlan-mapping{" +
                      std::string(1, name) + "}"];
    }
    for (auto &[path, verdicts] : trial.allowed) {
        verdicts = {judge(mappings)};
    }
    trial.card = profiles(element("service-profile", element("name", "s") + xml));
    return trial;
}

} // namespace fuzz
