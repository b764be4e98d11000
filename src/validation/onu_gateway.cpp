#include "onu_gateway.h"

#include "answer.h"
#include "candidate.h"

#include <arpa/inet.h>

#include <algorithm>

using validation::Candidate;
using validation::reject;

std::int32_t chk_same_net(std::uint32_t address, std::uint32_t gateway, std::int8_t prefix_len)
{
    constexpr int kAddressBits = 32;
    constexpr std::uint32_t kAllBits = 0xffffffffU;
    // Shifting by all 32 bits is undefined in C++ and leaves the word as it is on some machines.
    const int host_bits = kAddressBits - prefix_len;
    const std::uint32_t mask = host_bits >= kAddressBits ? 0 : kAllBits << std::max(host_bits, 0);
    return ((address ^ gateway) & mask) == 0 ? 0 : -1;
}

std::int32_t validate_onu_gateway_ip(std::int32_t maapi_sock, confd_trans_ctx *tctx,
                                     confd_hkeypath_t *kp, confd_value_t * /*newval*/)
{
    const Candidate candidate(maapi_sock, tctx);
    if (candidate.read(maapi_exists, "%h", kp) == 0) {
        return 0; // The node is being deleted.
    }
    // Where a read fails, the framework's own report stands.
    confd_ipv4_prefix onu{};
    if (candidate.read(maapi_get_ipv4_and_plen_elem, &onu, "%h/address", kp) != CONFD_OK) {
        return -1;
    }
    in_addr gateway{};
    if (candidate.read(maapi_get_ipv4_elem, &gateway, "%h/default-gateway", kp) != CONFD_OK) {
        return -1;
    }
    if (onu.ip.s_addr == gateway.s_addr) {
        return reject(tctx, "Onu and Gateway IP addresses must have different values.");
    }
    // Addresses come in network byte order; the mask counts from the most significant bit.
    if (chk_same_net(ntohl(onu.ip.s_addr), ntohl(gateway.s_addr),
                     static_cast<std::int8_t>(onu.len)) != 0) {
        return reject(tctx, "Onu and Gateway IP addresses must be in the same network.");
    }
    return 0;
}
