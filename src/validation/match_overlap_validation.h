/**
 * @file
 * Service ports that match the same frames of the same GEM port.
 */
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>

/**
 * Remembers which service port first used each match: GPON interface, ONU, GEM port and match VLAN.
 * One lives for one validation and is fed every service port in list order.
 */
class MatchOverlapValidation
{
public:
    MatchOverlapValidation() { m_first_users.reserve(kFullCard); }

    /**
     * Files the match of a service port.
     * @param name   Name of the service port.
     * @param error  Replaced by the text for the operator on a conflict.
     * @param vlan   -1 when the service port has none.
     * @return 0 when the match is new, 1 when another service port holds it already.
     */
    int ServicePortMatchOverlaps(const char *name, std::string &error, std::string interface,
                                 unsigned int onu, unsigned int gem, int vlan);

    /** The match as one text; `name` plays no part. */
    static std::string GetMatchString(const char *name, std::string interface, unsigned int onu,
                                      unsigned int gem, int vlan);

private:
    static constexpr std::size_t kFullCard = 4096; /**< Room for so many: growing takes longer. */

    std::unordered_map<std::string, std::string> m_first_users;
};
