#include "addrkit/ipv4.h"

#include <algorithm>
#include <arpa/inet.h>

namespace addrkit
{

namespace
{

constexpr std::uint8_t kAddressBits = 32;

} // namespace

IPv4Addr::IPv4Addr(struct in_addr addr)
{
    set_addr(addr);
}

void IPv4Addr::set_addr(struct in_addr addr)
{
    m_host_order = ntohl(addr.s_addr);
}

std::uint32_t IPv4Addr::addr_to_uint32() const
{
    return m_host_order;
}

std::string IPv4Addr::addr_to_string() const
{
    const struct in_addr addr = {htonl(m_host_order)};
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &addr, text, sizeof(text));
    return text;
}

void IPv4AddrMask::set_prefix_len(std::uint8_t bits)
{
    m_prefix_len = std::min(bits, kAddressBits);
}

std::uint8_t IPv4AddrMask::prefix_len() const
{
    return m_prefix_len;
}

bool IPv4AddrMask::Overlap(const IPv4AddrMask &other) const
{
    // Of two prefixes that share an address one contains the other: the shorter length decides.
    const std::uint8_t shared_bits = std::min(m_prefix_len, other.m_prefix_len);
    if (shared_bits == 0) {
        return true; // A shift by all 32 bits would be undefined.
    }
    const std::uint32_t differing_bits = addr_to_uint32() ^ other.addr_to_uint32();
    return differing_bits >> (kAddressBits - shared_bits) == 0;
}

std::string IPv4AddrMask::to_string() const
{
    return addr_to_string() + '/' + std::to_string(m_prefix_len);
}

} // namespace addrkit
