/**
 * @file
 * IPv4 addresses and prefixes.
 */
#pragma once

#include <cstdint>
#include <netinet/in.h>
#include <string>

namespace addrkit
{

/** One IPv4 address. A new one is 0.0.0.0. */
class IPv4Addr
{
public:
    IPv4Addr() = default;
    /** @param addr  In network byte order. */
    explicit IPv4Addr(struct in_addr addr);

    /** @param addr  In network byte order. */
    void set_addr(struct in_addr addr);
    /** The address in host byte order, so that addresses compare as numbers. */
    std::uint32_t addr_to_uint32() const;
    /** Dotted quad, such as `192.168.1.1`. */
    std::string addr_to_string() const;

private:
    std::uint32_t m_host_order = 0;
};

/** An address in a network: the address as it was set, and the length of the network's prefix. */
class IPv4AddrMask : public IPv4Addr
{
public:
    using IPv4Addr::IPv4Addr;

    /** @param bits  0 to 32; more counts as 32. */
    void set_prefix_len(std::uint8_t bits);
    std::uint8_t prefix_len() const;
    /** Whether the two prefixes share at least one address. */
    bool Overlap(const IPv4AddrMask &other) const;
    /** The address as it was set and its prefix length, such as `192.168.1.1/24`. */
    std::string to_string() const;

private:
    std::uint8_t m_prefix_len = 32;
};

} // namespace addrkit
