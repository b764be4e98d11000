/** A rule put on trial: a card, and what the rule must answer about it. */
#pragma once

#include "byte_reader.h"

#include <confd_lib.h>

#include <map>
#include <string>
#include <vector>

namespace fuzz
{

/** What a rule answers. */
struct Verdict {
    int result = CONFD_OK;
    std::string text;
    bool operator==(const Verdict &) const = default;
};

inline Verdict accepted()
{
    return {};
}
inline Verdict rejected(const std::string &text)
{
    return {CONFD_ERR, text};
}

struct Trial {
    std::string rule;
    std::string card; /**< What stands inside <config>. */
    /** By the path that the rule is asked about: answers, one of which it must give. */
    std::map<std::string, std::vector<Verdict>> allowed;
};

// The trials. Each makes up a small card with values from narrow ranges, so that they often
// collide, and judges it in the plainest way there is.
Trial try_onu_credentials(ByteReader &bytes);
Trial try_management_gateway(ByteReader &bytes);
Trial try_ssids(ByteReader &bytes);
Trial try_interface_groupings(ByteReader &bytes);
Trial try_service_ports(ByteReader &bytes);
Trial try_vlan_matches(ByteReader &bytes);
Trial try_pon_link_bandwidth(ByteReader &bytes);
Trial try_card_bandwidth(ByteReader &bytes);

inline std::string element(const std::string &name, const std::string &inside)
{
    return "<" + name + ">" + inside + "</" + name + ">";
}

inline std::string element(const std::string &name, std::uint32_t number)
{
    return element(name, std::to_string(number));
}

/** PON link 1/1/port. */
inline std::string pon_link(std::uint32_t port, const std::string &onus)
{
    return element("gpon", element("chassis-id", 1) + element("slot-id", 1) +
                               element("port-id", port) + onus);
}

inline std::string profiles(const std::string &inside)
{
    return element("profile", element("gpon", inside));
}

/** An IPv4 address as a number. */
using Address = std::uint32_t;

inline std::string address_text(Address address)
{
    return std::to_string(address >> 24U) + "." + std::to_string(address >> 16U & 255U) + "." +
           std::to_string(address >> 8U & 255U) + "." + std::to_string(address & 255U);
}

/** An address with the length of its network's prefix. */
struct Network {
    Address address = 0;
    unsigned length = 0;

    std::uint64_t size() const { return std::uint64_t{1} << (32U - length); }
    std::uint64_t first() const { return address / size() * size(); }
    std::uint64_t last() const { return first() + size() - 1; }
    bool holds(Address other) const { return first() <= other && other <= last(); }
    bool meets(const Network &other) const
    {
        return first() <= other.last() && other.first() <= last();
    }
    std::string text() const { return address_text(address) + "/" + std::to_string(length); }
};

/** An address of a few that lie close together. */
inline Address some_address(ByteReader &bytes)
{
    constexpr std::array<Address, 4> kOffsets{0, 0x100, 0x200, 0x10000};
    const Address network = 0x0A000000U + bytes.pick(kOffsets);
    const std::uint8_t host = bytes.byte();
    return network + host / 4U % 8U * 32U + host % 4U;
}

inline Network some_network(ByteReader &bytes)
{
    constexpr std::array<unsigned, 10> kLengths{24, 25, 27, 30, 31, 32, 23, 8, 1, 0};
    return {some_address(bytes), bytes.pick(kLengths)};
}

} // namespace fuzz
