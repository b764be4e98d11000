#include "match_overlap_validation.h"

#include <cstdint>
#include <utility>

// The signatures with texts by value are the published ones.
// NOLINTBEGIN(performance-unnecessary-value-param)

int MatchOverlapValidation::ServicePortMatchOverlaps(const char *name, std::string &error,
                                                     std::string interface, unsigned int onu,
                                                     unsigned int gem, int vlan)
{
    const auto [first_user, is_new] =
        m_first_users.emplace(GetMatchString(name, interface, onu, gem, vlan), name);
    if (is_new) {
        return 0;
    }
    error = "Service-port \"" + first_user->second + "\" and \"" + name +
            "\" have conflicting matches.";
    return 1;
}

std::string MatchOverlapValidation::GetMatchString(const char * /*name*/, std::string interface,
                                                   unsigned int onu, unsigned int gem, int vlan)
{
    std::string match = std::move(interface);
    for (const std::int64_t part : {std::int64_t{onu}, std::int64_t{gem}, std::int64_t{vlan}}) {
        match += ' ';
        match += std::to_string(part);
    }
    return match;
}

// NOLINTEND(performance-unnecessary-value-param)
